#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "base/term.h"
#include "signal/audio_block.h"
#include "translation/pipeline/audio_tail.h"
#include "translation/pipeline/caption.h"
#include "translation/pipeline/caption_lane.h"
#include "translation/pipeline/cost.h"
#include "translation/pipeline/glossary.h"
#include "translation/pipeline/live_road.h"
#include "translation/pipeline/request_line.h"
#include "translation/pipeline/second_language.h"
#include "translation/pipeline/segmenter.h"
#include "translation/pipeline/transcript_memory.h"
#include "translation/service/language_service.h"

#include <QByteArray>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

namespace nimbara {

/// The way that the voice takes.
enum class VoiceRoad {
    Stopped,
    Live, ///< a live session hears it
    Phrases, ///< it is uploaded phrase by phrase
    Waiting, ///< the network is away: what is said is kept and sent once it is back
};

/// The live translation. A block of voice goes to the live road while that is open, else to the
/// segmenter, whose phrases are uploaded; either way each transcript is translated, and the
/// translations are released strictly in the order of their phrases. The voice changes from one
/// road to the other where no word is cut, and what the network loses is sent again. A second
/// language is translated from the same transcripts, see `SecondLanguage`.
///
/// Interface thread only. A callback may call `stopEngine` or `start`, which take effect at once:
/// nothing of an earlier run is ever reported. Needs a running event loop.
class Translation {
public:
    /// `provider`: not empty.
    Translation(const Clock &clock, std::unique_ptr<ServiceProvider> provider);

    /// Stops any run and begins one: sends audio to the API from now on. `target` is the language
    /// name for the model, `source` the code of the spoken language ("es", "en" or empty), `voice`
    /// speaks every caption of one language, see `setVoiceTarget`. `second`: the name of another
    /// target; empty: none.
    /// Throws `Error` "Ingresa tu API key" for a blank key.
    void start(const QString &key,
        const QString &target,
        bool voice,
        const QString &source,
        const QString &second = {});

    /// Ends the run: nothing is sent or reported after this. Reports no status. What is held by
    /// then is had from the lanes (`CaptionLane::takeHeld`), until the next start.
    void stopEngine();

    /// The captions of one of the languages, for what the operator does with those that are held.
    [[nodiscard]] CaptionLane &lane(Target target)
    {
        return target == Target::First ? m_first : m_second.lane();
    }
    [[nodiscard]] const CaptionLane &lane(Target target) const
    {
        return target == Target::First ? m_first : m_second.lane();
    }

    /// Takes one block of the voice input, after gain and mute. Ignored unless running.
    void processAudio(const AudioBlock &block);

    /// Hands out the translations whose turn has come, and skips a phrase that is too late. Called
    /// by the engine itself after every result and every 500 ms.
    void releaseResults();

    /// Every caption is held for so long before it is handed out: 0 to `CaptionHold::longestMs`.
    void setHold(std::int64_t ms);
    /// Hands out the captions that were held long enough; the engine does so every 500 ms.
    void releaseHeld();

    /// Without live mode no session is opened. Takes effect at the next start.
    void setLiveDisabled(bool disabled) { m_liveDisabled = disabled; }
    [[nodiscard]] bool liveDisabled() const { return m_liveDisabled; }

    /// The language whose captions the voice speaks; the first one where the run has no second, or
    /// once that has ended by itself. Takes effect at the next start.
    void setVoiceTarget(Target target) { m_wantedVoice = target; }
    [[nodiscard]] Target voiceTarget() const { return m_wantedVoice; }
    /// The one of the run that is on, or of the last one.
    [[nodiscard]] Target spokenTarget() const { return m_voiceTarget; }

    /// False after a stop, a fatal API failure or three hours.
    [[nodiscard]] bool running() const { return m_service->isOpen(); }

    /// Raised by every stop.
    [[nodiscard]] std::int32_t requestGeneration() const { return m_service->generation(); }

    [[nodiscard]] VoiceRoad road() const;

    /// Names and expressions and their translations: what is spoken from now on keeps to them.
    void setTerms(const Terms &terms);

    /// What was asked of the services since it was counted anew, over any number of runs.
    [[nodiscard]] const cost::Usage &usage() const { return m_usage; }
    void countAnew() { m_usage = {}; }

    /// `road` has changed.
    std::function<void()> roadChanged = [] {};
    /// Progress and failures.
    std::function<void(const Message &message)> statusChanged = [](const Message &) {};
    /// A caption of the first language has come, and how long it took.
    std::function<void(const Message &message)> captionNotice = [](const Message &) {};
    /// The run has ended by itself, after its message.
    std::function<void()> ended = [] {};
    /// The second language has ended by itself, after its message and the captions it had held; the
    /// first goes on.
    std::function<void()> secondEnded = [] {};
    /// The captions that are held, or the text of one, have changed.
    std::function<void()> heldChanged = [] {};
    /// The next translated phrase of its language.
    std::function<void(const Caption &caption)> caption = [](const Caption &) {};
    /// What is shown in place of the translation into the language of that name; asked in the order
    /// of its phrases. Empty: the phrase is not shown.
    using FinalText = std::function<
        QString(const QString &original, const QString &translation, const QString &language)>;
    FinalText finalText
        = [](const QString &, const QString &translation, const QString &) { return translation; };
    /// What was said, as far as it is understood; `isGrowing`: it is still being spoken.
    std::function<void(const QString &text, bool isGrowing)> understood
        = [](const QString &, bool) {};
    /// What was understood; begins with "… " while it is still being spoken.
    std::function<void(const Message &text)> heard = [](const Message &) {};
    /// A spoken caption of that language: 16-bit little-endian mono PCM at 24000 Hz, at most 30 s.
    std::function<void(const QByteArray &pcm, Target target)> voiceAudio
        = [](const QByteArray &, Target) {};

private:
    void connectLive();
    void connectLanes();
    void end();
    void tick();
    bool segment(const AudioBlock &block);
    void segmentOwed(const std::deque<AudioBlock> &owed);
    void takeOver();
    void takePhrase(const PhraseSamples &samples);
    [[nodiscard]] PhraseTimes timesOf(const PhraseSamples &samples) const;
    void startRequests();
    [[nodiscard]] std::optional<PhraseRequest> nextRequest();
    void giveUpUseless();
    void upload(const PhraseRequest &request);
    std::int32_t take(std::int64_t phraseTimeMs);
    void waitFrom(const PhraseRequest &request);
    void translate(PhraseRequest request);
    void askTranslation(const PhraseRequest &request);
    void handleFailure(const PhraseRequest &request, int status);
    void finish(std::int32_t sequence, const QString &text);
    void giveNothing(std::int32_t sequence);
    void tellRoad();
    void tellCaption(const Caption &shown, std::int64_t phraseTimeMs);
    void pushLive(const AudioBlock &block);
    void count(cost::Service service, std::int64_t requests, std::int64_t us);
    void useTerms();
    void speak(const Caption &shown);
    [[nodiscard]] bool isCurrent(std::int32_t generation) const
    {
        return running() && requestGeneration() == generation;
    }

    const Clock &m_clock;
    std::unique_ptr<ServiceProvider> m_provider;
    std::unique_ptr<LanguageService> m_service;
    LiveRoad m_live;
    Segmenter m_segmenter;
    AudioTail m_tail; ///< what the segmenter was given
    CaptionLane m_first;
    SecondLanguage m_second;
    TranscriptMemory m_memory; ///< of what was said twice
    RequestLine m_line; ///< what waits to be sent, for transcripts and the first language
    std::int32_t m_inFlight = 0; ///< transcriptions and translations of it under way
    std::int32_t m_uploading = 0; ///< of them, the transcriptions by upload
    Terms m_terms;
    Glossary m_glossary; ///< what may be said: the terms of both languages of the run
    std::size_t m_owedFrames = 0; ///< of 48000 Hz, that are older than what is heard now
    VoiceRoad m_toldRoad = VoiceRoad::Stopped;
    QString m_source;
    bool m_voice = false;
    Target m_wantedVoice = Target::First;
    Target m_voiceTarget = Target::First; ///< of the run
    std::int64_t m_spoken = 0; ///< phrases that were to be spoken
    std::int64_t m_heardVoice = 0; ///< the newest of them whose clip came
    bool m_liveDisabled = false;
    std::int64_t m_startTime = 0; ///< ms since the epoch
    cost::Usage m_usage {};
    QTimer m_releaseTimer;
};

} // namespace nimbara
