#include "translation/pipeline/engine.h"

#include "base/error.h"
#include "net/openai.h"
#include "translation/pipeline/voice.h"
#include "translation/pipeline/wav.h"
#include "translation/service/api_messages.h"
#include "translation/service/languages.h"

#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t maxRunMs = 10800000; ///< three hours
constexpr std::size_t maxPending = 6;
constexpr std::int32_t maxInFlight = 3;
constexpr std::chrono::milliseconds textTimeout { 12000 };
constexpr std::chrono::milliseconds voiceTimeout { 30000 };
constexpr std::chrono::milliseconds probeTimeout { 8000 };

} // namespace

Translation::Translation(const Clock &clock, const Endpoint &endpoint)
    : m_clock(clock)
    , m_api(endpoint)
    , m_live(clock, endpoint)
    , m_target(languages::defaultTarget())
{
    m_api.statusChanged = [this](const Message &message) { statusChanged(message); };
    m_api.ended = [this] { end(); };
    connectLive();
    m_releaseTimer.setInterval(500);
    QObject::connect(&m_releaseTimer, &QTimer::timeout, &m_releaseTimer, [this] {
        releaseResults();
    });
    m_releaseTimer.start();
}

void Translation::connectLive()
{
    m_live.status = [this](const Message &message) { statusChanged(message); };
    m_live.partial = [this](const QString &text) {
        if (running()) {
            heard(Message::verbatim(QStringLiteral("… ") + text));
        }
    };
    m_live.turn = [this](const QString &text, std::int64_t phraseTimeMs) {
        if (running()) {
            ++m_inFlight;
            translate(m_order.take(phraseTimeMs), text);
        }
    };
    m_live.refused = [this] { end(); };
    m_live.phraseEnded = [this] { m_seam.endPhrase(); };
    m_live.phraseDone = [this] { m_seam.phraseDone(); };
    m_live.unavailable = [this] {
        // The session is gone with what it had not transcribed: that goes by the other road.
        for (const AudioBlock &block : m_seam.take()) {
            segment(block);
        }
        statusChanged("Modo en vivo no disponible; se usa modo por trozos.");
    };
}

void Translation::start(const QString &key,
    const QString &target,
    bool voice,
    const QString &source)
{
    const QString trimmed = key.trimmed();
    if (trimmed.isEmpty()) {
        throw Error(QStringLiteral("Ingresa tu API key"));
    }
    stopEngine();
    m_target = target;
    m_source = source;
    m_voice = voice;
    m_startTime = m_clock.wallMs();
    m_api.open(trimmed);
    const std::int32_t generation = requestGeneration();
    statusChanged("IA activa; conectando modo en vivo...");
    if (!isCurrent(generation)) {
        return;
    }
    m_api.probe(QStringLiteral("models/gpt-4.1-mini"), probeTimeout);
    if (!m_liveDisabled) {
        m_live.start(trimmed, source, languages::livePrompt(source));
    }
}

void Translation::stopEngine()
{
    m_live.stop();
    m_seam.clear();
    m_segmenter.clear();
    m_pendingSegments.clear();
    m_inFlight = 0;
    m_order.clear();
    m_memory.clear();
    m_api.close();
}

void Translation::end()
{
    stopEngine();
    ended();
}

void Translation::processAudio(const AudioBlock &block)
{
    if (!running()) {
        return;
    }
    if (m_clock.wallMs() - m_startTime > maxRunMs) {
        stopEngine();
        const std::int32_t stopped = requestGeneration();
        statusChanged("IA pausada tras 3 horas; inicia otra sesion si corresponde.");
        if (requestGeneration() == stopped) {
            ended();
        }
        return;
    }
    const std::int32_t generation = requestGeneration();
    if (m_live.isActive()) {
        // What was said before the session was ready is a phrase too; left here, it would come out
        // glued to the first words after the session, however much later.
        takePhrase(m_segmenter.flush());
        if (isCurrent(generation)) {
            m_seam.add(block);
            m_live.pushAudio(block);
        }
        return;
    }
    segment(block);
}

void Translation::segment(const AudioBlock &block)
{
    const std::int32_t generation = requestGeneration();
    for (const PhraseSamples &phrase : m_segmenter.push(block)) {
        if (isCurrent(generation)) {
            takePhrase(phrase);
        }
    }
}

void Translation::takePhrase(const PhraseSamples &samples)
{
    if (samples.empty()) {
        return;
    }
    if (m_pendingSegments.size() >= maxPending) {
        statusChanged("IA con retraso; se omite un segmento.");
        return;
    }
    m_pendingSegments.push_back({ m_order.take(m_clock.wallMs()), wavFile(samples) });
    startUploads();
}

void Translation::startUploads()
{
    while (running() && m_inFlight < maxInFlight && !m_pendingSegments.empty()) {
        const PendingSegment segment = std::move(m_pendingSegments.front());
        m_pendingSegments.pop_front();
        ++m_inFlight;
        upload(segment);
    }
}

void Translation::upload(const PendingSegment &segment)
{
    const std::int32_t sequence = segment.sequence;
    m_api.postForm(
        QStringLiteral("audio/transcriptions"),
        api::transcriptionForm(m_source, segment.wav),
        textTimeout,
        QStringLiteral("Transcripcion"),
        [this, sequence](const QByteArray &body) { translate(sequence, api::transcript(body)); },
        [this, sequence](int) { finish(sequence, {}); });
}

/// The request of this phrase is counted in `m_inFlight` already.
void Translation::translate(std::int32_t sequence, const QString &text)
{
    const std::int32_t generation = requestGeneration();
    const bool repeated = m_memory.isRepeated(text);
    if (repeated) {
        heard("(repetido, descartado) " + Message::verbatim(text));
    } else if (!text.trimmed().isEmpty()) {
        heard(Message::verbatim(text));
    }
    if (!isCurrent(generation)) {
        return;
    }
    if (repeated || text.trimmed().isEmpty()) {
        finish(sequence, {});
        return;
    }
    const QString context = m_memory.context();
    m_memory.addOriginal(text);
    m_api.postJson(
        QStringLiteral("responses"),
        api::translationBody(m_target, context, text),
        textTimeout,
        QStringLiteral("Traduccion"),
        [this, sequence](const QByteArray &body) {
            const QString translated = openai::outputText(body);
            m_memory.addTranslation(translated);
            finish(sequence, translated);
        },
        [this, sequence, text](int) {
            m_memory.forget(text);
            finish(sequence, {});
        });
}

void Translation::finish(std::int32_t sequence, const QString &text)
{
    --m_inFlight;
    m_order.store(sequence, text);
    const std::int32_t generation = requestGeneration();
    releaseResults();
    if (isCurrent(generation)) {
        startUploads();
    }
}

void Translation::releaseResults()
{
    if (!running()) {
        return;
    }
    const std::int32_t generation = requestGeneration();
    if (m_order.skipLate(m_clock.wallMs())) {
        statusChanged("Se omitió un segmento lento para no detener la pantalla.");
    }
    while (isCurrent(generation)) {
        const auto phrase = m_order.next();
        if (!phrase) {
            return;
        }
        if (!phrase->text.isEmpty()) {
            show(*phrase);
        }
    }
}

void Translation::show(const PhraseOrder::Released &phrase)
{
    const std::int32_t generation = requestGeneration();
    caption(phrase.text);
    if (!isCurrent(generation)) {
        return;
    }
    const double delay = phrase.phraseTimeMs == 0
        ? 0.0
        : static_cast<double>(m_clock.wallMs() - phrase.phraseTimeMs) / 1000.0;
    captionNotice("Subtítulo actualizado · " + Message::verbatim(QString::number(delay, 'f', 1))
        + " s después de la frase");
    if (m_voice && isCurrent(generation)) {
        speak(phrase.text);
    }
}

void Translation::speak(const QString &text)
{
    m_api.postJson(QStringLiteral("audio/speech"),
        api::speechBody(text),
        voiceTimeout,
        QStringLiteral("Voz"),
        [this, number = ++m_spoken](const QByteArray &pcm) {
            // A clip that comes after that of a later phrase is out of date.
            if (pcm.size() <= maxVoiceBytes && number > m_heardVoice) {
                m_heardVoice = number;
                voiceAudio(pcm);
            }
        });
}

} // namespace nimbara
