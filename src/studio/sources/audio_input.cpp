#include "studio/sources/audio_input.h"

#include "base/error.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

int meterOf(const AudioLevels &levels)
{
    return meterValue(std::max(levels.peak[0], levels.peak[1]));
}

} // namespace

AudioInput::AudioInput(std::shared_ptr<Retirement> retirement, Report status)
    : m_retirement(std::move(retirement))
    , m_status(std::move(status))
{
}

void AudioInput::setCapture(std::unique_ptr<AudioCapture> capture)
{
    m_retirement->retire(std::move(m_capture));
    m_fifo.clear();
    m_writer = {};
    m_capture = std::move(capture);
    if (m_capture) {
        m_capture->listener = [this](const AudioBlock &block) {
            m_writer.append(m_fifo, block);
            Q_EMIT blockArrived(block);
        };
    }
}

void AudioInput::pull()
{
    if (!m_capture) {
        return;
    }
    m_capture->pull(m_gainState);
    Q_EMIT levelsMeasured(meterOf(m_capture->inputLevels()), meterOf(m_capture->outputLevels()));
    if (!m_capture->running()) {
        m_status("Audio detenido; video continúa. " + Message(m_capture->error()));
        setCapture(nullptr);
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
