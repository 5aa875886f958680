#pragma once

#include "base/report.h"
#include "media/capture/audio_capture.h"
#include "media/sources/retirement.h"
#include "output/mix/input_writer.h"

#include <QObject>

#include <memory>

namespace nimbara {

/// The operator's audio input with its gain, mute, levels and the queue that feeds the outputs.
/// Interface thread only.
class AudioInput : public QObject {
    Q_OBJECT
public:
    AudioInput(std::shared_ptr<Retirement> retirement, Report status);

    /// Replaces the capture: the old one is retired and the queue emptied. None: silence.
    void setCapture(std::unique_ptr<AudioCapture> capture);
    [[nodiscard]] const AudioCapture *capture() const { return m_capture.get(); }

    /// Drains what arrived. A capture that stopped is reported and retired.
    void pull();

    /// 0..200 percent. Throws `Error` "Ganancia fuera de 0 a 2" and keeps the gain for any other
    /// value.
    void setGainPercent(int percent);
    [[nodiscard]] int gainPercent() const { return m_gainPercent; }
    void setMuted(bool muted);
    [[nodiscard]] const GainState &gainState() const { return m_gainState; }

    /// What the outputs mix from.
    [[nodiscard]] AudioFifo &fifo() { return m_fifo; }

Q_SIGNALS:
    /// A processed block, after the queue took it.
    void blockArrived(const AudioBlock &block);
    /// Meter positions 0..100 of the input before and after gain, after each pull while a capture
    /// exists.
    void levelsMeasured(int before, int after);
    void gainChanged(int percent);
    void mutedChanged(bool muted);

private:
    void setGainState(const GainState &state);

    std::shared_ptr<Retirement> m_retirement;
    Report m_status;
    std::unique_ptr<AudioCapture> m_capture;
    int m_gainPercent = 100;
    GainState m_gainState;
    AudioFifo m_fifo;
    InputWriter m_writer; ///< fades the seams between blocks that do not meet
};

} // namespace nimbara
