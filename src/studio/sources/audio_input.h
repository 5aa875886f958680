#pragma once

#include "base/report.h"
#include "media/capture/audio_capture.h"
#include "media/capture/devices.h"
#include "media/sources/retirement.h"
#include "output/mix/input_writer.h"
#include "studio/sources/device_return.h"
#include "studio/sources/opening.h"
#include "studio/sources/sound_offset.h"

#include <QObject>

#include <array>
#include <memory>
#include <optional>

namespace nimbara {

/// The operator's audio input with its gain, mute, levels and the queue that feeds the outputs.
/// A device that was lost is looked for and comes back by itself. Interface thread only.
class AudioInput : public QObject {
    Q_OBJECT
public:
    AudioInput(const Clock &clock, std::shared_ptr<Retirement> retirement, Report status);

    /// Replaces the capture at once: the old one is retired and the queue emptied. None: silence.
    /// Nothing that was lost is looked for any more, and an offer is withdrawn.
    void setCapture(std::unique_ptr<AudioCapture> capture);
    [[nodiscard]] const AudioCapture *capture() const { return m_capture.get(); }
    /// The device of the input, also while it is lost; none: silence or the test tone.
    [[nodiscard]] const std::optional<CaptureDevice> &device() const { return m_device; }

    /// The capture takes the place of the present one with its first block. When it stops before,
    /// that is told, and the present one stays. `device`: what it was opened from; none: the tone.
    void offer(std::unique_ptr<AudioCapture> capture, std::optional<CaptureDevice> device);
    /// The capture that is opening is not wanted any more.
    void withdrawOffer();
    /// A lost device that is opening again by itself is what the operator asks for.
    void claimOffer()
    {
        m_offer.returning = false;
        m_refused = false;
    }
    /// The device that is opening, or none.
    [[nodiscard]] const std::optional<CaptureDevice> &offered() const { return m_offer.device; }
    /// How the last offer of the operator came along.
    [[nodiscard]] Opening opening() const;

    /// The name of the device that was lost and is looked for; empty when the input is there.
    [[nodiscard]] QString lostDevice() const { return m_lostDevice; }

    /// Drains what arrived. A capture that stopped is reported and retired.
    void pull();

    /// 0..200 percent. Throws `Error` "Ganancia fuera de 0 a 2" and keeps the gain for any other
    /// value.
    void setGainPercent(int percent);
    [[nodiscard]] int gainPercent() const { return m_gainPercent; }
    void setMuted(bool muted);
    [[nodiscard]] const GainState &gainState() const { return m_gainState; }

    /// How much later than it arrives the sound is heard (`SoundOffset`). What a muting cuts is cut
    /// at once, what follows its end comes after the offset.
    [[nodiscard]] const SoundOffset &offset() const { return m_offset; }
    /// ms. Throws `Error` "Desfase fuera de −500 a 2000 ms" and keeps the offset for any other
    /// value.
    void setOffset(int ms);
    /// Those that were kept at an earlier run (`SoundOffset::restore`).
    void restoreOffsets(const QVariantMap &offsets) { m_offset.restore(offsets); }

    /// What the outputs mix from.
    [[nodiscard]] AudioFifo &fifo() { return m_fifo; }

Q_SIGNALS:
    /// A processed block, after the queue took it.
    void blockArrived(const AudioBlock &block);
    /// Meter positions 0..100 of the input before and after gain, after each pull while a capture
    /// exists, and 0 when it goes.
    void levelsMeasured(int before, int after);
    /// Whether a sample before or after gain reached full scale within the last 2 s.
    void clipChanged(bool before, bool after);
    /// `lostDevice` has changed.
    void lostChanged(const QString &device);
    void gainChanged(int percent);
    void mutedChanged(bool muted);
    /// Of the device that is in use now, in ms.
    void offsetChanged(int ms);

private:
    /// A capture that has not delivered yet.
    struct Offer {
        std::unique_ptr<AudioCapture> capture;
        std::optional<CaptureDevice> device;
        bool returning = false; ///< nobody asked for it: a lost device that is there again
    };

    void setGainState(const GainState &state);
    void showOffset(int before);
    void begin(Offer offer);
    void install(std::unique_ptr<AudioCapture> capture, std::optional<CaptureDevice> device);
    void emptyQueue();
    void showLost();
    void pullCapture();
    void pullOffer();
    void acceptOffer(const std::vector<AudioBlock> &first);
    void refuseOffer();
    void lookForLost();
    void take(const AudioBlock &block);
    void noteClip();
    void showClip();

    const Clock &m_clock;
    std::shared_ptr<Retirement> m_retirement;
    Report m_status;
    std::unique_ptr<AudioCapture> m_capture;
    std::optional<CaptureDevice> m_device;
    Offer m_offer;
    bool m_refused = false; ///< the operator's last offer
    DeviceReturn m_return;
    QString m_lostDevice;
    int m_gainPercent = 100;
    GainState m_gainState;
    SoundOffset m_offset;
    AudioFifo m_fifo;
    InputWriter m_writer; ///< fades the seams between blocks that do not meet
    std::array<std::int64_t, 2> m_clipUntil {}; ///< µs; before and after gain
    std::array<bool, 2> m_clip {};
};

} // namespace nimbara
