#include "translation/pipeline/engine.h"

#include "base/error.h"
#include "signal/mono.h"
#include "translation/pipeline/voice.h"
#include "translation/pipeline/wav.h"
#include "translation/service/languages.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t maxRunMs = 10800000; ///< three hours

} // namespace

Translation::Translation(const Clock &clock, std::unique_ptr<ServiceProvider> provider)
    : m_clock(clock)
    , m_provider(std::move(provider))
    , m_service(m_provider->makeService())
    , m_live(clock, *m_provider)
    , m_first(clock, *m_service, Target::First)
    , m_second(clock, *m_provider)
{
    m_service->statusChanged = [this](const Message &message) { statusChanged(message); };
    m_service->ended = [this] { end(); };
    connectLive();
    connectLanes();
    m_releaseTimer.setInterval(500);
    QObject::connect(&m_releaseTimer, &QTimer::timeout, &m_releaseTimer, [this] { tick(); });
    m_releaseTimer.start();
}

void Translation::connectLive()
{
    m_live.status = [this](const Message &message) { statusChanged(message); };
    m_live.partial = [this](const QString &text) {
        if (running()) {
            const std::int32_t generation = requestGeneration();
            understood(text, true);
            if (isCurrent(generation)) {
                heard(Message::verbatim(QStringLiteral("… ") + text));
            }
        }
    };
    m_live.turn = [this](const QString &text, const PhraseEnd &end, bool atSeam) {
        if (running()) {
            ++m_inFlight;
            const std::int32_t sequence = take(end.phraseTimeMs);
            if (atSeam) {
                m_first.waitFrom(sequence);
                m_second.waitFrom(sequence);
            }
            translate({ sequence, { end.spokenMs, end.heardMs }, {}, text, {} });
        }
    };
    m_live.refused = [this] { end(); };
    m_live.ready = [this] {
        count(cost::Service::Live, 1, 0);
        m_line.setReached();
        if (running() && m_live.isReady() && !m_segmenter.hasSpeech()) {
            takeOver();
        }
    };
    m_live.lost = [this](const std::deque<AudioBlock> &owed) { segmentOwed(owed); };
    m_live.unavailable
        = [this] { statusChanged("Modo en vivo no disponible; se usa modo por trozos."); };
}

void Translation::connectLanes()
{
    for (const Target target : bothTargets) {
        CaptionLane &lane = this->lane(target);
        lane.heldChanged = [this] { heldChanged(); };
        lane.finalText = [this, &lane](const QString &original, const QString &translation) {
            return finalText(original, translation, lane.language());
        };
    }
    m_first.statusChanged = [this](const Message &message) { statusChanged(message); };
    m_first.passed = [this](const Caption &shown, std::int64_t phraseTimeMs) {
        tellCaption(shown, phraseTimeMs);
    };
    m_first.answered = [this](std::int32_t sequence, const QString &text) {
        --m_inFlight;
        m_line.setReached();
        finish(sequence, text);
    };
    m_first.failed
        = [this](const PhraseRequest &request, int status) { handleFailure(request, status); };
    m_second.statusChanged = [this](const Message &message) { statusChanged(message); };
    m_second.asked = [this] { count(cost::Service::Translation, 1, 0); };
    m_second.isOwed = [this](std::int32_t sequence) { return m_line.owesTranscript(sequence); };
    m_second.lane().passed = [this](const Caption &shown, std::int64_t) {
        const std::int32_t generation = requestGeneration();
        caption(shown);
        if (isCurrent(generation)) {
            speak(shown);
        }
    };
    m_second.reached = [this] { m_line.setReached(); };
    m_second.ended = [this] {
        m_voiceTarget = Target::First; // as its layers do
        const std::int32_t generation = requestGeneration();
        for (const Caption &held : m_second.lane().takeHeld()) {
            caption(held);
        }
        if (isCurrent(generation)) {
            secondEnded();
        }
    };
}

void Translation::start(const QString &key,
    const QString &target,
    bool voice,
    const QString &source,
    const QString &second)
{
    const QString trimmed = key.trimmed();
    if (trimmed.isEmpty()) {
        throw Error(QStringLiteral("Ingresa tu API key"));
    }
    stopEngine();
    m_source = source;
    m_voice = voice;
    m_voiceTarget = second.isEmpty() ? Target::First : m_wantedVoice;
    m_startTime = m_clock.wallMs();
    m_service->open(trimmed);
    m_first.open(target);
    if (second.isEmpty()) {
        m_second.lane().clearHeld();
    } else {
        m_second.start(trimmed, second);
    }
    useTerms();
    const std::int32_t generation = requestGeneration();
    statusChanged("IA activa; conectando modo en vivo...");
    if (!isCurrent(generation)) {
        return;
    }
    m_service->warmUp();
    if (!m_liveDisabled) {
        m_live.start(trimmed,
            source,
            languages::withTerms(languages::livePrompt(source), m_glossary.prompt()));
    }
    tellRoad();
}

void Translation::setTerms(const Terms &terms)
{
    m_terms = terms;
    useTerms();
}

void Translation::useTerms()
{
    m_glossary = Glossary(m_terms, m_source, m_first.language());
    m_first.setGlossary(m_glossary);
    if (m_second.isOn()) {
        const Glossary second(m_terms, m_source, m_second.lane().language());
        m_second.lane().setGlossary(second);
        m_glossary.add(second);
    }
    m_live.setPrompt(languages::withTerms(languages::livePrompt(m_source), m_glossary.prompt()));
}

void Translation::stopEngine()
{
    m_live.stop();
    m_segmenter.clear();
    m_tail.clear();
    m_line.clear();
    m_inFlight = 0;
    m_uploading = 0;
    m_first.close();
    m_second.stop();
    m_memory.clear();
    m_service->close();
    m_toldRoad = VoiceRoad::Stopped;
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
    m_live.tick();
    if (!isCurrent(generation)) {
        return;
    }
    if (m_live.isOpen()) {
        pushLive(block);
        return;
    }
    const bool cut = segment(block);
    if (isCurrent(generation) && m_live.isReady() && (cut || !m_segmenter.hasSpeech())) {
        takeOver();
    }
}

/// Hands the voice to the live session that is ready, from the last cut on: no word is on both
/// roads, and none is cut in two.
void Translation::takeOver()
{
    const AudioBlock tail = m_tail.last(m_segmenter.pendingFrames());
    m_segmenter.clear();
    m_tail.clear();
    m_live.takeOver();
    if (!tail.samples.empty()) {
        pushLive(tail);
    }
    tellRoad();
}

/// Returns whether the block has ended a phrase.
bool Translation::segment(const AudioBlock &block)
{
    const std::int32_t generation = requestGeneration();
    m_tail.push(block);
    const std::vector<PhraseSamples> phrases = m_segmenter.push(block);
    for (const PhraseSamples &phrase : phrases) {
        if (isCurrent(generation)) {
            takePhrase(phrase);
        }
    }
    return !phrases.empty();
}

/// A session is gone with what it had not transcribed: that goes by the other road.
void Translation::segmentOwed(const std::deque<AudioBlock> &owed)
{
    const std::int32_t generation = requestGeneration();
    m_line.bePatient();
    // Mostly it was the network, which holds up what is under way as well.
    for (const Target target : bothTargets) {
        lane(target).waitAll();
    }
    m_owedFrames = 0;
    for (const AudioBlock &block : owed) {
        m_owedFrames += block.samples.size() / audioChannels;
    }
    for (const AudioBlock &block : owed) {
        if (isCurrent(generation)) {
            m_owedFrames -= block.samples.size() / audioChannels;
            segment(block);
        }
    }
    if (isCurrent(generation) && m_live.isOpen()) {
        // What follows goes to a session: it would come out glued to what is said much later.
        takePhrase(m_segmenter.flush());
    }
    tellRoad();
}

void Translation::takePhrase(const PhraseSamples &samples)
{
    if (samples.empty()) {
        return;
    }
    if (!m_line.hasRoom()) {
        statusChanged("IA con retraso; se omite un segmento.");
        return;
    }
    const std::int32_t sequence = take(m_clock.wallMs());
    m_line.add({ sequence, timesOf(samples), wavFile(samples), {}, {} });
    startRequests();
}

std::int32_t Translation::take(std::int64_t phraseTimeMs)
{
    m_second.take(phraseTimeMs);
    return m_first.take(phraseTimeMs);
}

/// The phrase was cut just now; behind its last word are its own silence, what the segmenter has
/// kept, and what of a lost session is still to come.
PhraseTimes Translation::timesOf(const PhraseSamples &samples) const
{
    const auto isVoice = [](std::int16_t sample) {
        const double v = sample / 32767.0;
        return v * v > silenceEnergy;
    };
    const auto silent = std::find_if(samples.rbegin(), samples.rend(), isVoice) - samples.rbegin();
    const std::size_t frames = m_segmenter.pendingFrames() + m_owedFrames;
    const std::int64_t now = m_clock.wallMs();
    return { now - silent / (Segmenter::rate / 1000)
            - static_cast<std::int64_t>(frames) * 1000 / audioRate,
        now };
}

/// What the line gives up was a phrase that gave nothing.
void Translation::giveUpUseless()
{
    const std::int32_t generation = requestGeneration();
    for (const PhraseRequest &request : m_line.takeUseless(m_clock.wallMs())) {
        if (!isCurrent(generation)) {
            return;
        }
        m_first.store(request.sequence, {});
        if (request.text.isEmpty()) {
            m_second.giveNothing(request.sequence);
        } else {
            m_memory.forget(request.text);
            m_first.forget(request.text);
        }
    }
}

/// What keeps the request waiting is none of its phrase's own time; a phrase that is not heard yet
/// keeps both languages waiting.
void Translation::waitFrom(const PhraseRequest &request)
{
    m_first.waitFrom(request.sequence);
    if (request.text.isEmpty()) {
        m_second.waitFrom(request.sequence);
    }
}

/// What the first language is slow with, or waits for, holds up no phrase of the second.
std::optional<PhraseRequest> Translation::nextRequest()
{
    const std::int64_t now = m_clock.monotonicUs() / 1000;
    auto request = m_line.take(now, m_inFlight);
    if (!request && m_second.isOn()) {
        request = m_line.takeUpload(now, m_uploading);
    }
    return request;
}

void Translation::startRequests()
{
    giveUpUseless();
    while (running()) {
        const auto request = nextRequest();
        if (!request) {
            return;
        }
        ++m_inFlight;
        if (m_line.isPatient()) {
            waitFrom(*request);
        }
        if (request->text.isEmpty()) {
            upload(*request);
        } else {
            askTranslation(*request);
        }
    }
}

void Translation::count(cost::Service service, std::int64_t requests, std::int64_t us)
{
    cost::Use &use = m_usage.at(static_cast<std::size_t>(service));
    use.requests += requests;
    use.us += us;
}

void Translation::pushLive(const AudioBlock &block)
{
    const auto frames = static_cast<std::int64_t>(block.samples.size() / audioChannels);
    count(cost::Service::Live, 0, frames * 1'000'000 / audioRate);
    m_live.push(block);
}

void Translation::upload(const PhraseRequest &request)
{
    count(cost::Service::Phrases, 1, wavUs(request.wav));
    ++m_uploading;
    m_service->transcribe(
        { m_source, request.wav, m_glossary.prompt() },
        [this, request](const QString &transcript) {
            --m_uploading;
            m_line.setReached();
            translate({ request.sequence, request.times, {}, transcript, {} });
            if (m_second.isOn()) { // else the translation takes its place
                startRequests();
            }
        },
        [this, request](int status) { handleFailure(request, status); });
}

/// The request of this phrase is counted in `m_inFlight` already.
void Translation::translate(PhraseRequest request)
{
    const std::int32_t generation = requestGeneration();
    request.times.transcribed = m_clock.wallMs();
    request.text = m_glossary.mended(request.text);
    const bool repeated = m_memory.isRepeated(request.text);
    const bool blank = request.text.trimmed().isEmpty();
    if (repeated) {
        heard("(repetido, descartado) " + Message::verbatim(request.text));
    } else if (!blank) {
        understood(request.text, false);
        if (isCurrent(generation)) {
            heard(Message::verbatim(request.text));
        }
    }
    if (!isCurrent(generation)) {
        return;
    }
    if (repeated || blank) {
        --m_inFlight;
        giveNothing(request.sequence);
        return;
    }
    m_second.translate(request);
    if (!m_first.isAwaited(request.sequence)) { // skipped: nobody would see it
        --m_inFlight;
        finish(request.sequence, {});
        return;
    }
    m_first.remember(request);
    if (m_line.isAway()) { // a live session may hear all the same
        --m_inFlight;
        m_line.add(request);
        return;
    }
    askTranslation(request);
}

void Translation::askTranslation(const PhraseRequest &request)
{
    count(cost::Service::Translation, 1, 0);
    m_first.ask(request);
}

/// What the service refuses is given up. What the network lost is sent again, while it is of use.
void Translation::handleFailure(const PhraseRequest &request, int status)
{
    --m_inFlight;
    m_uploading -= request.text.isEmpty() ? 1 : 0;
    const bool isOfUse = m_first.isAwaited(request.sequence)
        || (request.text.isEmpty() && m_second.isAwaited(request.sequence));
    if (status == 0 && isOfUse
        && m_line.putBack(request, m_clock.monotonicUs() / 1000, m_clock.wallMs())) {
        waitFrom(request);
        tellRoad();
        return;
    }
    if (status != 0) {
        m_line.setReached();
    }
    if (request.text.isEmpty()) {
        giveNothing(request.sequence);
        return;
    }
    m_memory.forget(request.text);
    m_first.forget(request.text);
    finish(request.sequence, {});
}

void Translation::finish(std::int32_t sequence, const QString &text)
{
    m_first.store(sequence, text);
    const std::int32_t generation = requestGeneration();
    releaseResults();
    if (isCurrent(generation)) {
        startRequests();
        tellRoad();
    }
}

/// Neither language has anything of the phrase.
void Translation::giveNothing(std::int32_t sequence)
{
    const std::int32_t generation = requestGeneration();
    finish(sequence, {});
    if (isCurrent(generation)) {
        m_second.giveNothing(sequence);
    }
}

void Translation::tick()
{
    const std::int32_t generation = requestGeneration();
    giveUpUseless();
    releaseResults();
    releaseHeld();
    if (isCurrent(generation)) {
        m_live.tick();
    }
    if (isCurrent(generation)) {
        startRequests();
        tellRoad();
        m_second.tick();
    }
}

VoiceRoad Translation::road() const
{
    if (!running()) {
        return VoiceRoad::Stopped;
    }
    if (m_line.isAway()) {
        return VoiceRoad::Waiting;
    }
    return m_live.isOpen() ? VoiceRoad::Live : VoiceRoad::Phrases;
}

void Translation::tellRoad()
{
    if (const VoiceRoad now = road(); now != m_toldRoad) {
        m_toldRoad = now;
        roadChanged();
    }
}

void Translation::releaseResults()
{
    m_first.release(!m_line.holds(m_first.awaited()));
}

void Translation::setHold(std::int64_t ms)
{
    for (const Target target : bothTargets) {
        lane(target).setHold(ms);
    }
}

void Translation::releaseHeld()
{
    for (const Target target : bothTargets) {
        lane(target).releaseHeld();
    }
}

/// A caption of the first language, which alone is told of.
void Translation::tellCaption(const Caption &shown, std::int64_t phraseTimeMs)
{
    const std::int32_t generation = requestGeneration();
    caption(shown);
    if (!isCurrent(generation)) {
        return;
    }
    const double delay
        = phraseTimeMs == 0 ? 0.0 : static_cast<double>(m_clock.wallMs() - phraseTimeMs) / 1000.0;
    captionNotice("Subtítulo actualizado · " + Message::verbatim(QString::number(delay, 'f', 1))
        + " s después de la frase");
    if (isCurrent(generation)) {
        speak(shown);
    }
}

/// When the voice is on, and speaks that language.
void Translation::speak(const Caption &shown)
{
    if (!m_voice || shown.target != m_voiceTarget) {
        return;
    }
    count(cost::Service::Voice, 1, 0);
    const auto play = [this, number = ++m_spoken, target = shown.target](const QByteArray &pcm) {
        count(cost::Service::Voice, 0, voiceUs(pcm));
        // A clip that comes after that of a later phrase, or after its language, is out of date.
        const bool isDue = number > m_heardVoice && target == m_voiceTarget;
        if (pcm.size() <= maxVoiceBytes && isDue) {
            m_heardVoice = number;
            voiceAudio(pcm, target);
        }
    };
    m_service->speak(shown.text, play);
}

} // namespace nimbara
