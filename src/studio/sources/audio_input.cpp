#include "studio/sources/audio_input.h"

#include "base/error.h"
#include "base/log.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t clipHoldUs = 2'000'000;
constexpr double fullScale = 0.9999; ///< a little less than the largest 16-bit sample

double peakOf(const AudioLevels &levels)
{
    return std::max(levels.peak[0], levels.peak[1]);
}

int meterOf(const AudioLevels &levels)
{
    return meterValue(peakOf(levels));
}

} // namespace

AudioInput::AudioInput(const Clock &clock, std::shared_ptr<Retirement> retirement, Report status)
    : m_clock(clock)
    , m_retirement(std::move(retirement))
    , m_status(status)
    , m_return(clock, std::move(status))
{
}

void AudioInput::setCapture(std::unique_ptr<AudioCapture> capture)
{
    withdrawOffer();
    emptyQueue();
    install(std::move(capture), std::nullopt);
}

void AudioInput::install(std::unique_ptr<AudioCapture> capture, std::optional<CaptureDevice> device)
{
    m_retirement->retire(std::exchange(m_capture, std::move(capture)));
    m_device = std::move(device);
    const int before = m_offset.ms();
    m_offset.use(m_device ? m_device->identity : QString());
    showOffset(before);
    if (m_capture) {
        m_capture->listener = [this](const AudioBlock &block) { take(block); };
    } else {
        Q_EMIT levelsMeasured(0, 0);
    }
    showLost();
}

void AudioInput::emptyQueue()
{
    m_fifo.clear();
    m_offset.clear();
    m_writer = {};
}

void AudioInput::showLost()
{
    const QString lost = m_device && !m_capture ? m_device->name : QString();
    if (lost != std::exchange(m_lostDevice, lost)) {
        Q_EMIT lostChanged(lost);
    }
}

void AudioInput::offer(std::unique_ptr<AudioCapture> capture, std::optional<CaptureDevice> device)
{
    m_refused = false;
    begin({ std::move(capture), std::move(device), false });
}

void AudioInput::withdrawOffer()
{
    m_refused = false;
    begin({});
}

void AudioInput::begin(Offer offer)
{
    m_retirement->retire(std::exchange(m_offer, std::move(offer)).capture);
}

Opening AudioInput::opening() const
{
    if (m_offer.capture && !m_offer.returning) {
        return Opening::Underway;
    }
    return m_refused ? Opening::Refused : Opening::Done;
}

void AudioInput::pull()
{
    pullOffer();
    lookForLost();
    pullCapture();
    showClip();
}

void AudioInput::pullCapture()
{
    if (!m_capture) {
        return;
    }
    m_capture->pull(m_gainState);
    Q_EMIT levelsMeasured(meterOf(m_capture->inputLevels()), meterOf(m_capture->outputLevels()));
    if (!m_capture->running()) {
        m_status(Message("Audio detenido; video continúa. ") + m_capture->error());
        emptyQueue();
        install(nullptr, m_device);
    }
}

void AudioInput::pullOffer()
{
    if (!m_offer.capture) {
        return;
    }
    std::vector<AudioBlock> first;
    m_offer.capture->listener = [&first](const AudioBlock &block) { first.push_back(block); };
    m_offer.capture->pull(m_gainState);
    if (!first.empty()) {
        acceptOffer(first);
    } else if (!m_offer.capture->running()) {
        refuseOffer();
    }
}

/// Its sound follows that of the capture before, with a fade.
void AudioInput::acceptOffer(const std::vector<AudioBlock> &first)
{
    Offer accepted = std::exchange(m_offer, {});
    if (accepted.returning) {
        m_status("Entrada de audio recuperada: " + Message::verbatim(accepted.device->name));
    }
    m_writer.expectStep();
    install(std::move(accepted.capture), std::move(accepted.device));
    for (const AudioBlock &block : first) {
        take(block);
    }
}

void AudioInput::refuseOffer()
{
    Offer refused = std::exchange(m_offer, {});
    const Message reason = refused.capture->error();
    m_retirement->retire(std::move(refused.capture));
    if (refused.returning) {
        logLine(QStringLiteral("Audio: no se pudo reabrir: ") + reason.spanish());
        return;
    }
    m_refused = true;
    const Message name = refused.device ? Message::verbatim(refused.device->name)
                                        : Message("Señal de prueba (sin altavoces)");
    const Message rest = m_capture ? Message("Continúa la entrada que había. ") : Message();
    m_status(Message("No llega audio de %1. ", { name }) + rest + reason);
}

void AudioInput::lookForLost()
{
    const bool lost = m_device && !m_capture;
    const std::optional<CaptureDevice> found = m_return.poll(lost ? &*m_device : nullptr);
    const bool busy = m_offer.capture
        && (!m_offer.returning || !found || m_offer.device->place == found->place);
    if (!found || busy) {
        return;
    }
    try {
        begin({ std::make_unique<AudioCapture>(m_clock, found->device.get()), found, true });
    } catch (const Error &error) {
        logLine(QStringLiteral("Audio: no se pudo reabrir: ") + error.text());
    }
}

void AudioInput::take(const AudioBlock &block)
{
    const std::span<float> values = m_writer.faded(block);
    m_offset.apply(values, m_gainState.muted);
    m_fifo.push(values);
    noteClip();
    Q_EMIT blockArrived(block);
}

void AudioInput::noteClip()
{
    const std::array peaks { peakOf(m_capture->inputLevels()), peakOf(m_capture->outputLevels()) };
    for (std::size_t side = 0; side < peaks.size(); ++side) {
        if (peaks.at(side) >= fullScale) {
            m_clipUntil.at(side) = m_clock.monotonicUs() + clipHoldUs;
        }
    }
}

void AudioInput::showClip()
{
    const std::int64_t now = m_clock.monotonicUs();
    const std::array clip { now < m_clipUntil[0], now < m_clipUntil[1] };
    if (clip != std::exchange(m_clip, clip)) {
        Q_EMIT clipChanged(clip[0], clip[1]);
    }
}

void AudioInput::setGainPercent(int percent)
{
    const double gain = percent / 100.0;
    if (gain < 0.0 || gain > 2.0) {
        throw Error(QStringLiteral("Ganancia fuera de 0 a 2"));
    }
    setGainState({ m_gainState.muted, gain });
    if (percent != std::exchange(m_gainPercent, percent)) {
        Q_EMIT gainChanged(percent);
    }
}

void AudioInput::setOffset(int ms)
{
    const int before = m_offset.ms();
    m_offset.set(ms);
    showOffset(before);
}

void AudioInput::showOffset(int before)
{
    if (m_offset.ms() != before) {
        Q_EMIT offsetChanged(m_offset.ms());
    }
}

void AudioInput::setMuted(bool muted)
{
    if (muted != m_gainState.muted) {
        setGainState({ muted, m_gainState.gain });
        Q_EMIT mutedChanged(muted);
    }
}

void AudioInput::setGainState(const GainState &state)
{
    if (state != m_gainState) {
        m_gainState = state;
        m_writer.expectStep();
    }
}

} // namespace nimbara
