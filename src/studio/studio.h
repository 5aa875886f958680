#pragma once

#include "base/notices.h"
#include "base/report.h"
#include "compositor/scene/frame_schedule.h"
#include "media/sources/media_factory.h"
#include "output/sink/outputs.h"
#include "secrets/secret_store.h"
#include "studio/edit/stage.h"
#include "studio/outputs/line_test.h"
#include "studio/outputs/recording_desk.h"
#include "studio/outputs/service_health.h"
#include "studio/outputs/stream_desk.h"
#include "studio/outputs/wake_lock.h"
#include "studio/programs/diagnostics.h"
#include "studio/programs/legibility_watch.h"
#include "studio/programs/program_audio_desk.h"
#include "studio/programs/program_control.h"
#include "studio/programs/program_pictures.h"
#include "studio/programs/scene_pictures.h"
#include "studio/projects/layer_maker.h"
#include "studio/projects/project_desk.h"
#include "studio/projects/work_safety.h"
#include "studio/services/bible_desk.h"
#include "studio/services/bible_library.h"
#include "studio/services/caption_files.h"
#include "studio/services/cost_desk.h"
#include "studio/services/passage_desk.h"
#include "studio/services/quotation_finder.h"
#include "studio/services/spoken_verses.h"
#include "studio/services/translation_desk.h"
#include "studio/services/verse_desk.h"
#include "studio/services/verse_finder.h"
#include "studio/services/verse_steps.h"
#include "studio/services/voice_file.h"
#include "studio/sources/audio_input.h"
#include "studio/sources/clap_meter.h"
#include "studio/sources/device_connection.h"
#include "studio/sources/image_intake.h"
#include "studio/sources/sources.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QSettings>

#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// What the studio reaches outside itself. Tests put their own in place.
struct StudioPeers {
    std::unique_ptr<CapturePermission> permission; ///< cameras and microphones; none: the system's
    Endpoint openAi = openAiEndpoint();
    Endpoint apiBible = apiBibleEndpoint();
    std::unique_ptr<SystemKeyStore> keychain = nullptr; ///< none: the platform's store
    QString
        dataFolder {}; ///< of recovery copies, backups, recordings, Bibles; empty: none are kept
    QString cacheFolder {}; ///< of what can be made anew; empty: it is, with each run
    DiskWatch::Look disk = DiskWatch::lookAtDisk; ///< of the recording
    QString captionFolder {}; ///< of captions without a recording; empty: none are kept
    DiskSync diskSync = bringToDisk; ///< of the recording
};

/// The engine of the studio without a widget: scenes, sources, programs and outputs, and the tick
/// that drives them. Interface thread only; nothing in it waits but `shutDown`.
class Studio : public QObject {
    Q_OBJECT
public:
    /// Starts on test bars, with the default scenes and both programs black. `clock` must outlive
    /// the studio.
    explicit Studio(const Clock &clock, StudioPeers peers = {});
    Studio(const Studio &) = delete;
    Studio &operator=(const Studio &) = delete;
    Studio(Studio &&) = delete;
    Studio &operator=(Studio &&) = delete;
    ~Studio() override;

    /// One run of the frame clock; call about every 5 ms. Makes a frame when one is due. An
    /// exception ends this run alone: it is logged and told, and the next one goes on.
    void tick();

    [[nodiscard]] Stage &stage() { return m_stage; }
    /// The one door to the project.
    [[nodiscard]] Document &document() { return m_stage.document; }
    [[nodiscard]] const OnAir &onAir() const { return m_onAir; }
    [[nodiscard]] Sources &sources() { return m_sources; }
    [[nodiscard]] AudioInput &audio() { return m_audio; }
    [[nodiscard]] ClapMeter &claps() { return m_claps; }
    [[nodiscard]] DeviceConnection &devices() { return m_devices; }
    [[nodiscard]] ProgramAudioDesk &programAudio() { return m_programAudio; }
    [[nodiscard]] ProgramControl &program() { return m_program; }
    [[nodiscard]] ScenePictures &scenePictures() { return m_scenePictures; }
    [[nodiscard]] LayerMaker &layers() { return m_layers; }
    [[nodiscard]] ImageIntake &images() { return m_images; }
    [[nodiscard]] Outputs &outputs() { return m_outputs; }
    [[nodiscard]] StreamDesk &streams() { return m_streams; }
    [[nodiscard]] LineTest &lineTest() { return m_lineTest; }
    [[nodiscard]] RecordingDesk &recordings() { return m_recordings; }
    /// How the outputs and the machine are.
    [[nodiscard]] const ServiceHealth &health() const { return m_health; }
    /// How the texts in PREVIEW can be read.
    [[nodiscard]] const LegibilityWatch &legibility() const { return m_legibility; }
    [[nodiscard]] TranslationDesk &translation() { return m_translation; }
    [[nodiscard]] CostDesk &costs() { return m_costs; }
    [[nodiscard]] BibleLibrary &bibleLibrary() { return m_bibleLibrary; }
    [[nodiscard]] VerseDesk &verses() { return m_verses; }
    [[nodiscard]] BibleDesk &bibles() { return m_bibles; }
    [[nodiscard]] PassageDesk &passages() { return m_passages; }
    [[nodiscard]] VerseFinder &verseFinder() { return m_verseFinder; }
    [[nodiscard]] VerseSteps &verseSteps() { return m_verseSteps; }
    [[nodiscard]] QuotationFinder &quotations() { return m_quotations; }
    [[nodiscard]] SpokenVerses &spokenVerses() { return m_spokenVerses; }
    [[nodiscard]] WorkSafety &safety() { return m_safety; }
    [[nodiscard]] ProjectDesk &projects() { return m_projects; }
    /// What the operator must not miss.
    [[nodiscard]] Notices &notices() { return m_notices; }
    /// What is remembered from one run to the next.
    [[nodiscard]] QSettings &settings() { return m_settings; }
    [[nodiscard]] SecretStore &secrets() { return m_secrets; }

    /// Changes the shape of the streams (`nimbara::changeProfile`). Does nothing while an output
    /// runs.
    void changeProfile(StreamProfile profile);
    /// An output runs, is paused, or is lost and tried again: profile, project and language must
    /// stay as they are.
    [[nodiscard]] bool hasOutputs() const
    {
        return m_outputs.any() || m_streams.isAnyReconnecting() || m_recordings.isActive();
    }
    /// The congregation sees the hall program: the desktop must not sleep.
    void setHallShown(bool shown);
    [[nodiscard]] bool isHallShown() const { return m_hallShown; }
    /// Before the program ends, after the last tick: calls off what waits for a key, ends the
    /// translation, finishes the recording and waits for what is being saved, all within 6 s.
    /// `awaitsProjects`: also for project files, unless the operator gave them up. Gives what the
    /// operator must know, a line for each thing that is not whole.
    std::optional<Message> shutDown(bool awaitsProjects = true);
    /// Frame slots that a stall skipped since the start.
    [[nodiscard]] std::uint64_t missedSlots() const { return m_schedule.skipped(); }

Q_SIGNALS:
    /// One line for the operator.
    void status(const nimbara::Message &text);
    /// The pictures of each frame, transitions in them.
    void picturesMade(const Pictures &pictures);
    /// After each frame that an output took: buttons, labels and guards may have changed.
    void outputsStepped();
    /// `health` has been measured anew, once a second.
    void healthMeasured();

private:
    void step();
    void readInputs();
    void tellFault(const Message &fault);
    void connectCaptions();
    void tellAbsentBibles();
    void advanceCaptions();
    void keepVoice(std::int64_t frameTime);
    [[nodiscard]] Message finishCaptions();
    [[nodiscard]] std::vector<Message> finishSaved(bool awaitsProjects, QDeadlineTimer deadline);
    [[nodiscard]] Pictures composePictures(std::int64_t now);
    void composeLeft(const CameraPicture &camera);
    void feedOutputs(const QImage &streams, std::int64_t frameTime);
    [[nodiscard]] const FramePtr &frameOf(const QImage &picture);
    void tellStopped(const Outputs::Stopped &stopped);
    void alarm(const Message &text);
    void measureHealth(std::int64_t now);

    const Clock &m_clock;
    QSettings m_settings;
    std::unique_ptr<SystemKeyStore> m_keychain;
    SecretStore m_secrets;
    std::shared_ptr<Retirement> m_retirement;
    MediaFactory m_factory;
    Stage m_stage;
    OnAir m_onAir;
    ProgramPictures m_pictures;
    LegibilityWatch m_legibility;
    Sources m_sources;
    ScenePictures m_scenePictures;
    AudioInput m_audio;
    ClapMeter m_claps;
    DeviceConnection m_devices;
    ProgramAudioDesk m_programAudio;
    ProgramControl m_program;
    LayerMaker m_layers;
    ImageIntake m_images;
    Outputs m_outputs;
    StreamDesk m_streams;
    LineTest m_lineTest;
    RecordingDesk m_recordings;
    ServiceHealth m_health;
    ProjectDesk m_projects;
    WorkSafety m_safety;
    TranslationDesk m_translation;
    BibleLibrary m_bibleLibrary;
    VerseDesk m_verses;
    BibleDesk m_bibles;
    VerseSteps m_verseSteps;
    PassageDesk m_passages;
    VerseFinder m_verseFinder;
    QuotationFinder m_quotations;
    SpokenVerses m_spokenVerses;
    CaptionFiles m_captionFiles;
    VoiceFile m_voiceFile;
    Notices m_notices;
    CostDesk m_costs;
    WakeLock m_wakeLock;
    bool m_hallShown = false;
    qint64 m_fedKey = 0; ///< of the picture that the outputs were given last
    FramePtr m_fed; ///< that picture
    Diagnostics m_diagnostics;
    FrameSchedule m_schedule;
    std::uint64_t m_composed = 0; ///< pictures since the start
    std::int64_t m_knownSkipped = 0; ///< slots, when the last frame was made
    Message m_fault; ///< that a run ended with last
    std::uint64_t m_late = 0; ///< of those, later than a period after their slot
};

} // namespace nimbara
