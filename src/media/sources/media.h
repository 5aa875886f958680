#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "media/capture/device_trouble.h"
#include "media/sources/playback.h"
#include "media/sources/source_pipeline.h"
#include "signal/audio_block.h"
#include "signal/frame.h"

#include <QString>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// One live picture that a layer can show (camera, screen capture, media file or network stream,
/// test bars): the GStreamer pipeline "nimbara-source", which decodes or captures, converts to RGBA
/// in the picture's own shape, at the size at which it is shown, and leaves the newest picture, and
/// the media's sound as 48 kHz stereo, in application sinks. Test bars have the profile's size.
///
/// Interface thread only, except for destruction, which may block and belongs on a background task
/// (`Retirement`). GStreamer's threads only fill the two sinks and link decoded pads.
class Media {
public:
    /// Builds the pipeline and asks for PLAYING, on a background task unless it shows test bars. A
    /// refusal that does not come in a moment is told by `startOutcome` and `pollSource`.
    ///
    /// The screen is captured by the first of `screens` that this installation has. With
    /// `holding`, a file is opened and held at its first picture until it is shown. Throws `Error`
    /// with the operator's text.
    Media(const Clock &clock,
        const SourceRequest &request,
        const ScreenElements &screens = screenElements(),
        std::shared_ptr<OpeningSlots> holding = {});
    Media(const Media &) = delete;
    Media &operator=(const Media &) = delete;
    Media(Media &&) = delete;
    Media &operator=(Media &&) = delete;
    ~Media();

    /// Whether anyone sees it. A file that nobody sees is held where it is, since a computer that
    /// shows two clips cannot decode fifty; everything else plays on.
    void setShown(bool shown);

    /// Where layers show the picture: it comes at the size that needs no more scaling in the
    /// largest of the boxes, scaled on the pipeline's threads. The first take effect at once,
    /// others once they have stood for `settleUs`, as a box is dragged. None: as before.
    void showIn(const std::vector<PictureBox> &boxes);
    static constexpr std::int64_t settleUs = 250'000;

    /// How long a picture waits before it is shown, in µs; the first is shown at once. What waits
    /// is kept whole: half a second of 1920 × 1080 takes 130 MB.
    void setPictureDelay(std::int64_t us) { m_pictureDelay = us; }

    /// One non-blocking read: bus, media sound, newest picture, no-frame watchdog.
    void pollSource();

    /// The newest picture; none before the first, and none after a failure. Taken out of the
    /// pipeline when it is first asked for: many sources play while nobody looks.
    [[nodiscard]] const FramePtr &frame();

    /// The picture's own size in square pixels; none before the first.
    [[nodiscard]] std::optional<FrameSize> naturalSize() const;

    /// The pending message for the operator, empty when there is none. Taking that of a source that
    /// stopped empties the picture, so that the layer shows nothing stale; a clip's last one stays.
    [[nodiscard]] Message takeMessage();

    /// Still read; false after end of stream, an error or the watchdog. A file that has begun to
    /// play has no watchdog: that no picture came for 10 s is told once, and it goes on.
    [[nodiscard]] bool active() const { return m_active; }
    /// Given up because no picture came for too long.
    [[nodiscard]] bool starved() const { return m_starved; }
    /// The pipeline reported end of stream.
    [[nodiscard]] bool ended() const { return m_ended; }
    /// It ended where it was to end, as a file does and a live stream does not.
    [[nodiscard]] bool isOver() const { return m_ended && m_hasKnownEnd; }
    /// It has a picture, or will never have one.
    [[nodiscard]] bool isReady();
    /// Built from a capture device.
    [[nodiscard]] bool isDevice() const { return m_isDevice; }
    /// Where it comes from, without a login; empty for what is no media.
    [[nodiscard]] const QString &location() const { return m_location; }
    /// The login that it was opened with, possibly none.
    [[nodiscard]] const Login &login() const { return m_login; }
    /// It was refused for want of another login.
    [[nodiscard]] bool wantsLogin() const { return m_wantsLogin; }
    /// Diagnostic description for the log.
    [[nodiscard]] const QString &label() const { return m_label; }
    /// How the start has come along: opening a file or a device may take its time.
    [[nodiscard]] PipelineStart::Outcome startOutcome()
    {
        return m_playback.poll(m_parts.pipeline);
    }
    /// Expires once the pipeline has stopped, on whatever thread: then its device is free.
    [[nodiscard]] std::weak_ptr<const void> presence() const { return m_presence; }
    /// Number of pictures taken so far.
    [[nodiscard]] std::uint64_t frameCount() const { return m_frameCount; }
    /// Number of pictures that a device or the screen delivered so far, taken or not.
    [[nodiscard]] std::uint64_t arrivedCount() const { return *m_parts.arrived; }
    /// What was asked of the device, or none.
    [[nodiscard]] const std::optional<DeviceMode> &wantedMode() const { return m_wantedMode; }
    /// What the device agreed upon; none before the first picture.
    [[nodiscard]] const std::optional<DeviceMode> &agreedMode() const { return m_agreedMode; }
    /// The size in which pictures come in, decoded and not yet scaled; 0 × 0 before the first.
    [[nodiscard]] FrameSize receivedSize() const { return m_receivedSize; }
    /// The media's sound, at most one second.
    [[nodiscard]] AudioFifo &audioFifo() { return m_audioFifo; }
    /// No more sound will come: the sound track is over, or the source is.
    [[nodiscard]] bool soundIsOver() const { return m_soundIsOver || !m_active; }

private:
    /// The heads that decoded pads are linked to. Shared with the decoder's signal handler, so that
    /// GStreamer's threads never touch the source itself; holds neither decoder nor pipeline, which
    /// would keep each other alive.
    struct Branches {
        ElementRef pictureHead;
        ElementRef audioConvert;
    };

    /// A picture that waits.
    struct Waiting {
        std::int64_t dueUs;
        FramePtr frame;
    };

    void play();
    void pollStreams(PipelineStart::Outcome start);
    void starve(std::int64_t now);
    static void padAdded(GstElement *element, GstPad *pad, gpointer source);
    void linkDecodedPads();
    bool takeBusMessage();
    void followLatency();
    void takeSound();
    void takePicture(SampleRef sample, std::int64_t now);
    void holdBack(std::int64_t now);
    void showDue();
    void takeFrame(const SampleRef &sample);
    void describeFirstPicture(const SampleRef &sample);
    void readAlpha();
    [[nodiscard]] bool streamsEnded() const;
    void end();
    void failWith(GstMessage *error);
    void fail(const Message &message);
    void deactivate();

    std::shared_ptr<const void> m_presence = std::make_shared<char>(); ///< first: goes last
    std::optional<ScreenStream> m_stream; ///< that the pipeline reads
    const Clock &m_clock;
    bool m_active = true;
    bool m_ended = false;
    bool m_starved = false;
    bool m_isDevice = false;
    bool m_isTestBars = false;
    bool m_isFile = false;
    bool m_isNetwork = false;
    bool m_hasKnownEnd = false;
    bool m_isAnswered = false; ///< a device has taken what was asked of it
    bool m_wantsLogin = false;
    QString m_location;
    Login m_login;
    std::int64_t m_lastFrameTime = 0;
    std::uint64_t m_frameCount = 0;
    Message m_message;
    QString m_label;
    FramePtr m_frame;
    std::int64_t m_pictureDelay = 0; ///< µs
    std::deque<Waiting> m_waiting; ///< the oldest first
    std::shared_ptr<DeviceTrouble> m_trouble; ///< of a device
    std::optional<DeviceMode> m_wantedMode;
    std::optional<DeviceMode> m_agreedMode;
    FrameSize m_receivedSize;
    std::vector<PictureBox> m_boxes; ///< as told last
    std::optional<std::int64_t> m_boxesSince; ///< µs; they have not taken effect yet
    AudioFifo m_audioFifo;
    bool m_soundIsOver = false;
    bool m_hasSounded = false;
    bool m_hasToldGap = false; ///< in the pictures of a file
    std::vector<float> m_soundBuffer; ///< reused between polls
    CapsRef m_pictureCaps; ///< of the picture before conversion, which the next two were read from
    bool m_hasAlpha = false; ///< its pixels carry an alpha channel
    bool m_hasPadding = false; ///< its pixels carry a byte without meaning
    SourcePipeline m_parts;
    SampleRef m_sample; ///< a picture newer than the frame, or none; goes before its pipeline
    /// Last, so that a change of state has come back before its pipeline stops.
    Playback m_playback;
};

using MediaPtr = std::shared_ptr<Media>;

} // namespace nimbara
