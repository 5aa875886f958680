#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "net/endpoints.h"
#include "signal/audio_block.h"
#include "translation/pipeline/phrase_order.h"
#include "translation/pipeline/seam_buffer.h"
#include "translation/pipeline/segmenter.h"
#include "translation/pipeline/transcript_memory.h"
#include "translation/service/api_client.h"
#include "translation/service/live_transcriber.h"

#include <QByteArray>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <deque>
#include <functional>

namespace nimbara {

/// The live translation. A block of voice goes to the live session while that is active, else to
/// the segmenter, whose phrases are uploaded; either way each transcript is translated, and the
/// translations are released strictly in the order of their phrases.
///
/// Interface thread only. A callback may call `stopEngine` or `start`, which take effect at once:
/// nothing of an earlier run is ever reported. Needs a running event loop.
class Translation {
public:
    Translation(const Clock &clock, const Endpoint &endpoint);

    /// Stops any run and begins one: sends audio to the API from now on. `target` is the language
    /// name for the model, `source` the code of the spoken language ("es", "en" or empty), `voice`
    /// speaks every caption. Throws `Error` "Ingresa tu API key" for a blank key.
    void start(const QString &key, const QString &target, bool voice, const QString &source);

    /// Ends the run: nothing is sent or reported after this. Reports no status.
    void stopEngine();

    /// Takes one block of the voice input, after gain and mute. Ignored unless running.
    void processAudio(const AudioBlock &block);

    /// Hands out the translations whose turn has come, and skips a phrase that is too late. Called
    /// by the engine itself after every result and every 500 ms.
    void releaseResults();

    /// Without live mode no session is opened. Takes effect at the next start.
    void setLiveDisabled(bool disabled) { m_liveDisabled = disabled; }
    [[nodiscard]] bool liveDisabled() const { return m_liveDisabled; }

    /// False after a stop, a fatal API failure or three hours.
    [[nodiscard]] bool running() const { return m_api.isOpen(); }

    /// Raised by every stop.
    [[nodiscard]] std::int32_t requestGeneration() const { return m_api.generation(); }

    /// Progress and failures.
    std::function<void(const Message &message)> statusChanged = [](const Message &) {};
    /// A caption has come, and how long it took.
    std::function<void(const Message &message)> captionNotice = [](const Message &) {};
    /// The run has ended by itself, after its message.
    std::function<void()> ended = [] {};
    /// The next translated phrase.
    std::function<void(const QString &text)> caption = [](const QString &) {};
    /// What was understood; begins with "… " while it is still being spoken.
    std::function<void(const Message &text)> heard = [](const Message &) {};
    /// A spoken caption: 16-bit little-endian mono PCM at 24000 Hz, at most 30 s.
    std::function<void(const QByteArray &pcm)> voiceAudio = [](const QByteArray &) {};

private:
    struct PendingSegment {
        std::int32_t sequence;
        QByteArray wav;
    };

    void connectLive();
    void end();
    void segment(const AudioBlock &block);
    void takePhrase(const PhraseSamples &samples);
    void startUploads();
    void upload(const PendingSegment &segment);
    void translate(std::int32_t sequence, const QString &text);
    void finish(std::int32_t sequence, const QString &text);
    void show(const PhraseOrder::Released &phrase);
    void speak(const QString &text);
    [[nodiscard]] bool isCurrent(std::int32_t generation) const
    {
        return running() && requestGeneration() == generation;
    }

    const Clock &m_clock;
    ApiClient m_api;
    LiveTranscriber m_live;
    SeamBuffer m_seam; ///< what the live session still owes a transcript
    Segmenter m_segmenter;
    PhraseOrder m_order;
    TranscriptMemory m_memory;
    std::deque<PendingSegment> m_pendingSegments; ///< waiting for their upload, at most 6
    std::int32_t m_inFlight = 0; ///< transcriptions and translations under way
    QString m_target;
    QString m_source;
    bool m_voice = false;
    std::int64_t m_spoken = 0; ///< phrases that were to be spoken
    std::int64_t m_heardVoice = 0; ///< the newest of them whose clip came
    bool m_liveDisabled = false;
    std::int64_t m_startTime = 0; ///< ms since the epoch
    QTimer m_releaseTimer;
};

} // namespace nimbara
