#pragma once

#include "media/sources/media.h"
#include "media/sources/retirement.h"

#include <memory>

namespace nimbara {

/// A location as typed, ready to be opened: without blanks around it, its scheme in small letters.
/// What is secret in it (password, values of the query, a key in the path) is hidden from now on
/// (`hideSecret`). Throws `Error` "URL multimedia no compatible" unless it is a valid URL whose
/// scheme is file, https, http, rtsp, rtsps, rtmp or rtmps.
QString checkedMediaLocation(const QString &typed);

/// Makes the four kinds of source. Whoever drops the last reference, on whatever thread, the source
/// is destroyed on a background task: stopping a pipeline may block. Interface thread only.
class MediaFactory {
public:
    /// `screens`: the ways to capture the screen.
    MediaFactory(const Clock &clock,
        std::shared_ptr<Retirement> retirement,
        ScreenElements screens = screenElements());

    /// All throw `Error` with the operator's text when the source cannot be built. A camera without
    /// a mode delivers whatever raw picture it likes.
    [[nodiscard]] MediaPtr
    camera(FrameSize size, GstDevice *device, const std::optional<DeviceMode> &mode) const;
    [[nodiscard]] MediaPtr testBars(FrameSize size) const;
    [[nodiscard]] MediaPtr screen(FrameSize size) const;
    /// Checks the location first (`checkedMediaLocation`), before any pipeline exists. That text,
    /// not a re-encoded form, is handed to the decoder.
    [[nodiscard]] MediaPtr media(FrameSize size, const QString &location) const;
    /// The same, but a file is opened, beside few others at a time, and held until it is shown.
    [[nodiscard]] MediaPtr heldMedia(FrameSize size, const QString &location) const;

private:
    [[nodiscard]] MediaPtr make(const SourceRequest &request,
        std::shared_ptr<OpeningSlots> holding = {}) const;

    const Clock &m_clock;
    std::shared_ptr<Retirement> m_retirement;
    ScreenElements m_screens;
    std::shared_ptr<OpeningSlots> m_slots;
};

} // namespace nimbara
