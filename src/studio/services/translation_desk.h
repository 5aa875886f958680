#pragma once

#include "base/clock.h"
#include "net/endpoints.h"
#include "studio/edit/stage.h"
#include "studio/programs/program_audio_desk.h"
#include "studio/services/caption_screen.h"
#include "studio/services/service_key.h"
#include "studio/sources/audio_input.h"
#include "translation/pipeline/engine.h"
#include "translation/pipeline/quiet_voice.h"
#include "translation/service/openai/key_test.h"

#include <QObject>
#include <QSettings>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

namespace nimbara {

/// The live translation: what is wanted of it, its key, and its run, which hears the audio input,
/// puts the captions on the stage and the synthetic voice into the program's sound.
///
/// A start waits for its key, which the store may hold up. Failures are told by `failed`; nothing
/// here throws. Interface thread only, which never waits.
class TranslationDesk : public QObject {
    Q_OBJECT
public:
    /// What the desk reads from and writes into, all of which must outlive it.
    struct Surroundings {
        Stage &stage;
        AudioInput &input;
        ProgramAudioDesk &sound;
        SecretStore &secrets;
        QSettings &settings; ///< keeps targets, source, live mode, voice's target, separator, hold
    };

    TranslationDesk(const Clock &clock, const Endpoint &openAi, const Surroundings &surroundings);

    [[nodiscard]] ServiceKey &key() { return m_key; }
    /// A start and a key test store the key.
    [[nodiscard]] bool keepsKey() const { return m_keepsKey; }
    void setKeepsKey(bool keeps);

    /// What is told of one of the languages of the run, with its name where there are two.
    [[nodiscard]] Message labelled(Target target, const Message &text) const;

    /// What is preached: "es", "en" or empty for any other.
    [[nodiscard]] const QString &source() const { return m_source; }
    /// The language of the screens, by its name; empty for the default one.
    [[nodiscard]] const QString &target() const { return m_target; }
    /// The same, with the default one in place of none.
    [[nodiscard]] QString targetName() const;
    /// From the next start on. What is preached follows from it.
    void chooseTarget(const QString &language);
    /// Another language of the screens at the same time, by its name; empty: none.
    [[nodiscard]] const QString &secondTarget() const { return m_second; }
    /// The same, and none where it is that of the screens.
    [[nodiscard]] QString secondName() const;
    /// From the next start on.
    void chooseSecondTarget(const QString &language);
    /// The languages of the run that is on, or of the last one; empty for a second that it had not.
    [[nodiscard]] const QString &languageOf(Target target) const
    {
        return m_languages.at(static_cast<std::size_t>(target));
    }
    /// Shows the screens in "Spanish" or "English"; a run that is on begins again.
    void switchTarget(const QString &language);

    /// Without live mode every phrase is uploaded. Takes effect at the next start.
    [[nodiscard]] bool liveMode() const { return !m_engine.liveDisabled(); }
    void setLiveMode(bool live);
    /// Captions are spoken, too. Takes effect at the next start.
    [[nodiscard]] bool voice() const { return m_voice; }
    void setVoice(bool voice);
    /// The language that is spoken; the first one while there is no second. Takes effect at the
    /// next start.
    [[nodiscard]] Target voiceTarget() const { return m_engine.voiceTarget(); }
    void setVoiceTarget(Target target);
    /// The one that is spoken in the run that is on, or was in the last one.
    [[nodiscard]] Target spokenTarget() const { return m_engine.spokenTarget(); }
    /// The language of the newest clip; none while one of a run before is still heard.
    [[nodiscard]] std::optional<Target> clipTarget() const { return m_clipTarget; }

    [[nodiscard]] CaptionSeparator separator() const { return screen(Target::First).separator(); }
    void setSeparator(CaptionSeparator separator);
    [[nodiscard]] bool captionsShown() const { return m_stage.captions.shown; }
    void setCaptionsShown(bool shown);
    /// What is shown in place of a translation, see `Translation::finalText`.
    void setFinalText(Translation::FinalText finalText)
    {
        m_engine.finalText = std::move(finalText);
    }
    void clearCaptions();

    /// The operator sees each caption so many seconds before the screens do: 0 to 10.
    [[nodiscard]] int holdSeconds() const;
    void setHoldSeconds(int seconds);
    [[nodiscard]] const CaptionHold &held(Target target) const
    {
        return m_engine.lane(target).held();
    }
    /// The operator begins to edit a caption that is held, leaves it as it was, has changed it or
    /// drops it. Nothing happens when it is not held any more.
    void editHeld(Target target, std::int64_t id) { m_engine.lane(target).editHeld(id); }
    void leaveHeld(Target target, std::int64_t id) { m_engine.lane(target).leaveHeld(id); }
    void changeHeld(Target target, std::int64_t id, const QString &text)
    {
        m_engine.lane(target).changeHeld(id, text);
    }
    void dropHeld(Target target, std::int64_t id) { m_engine.lane(target).dropHeld(id); }

    /// Takes captions away that are too old, and shows the next block to be read. Call on each
    /// frame, before its pictures.
    void advanceCaptions();

    /// Starts a run, or pauses the one that is on. Does nothing while a start waits for its key.
    /// Fails without a capture that runs, and without a key.
    void toggle();
    /// Ends the run, and takes voice and captions away; so does the end of a run by itself. What is
    /// held is shown then, but not spoken.
    void pause();
    /// Ends the run and any start that still waits for its key, for good.
    void shutDown();
    [[nodiscard]] bool running() const { return m_engine.running(); }
    [[nodiscard]] bool isWaiting() const { return m_isWaiting; }
    /// How late the captions of the last five minutes came.
    [[nodiscard]] DelayMeter::Figures delayFigures(Target target = Target::First) const;
    [[nodiscard]] QList<std::int64_t> delayCurve() const; ///< of the first language
    /// The way that the voice takes now.
    [[nodiscard]] VoiceRoad road() const { return m_engine.road(); }

    /// What the run has used of the services; another direction of it goes on counting.
    [[nodiscard]] const cost::Usage &usage() const { return m_engine.usage(); }

    /// One small request with the operator's key, whether or not a run is on. `answered`, where
    /// there is one, gets its outcome; nothing when there is no key.
    void testKey(const KeyTest::Answered &answered = {});

Q_SIGNALS:
    /// What is wanted, running, waiting or the voice's road has changed; the key tells by itself.
    void changed();
    /// What engine or key test have to say, for the panel.
    void reported(const nimbara::Message &text);
    /// A caption has come, and how long it took, or it is read at another pace, or the voice is too
    /// low to be heard; empty once it is heard, and after a run.
    void captionNoted(const nimbara::Message &text);
    /// What is held has changed.
    void heldChanged();
    /// The delays have changed, or a second has passed in a run.
    void delayed();
    /// What was understood; see `Translation::heard`.
    void heard(const nimbara::Message &text);
    /// What was said, as far as it is understood; `isGrowing`: it is still being spoken.
    void understood(const QString &text, bool isGrowing);
    /// A run begins.
    void began();
    /// The pictures that are made now are the first with the caption, or with its first word.
    void captionShown(const nimbara::Caption &caption);
    /// In easy reading: the pictures that are made now are the first with the block in that
    /// language; empty: without any.
    void blockShown(const QString &block, nimbara::Target target);
    /// An operation failed.
    void failed(const nimbara::Message &reason);
    /// The operator must know, and may look elsewhere now.
    void alarmed(const nimbara::Message &text);
    /// One line for the operator.
    void said(const nimbara::Message &text);

private:
    template <typename Step> void run(Step step);
    void readSettings();
    void connectEngine(AudioInput &input);
    void requireVoiceInput() const;
    void start();
    void begin(const QString &key);
    void setWaiting(bool waiting);
    void setSource(const QString &source);
    void connectScreens();
    void measureShown();
    void reportDelays();
    void showCaptions();
    void letHeldGo();
    void endSecond();
    void tellPace(Target target, bool isHurried);
    void watchLevel(const AudioBlock &block);
    void watchLevelAnew();
    [[nodiscard]] CaptionScreen &screen(Target target)
    {
        return m_screens.at(static_cast<std::size_t>(target));
    }
    [[nodiscard]] const CaptionScreen &screen(Target target) const
    {
        return m_screens.at(static_cast<std::size_t>(target));
    }
    void tell(const Message &message);
    void tellHeard(const Message &text);

    const Clock &m_clock;
    Stage &m_stage;
    const AudioInput &m_input;
    ProgramAudioDesk &m_sound;
    QSettings &m_settings;
    ServiceKey m_key;
    bool m_keepsKey;
    QString m_target;
    QString m_second; ///< the second target; empty: none
    std::array<QString, bothTargets.size()> m_languages; ///< of the run, by `Target`
    QString m_source; ///< preached: "es", "en" or empty for any other
    bool m_voice = false;
    std::optional<Target> m_clipTarget = Target::First;
    bool m_isWaiting = false;
    bool m_isShutDown = false;
    bool m_hasSecondEnded = false; ///< by itself, in the run that is on or the last one
    std::array<CaptionScreen, bothTargets.size()> m_screens; ///< by `Target`
    std::int64_t m_delayedMs = 0; ///< when `delayed` was told last, monotonic
    KeyTest m_keyTest;
    QuietVoice m_quietVoice; ///< of the run that is on
    Translation m_engine;
};

} // namespace nimbara
