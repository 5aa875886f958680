#include "studio/studio.h"

#include "base/error.h"
#include "base/log.h"
#include "base/picture_memory.h"
#include "compositor/scene/load_image.h"
#include "secrets/keychain_store.h"
#include "studio/outputs/closing.h"
#include "studio/projects/profile_change.h"
#include "translation/service/languages.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QFutureWatcher>

#include <chrono>
#include <utility>

namespace nimbara {

namespace {

constexpr std::chrono::milliseconds closingPatience { 6000 }; ///< with all that is finished
constexpr std::chrono::milliseconds captionPatience { 2000 }; ///< of that, with the last captions
const auto reconnectSetting = QStringLiteral("reconnect_streams");
const auto hardwareSetting = QStringLiteral("hardware_encoding");

QString below(const QString &folder, const char *name)
{
    return folder.isEmpty() ? QString() : folder + QLatin1Char('/') + QLatin1String(name);
}

} // namespace

Studio::Studio(const Clock &clock, StudioPeers peers)
    : m_clock(clock)
    , m_settings(QStringLiteral("Halvenmoor"), QStringLiteral("NimbaraStudio"))
    , m_keychain(peers.keychain ? std::move(peers.keychain) : std::make_unique<KeychainStore>())
    , m_secrets(*m_keychain)
    , m_retirement(std::make_shared<Retirement>())
    , m_factory(clock, m_retirement)
    , m_stage(clock)
    , m_pictures(m_stage.pager)
    , m_sources(
          clock,
          m_factory,
          m_secrets,
          m_settings,
          [this] { return m_stage.streamFrame(); },
          [this](const Message &text) { status(text); })
    , m_scenePictures(m_stage, m_sources)
    , m_audio(clock, m_retirement, [this](const Message &text) { status(text); })
    , m_devices(clock,
          peers.permission ? std::move(peers.permission) : systemCapturePermission(),
          m_sources,
          m_audio,
          [this](const Message &text) { status(text); })
    , m_programAudio(clock)
    , m_program(clock,
          m_factory,
          m_sources,
          m_stage,
          m_onAir,
          [this](const Message &text) { status(text); })
    , m_layers(m_factory, m_stage, m_sources, [this](const Message &text) { status(text); })
    , m_images(m_stage, m_sources.shelf())
    , m_outputs(m_retirement)
    , m_streams(clock, m_outputs, m_stage, m_secrets)
    , m_lineTest(clock, m_stage, m_streams, m_secrets, m_retirement)
    , m_recordings(clock,
          m_outputs,
          m_stage,
          below(peers.dataFolder, "recordings"),
          peers.disk,
          peers.diskSync)
    , m_health(m_outputs, m_streams, m_recordings)
    , m_projects(
          m_factory,
          [this] { return hasOutputs(); },
          m_stage,
          m_onAir,
          m_sources,
          [this](const Message &text) { status(text); },
          below(peers.dataFolder, "backups"))
    , m_safety(clock, m_stage.document, m_projects, below(peers.dataFolder, "recovery"))
    , m_translation(clock,
          peers.openAi,
          { m_stage, m_audio, m_programAudio, m_secrets, m_settings })
    , m_bibleLibrary(below(peers.dataFolder, "bibles"))
    , m_verses(
          peers.openAi,
          peers.apiBible,
          m_stage,
          [this](const Message &text) { status(text); },
          m_bibleLibrary.ready())
    , m_bibles({ m_verses, m_translation, m_secrets, m_settings })
    , m_verseSteps({ m_stage, m_program, m_verses, m_bibles })
    , m_passages({ m_stage.document, m_verses, m_bibles, m_settings })
    , m_verseFinder(m_bibles, m_bibleLibrary, peers.cacheFolder)
    , m_quotations(m_bibleLibrary, peers.cacheFolder)
    , m_spokenVerses(clock,
          { m_stage, m_program, m_verses, m_bibles, m_translation, m_quotations, m_settings })
    , m_captionFiles(clock, peers.captionFolder)
    , m_costs(m_settings, m_notices)
    , m_schedule(clock.monotonicUs())
{
    QObject::connect(&m_stage.document, &Document::changed, &m_stage.document, [this] {
        m_sources.follow(m_stage.document.scenes());
    });
    m_sources.setBars(m_factory.testBars(m_stage.streamFrame()), Sources::testBars);
    connect(&m_audio, &AudioInput::offsetChanged, this, [this] {
        m_sources.delayCameras(m_audio.offset().pictureDelayUs());
    });
    connect(&m_sources.logins(), &LoginDesk::said, this, &Studio::status);
    connect(&m_sources.screen(), &ScreenPortal::said, this, &Studio::status);
    m_verses.setKeys([this](const auto &receiver) { m_bibles.key().withKey(receiver); },
        [this](const auto &receiver) { m_translation.key().withKey(receiver); });
    const auto leaveProject = [this] {
        m_stage.countdowns.clear();
        for (const SceneSet set : bothSets) {
            m_program.callOff(set); // it was of the project before
        }
    };
    connect(&m_projects, &ProjectDesk::opened, this, leaveProject);
    connect(&m_projects, &ProjectDesk::recovered, this, leaveProject);
    connect(&m_translation, &TranslationDesk::said, this, &Studio::status);
    connect(&m_streams, &StreamDesk::said, this, &Studio::status);
    connect(&m_streams, &StreamDesk::settled, &m_notices, &Notices::withdraw);
    connect(&m_streams, &StreamDesk::alarmed, this, &Studio::alarm);
    m_streams.setReconnecting(m_settings.value(reconnectSetting, true).toBool());
    connect(&m_streams, &StreamDesk::reconnectsChanged, this, [this](bool on) {
        m_settings.setValue(reconnectSetting, on);
    });
    m_streams.setHardwareEncoding(m_settings.value(hardwareSetting, true).toBool());
    connect(&m_streams, &StreamDesk::hardwareEncodingChanged, this, [this](bool on) {
        m_settings.setValue(hardwareSetting, on);
    });
    m_outputs.encoders().h264().tryOut();
    connect(&m_recordings, &RecordingDesk::said, this, &Studio::status);
    connect(&m_recordings, &RecordingDesk::settled, &m_notices, &Notices::withdraw);
    connect(&m_recordings, &RecordingDesk::alarmed, this, &Studio::alarm);
    connect(&m_bibleLibrary, &BibleLibrary::said, this, &Studio::status);
    connect(&m_projects, &ProjectDesk::opened, this, &Studio::tellAbsentBibles);
    connect(&m_projects, &ProjectDesk::recovered, this, &Studio::tellAbsentBibles);
    connect(&m_bibles, &BibleDesk::said, this, &Studio::status);
    connect(&m_passages, &PassageDesk::said, this, &Studio::status);
    connect(&m_verseSteps, &VerseSteps::said, this, &Studio::status);
    connect(&m_spokenVerses, &SpokenVerses::said, this, &Studio::status);
    connectCaptions();
}

/// The texts that the project keeps of such a Bible stay as they are.
void Studio::tellAbsentBibles()
{
    auto *watcher = new QFutureWatcher<void>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QStringList absent = absentBibles(m_stage.document.scenes());
        if (!absent.isEmpty()) {
            alarm({ "El proyecto usa Biblias que no están en este equipo: %1",
                { Message::verbatim(absent.join(QStringLiteral(", "))) } });
        }
    });
    watcher->setFuture(m_bibleLibrary.ready());
}

void Studio::connectCaptions()
{
    const TranslationDesk *desk = &m_translation;
    connect(desk, &TranslationDesk::began, this, [this] {
        const QString target = m_translation.targetName();
        const QString second = m_translation.secondName();
        const QString source = m_translation.source();
        const auto original = QStringLiteral("original");
        m_captionFiles.begin({ source.isEmpty() ? original : source,
                                 source == QLatin1String("es")       ? QStringLiteral("Spanish")
                                     : source == QLatin1String("en") ? QStringLiteral("English")
                                                                     : original },
            { languages::codeOf(target), target },
            { languages::codeOf(second), second });
    });
    connect(desk, &TranslationDesk::captionShown, this, [this](const Caption &caption) {
        const bool isBlock = m_translation.separator() != CaptionSeparator::Reading;
        m_captionFiles.addPhrase(caption.original, caption.text, isBlock, caption.target);
    });
    connect(desk, &TranslationDesk::blockShown, this, [this](const QString &block, Target target) {
        if (block.isEmpty()) {
            m_captionFiles.end(target);
        } else {
            m_captionFiles.showBlock(block, target);
        }
    });
    connect(desk, &TranslationDesk::alarmed, this, &Studio::alarm);
    connect(&m_captionFiles, &CaptionFiles::failed, this, &Studio::alarm);
    connect(&m_voiceFile, &VoiceFile::failed, this, &Studio::alarm);
    const auto count = [this] { m_costs.follow(m_translation.usage()); };
    connect(desk, &TranslationDesk::delayed, this, count);
    connect(desk, &TranslationDesk::changed, this, count);
    connect(&m_costs, &CostDesk::said, this, &Studio::status);
}

/// Captions are written on the clock of the recording that runs.
void Studio::advanceCaptions()
{
    const Recording &recording = m_outputs.recording();
    const bool isRecording = recording.state() == RecordingState::recording;
    const std::optional<std::int64_t> position = recording.position();
    m_captionFiles.follow(isRecording ? m_recordings.path() : QString(),
        position ? std::optional(*position / 1'000'000) : std::nullopt);
    m_translation.advanceCaptions();
    m_captionFiles.poll();
}

/// What of the synthetic voice is in the block of this frame goes beside the captions' files of its
/// own language, which may be another one than is spoken next.
void Studio::keepVoice(std::int64_t frameTime)
{
    const std::span<const float> spoken = m_programAudio.spoken();
    const std::optional<Target> clip = spoken.empty() ? std::nullopt : m_translation.clipTarget();
    m_voiceFile.follow(m_captionFiles.stemOf(clip.value_or(m_translation.spokenTarget())));
    const std::int64_t atMs = m_captionFiles.sinceZero(frameTime / 1000);
    if (clip) {
        m_voiceFile.push(atMs, spoken);
    } else {
        m_voiceFile.pass(atMs, m_translation.running() && m_translation.voice());
    }
    m_voiceFile.poll();
}

Studio::~Studio() = default;

void Studio::tick()
{
    try {
        step();
    } catch (const std::exception &error) {
        tellFault(errorMessage(error));
    } catch (...) { // of a library that throws something else
        tellFault(Message::verbatim(QStringLiteral("?")));
    }
}

/// One that comes back with each run is told once.
void Studio::tellFault(const Message &fault)
{
    if (std::exchange(m_fault, fault) != fault) {
        logLine(QStringLiteral("Error inesperado: ") + fault.spanish());
        alarm("Error inesperado" + Message::verbatim(QStringLiteral(": ")) + fault);
    }
}

void Studio::step()
{
    readInputs();
    const std::int64_t now = m_clock.monotonicUs();
    const std::optional<std::int64_t> frameTime = m_schedule.due(now);
    if (!frameTime) {
        m_verseSteps.useTime(now);
        m_scenePictures.useTime(now, m_schedule.next());
        return;
    }
    m_sources.logFirstFrame();
    advanceCaptions();
    const Pictures pictures = composePictures(now);
    Q_EMIT picturesMade(pictures);
    feedOutputs(pictures.streams, *frameTime);
    ++m_composed;
    const bool isLate = m_clock.monotonicUs() - *frameTime > FrameSchedule::periodUs;
    m_late += isLate ? 1 : 0;
    const std::int64_t skipped = m_schedule.skipped();
    const bool hasSkipped = std::exchange(m_knownSkipped, skipped) != skipped;
    m_scenePictures.frameMade(now, isLate || hasSkipped);
    measureHealth(now);
    tidyPictureMemory();
    m_fault = {}; // one that comes later is another
}

void Studio::measureHealth(std::int64_t now)
{
    if (m_health.measure(now, { m_composed + missedSlots(), m_late + missedSlots() })) {
        if (const Message text = m_health.advice(); !text.isEmpty()) {
            alarm(text);
        }
        if (!m_health.news().isEmpty()) {
            Q_EMIT status(m_health.news());
        }
        Q_EMIT healthMeasured();
    }
}

void Studio::readInputs()
{
    m_sources.poll(m_stage.document.project(), m_onAir);
    m_sources.reopenCamera();
    m_devices.poll();
    m_program.poll();
    m_projects.poll();
    m_safety.poll();
    m_images.poll();
    m_audio.pull();
    m_streams.poll();
    m_recordings.poll();
    m_retirement->reap();
}

void Studio::changeProfile(StreamProfile profile)
{
    if (!hasOutputs()) {
        m_program.callOff(SceneSet::Streams);
        nimbara::changeProfile(profile,
            m_factory,
            m_stage,
            m_onAir,
            m_sources,
            [this](const Message &text) { status(text); });
    }
}

std::optional<Message> Studio::shutDown(bool awaitsProjects)
{
    const QDeadlineTimer deadline(closingPatience);
    logLine(QStringLiteral("Programas: %1 imágenes, %2 tarde, %3 sin hacer")
                .arg(m_composed)
                .arg(m_late)
                .arg(missedSlots()));
    m_streams.callOffStarts();
    m_lineTest.cancel();
    m_recordings.finish();
    m_translation.shutDown();
    const Message captions = finishCaptions();
    std::vector<Message> told = finishSaved(awaitsProjects, deadline);
    if (!captions.isEmpty()) {
        told.push_back(captions);
    }
    std::optional<Message> all;
    for (const Message &line : told) {
        all = all ? *all + Message::verbatim(QStringLiteral("\n")) + line : line;
    }
    return all;
}

/// The recording, keys and projects.
std::vector<Message> Studio::finishSaved(bool awaitsProjects, QDeadlineTimer deadline)
{
    std::vector<Message> told;
    QObject closing;
    connect(&m_projects,
        &ProjectDesk::failed,
        &closing,
        [&told](const Message &reason, const QString &path) {
            told.push_back(
                Message::verbatim(QFileInfo(path).fileName() + QStringLiteral(": ")) + reason);
        });
    const auto tell = [&told](const Message &text) { told.push_back(text); };
    connect(&m_recordings, &RecordingDesk::alarmed, &closing, tell); // of the part before the last
    const int failures = m_secrets.failures();
    const auto isSaving = [this, awaitsProjects] {
        if (awaitsProjects) {
            m_projects.pollSaves();
        }
        return m_secrets.isWriting() || (awaitsProjects && m_projects.isSaving());
    };
    const auto lost = finishOutputs(m_outputs.recording(), isSaving, deadline);
    m_recordings.ended(!lost && !m_outputs.recording().exists());
    if (lost) {
        told.push_back(*lost);
    }
    if (m_secrets.isWriting()) {
        told.emplace_back("Las claves no terminaron de guardarse; revísalas en el próximo inicio.");
    } else if (m_secrets.failures() > failures) {
        told.emplace_back("No se pudo guardar en el almacén seguro del sistema");
    }
    if (awaitsProjects && m_projects.isSaving()) {
        told.emplace_back(
            "El proyecto no terminó de guardarse; su archivo puede seguir como estaba.");
    }
    return told;
}

/// Gives what the operator must know: that they are not whole.
Message Studio::finishCaptions()
{
    const QDeadlineTimer deadline(captionPatience);
    const bool hasCaptions = m_captionFiles.finish(captionPatience);
    const bool hasVoice = m_voiceFile.finish(std::chrono::milliseconds(deadline.remainingTime()));
    return hasCaptions && hasVoice
        ? Message()
        : Message("Los archivos de la traducción no terminaron de guardarse; pueden estar "
                  "incompletos.");
}

Pictures Studio::composePictures(std::int64_t now)
{
    m_stage.clocks = m_stage.countdowns.reading();
    const CameraPicture camera = m_sources.cameraPicture();
    const LiveScene prepared = m_sources.live(m_stage.previewed());
    m_sources.showOn({ { prepared, m_stage.previewFrame() },
        { m_onAir.streams, m_stage.streamFrame() },
        { m_onAir.hall, hallSize },
        { m_onAir.leftOf(SceneSet::Streams), m_stage.streamFrame() },
        { m_onAir.leftOf(SceneSet::Hall), hallSize } });
    Pictures pictures { m_pictures.preview(m_stage, prepared, camera),
        m_pictures.streams(m_stage, m_onAir.streams, camera),
        m_pictures.hall(m_stage, m_onAir.hall, camera) };
    m_diagnostics.observe(m_stage, m_sources, pictures.preview);
    const Composition shown { .scene = prepared.scene,
        .pictures = {},
        .title = {},
        .size = m_stage.previewFrame(),
        .isHall = m_stage.document.editingHall(),
        .isPreview = true,
        .captions = m_stage.captions,
        .clocks = m_stage.clocks };
    m_legibility.look(now, shown, pictures.preview, *m_stage.pager);
    composeLeft(camera);
    pictures.streams = m_stage.program.showStreams(pictures.streams, now);
    pictures.hall = m_stage.program.showHall(pictures.hall, now);
    return pictures;
}

/// What a transition comes from moves on until it is out of sight.
void Studio::composeLeft(const CameraPicture &camera)
{
    for (const SceneSet set : bothSets) {
        LiveScene &left = m_onAir.leftOf(set);
        if (!left.scene) {
            continue;
        }
        if (m_stage.program.showsOrigin(set)) {
            m_stage.program.comeFrom(set, m_pictures.left(m_stage, set, left, camera));
        } else {
            left = {};
            m_pictures.forgetLeft(set);
        }
    }
}

void Studio::feedOutputs(const QImage &streams, std::int64_t frameTime)
{
    const ProgramBlock block
        = m_programAudio.next(m_onAir.streams, m_program.clip(SceneSet::Streams), m_audio);
    keepVoice(frameTime);
    if (m_claps.isUnderWay()) { // a picture is made of what nobody else may look at
        m_claps.look(frameTime, m_sources.cameraFrame(), block);
    }
    m_wakeLock.setHeld(m_hallShown || hasOutputs());
    const std::int64_t timeNs = (frameTime - m_schedule.origin()) * 1000;
    m_lineTest.push(timeNs);
    if (!m_outputs.any()) {
        m_fed.reset();
        m_outputs.rest(timeNs);
        return;
    }
    tellStopped(m_outputs.push(frameOf(streams), block, timeNs));
    Q_EMIT outputsStepped();
}

/// A picture that stands still is copied once, and stays the same frame for the encoders.
const FramePtr &Studio::frameOf(const QImage &picture)
{
    if (!m_fed || picture.cacheKey() != m_fedKey) {
        m_fed = toFrame(picture);
        m_fedKey = picture.cacheKey();
    }
    return m_fed;
}

void Studio::alarm(const Message &text)
{
    Q_EMIT status(text);
    m_notices.raise(text);
}

/// An output that ends by itself in mid-service must not go by unseen.
void Studio::tellStopped(const Outputs::Stopped &stopped)
{
    if (stopped.recording) {
        Q_EMIT status(*stopped.recording);
        m_recordings.ended(*stopped.recording == Recording::savedText());
        if (*stopped.recording != Recording::savedText()) {
            m_notices.raise(m_recordings.lossText(*stopped.recording));
        }
    }
    for (const std::size_t slot : stopped.destinations) {
        if (const Message text = m_streams.lost(slot); !text.isEmpty()) {
            alarm(text);
        }
    }
}

void Studio::setHallShown(bool shown)
{
    m_hallShown = shown;
    m_wakeLock.setHeld(m_hallShown || hasOutputs());
}

} // namespace nimbara
