#pragma once

#include "media/sources/media.h"
#include "media/sources/retirement.h"

#include <memory>

namespace nimbara {

/// Refuses a location that no source can play: throws `Error` "URL multimedia no compatible" unless
/// it is a valid URL whose scheme is file, https, http, rtsp, rtsps, rtmp or rtmps
/// (case-sensitive).
void checkMediaLocation(const QString &location);

/// Makes the four kinds of source. Whoever drops the last reference, on whatever thread, the source
/// is destroyed on a background task: stopping a pipeline may block. Interface thread only.
class MediaFactory {
public:
    /// `screens`: the ways to capture the screen.
    MediaFactory(const Clock &clock,
        std::shared_ptr<Retirement> retirement,
        ScreenElements screens = screenElements());

    /// All throw `Error` with the operator's text when the source cannot be built.
    [[nodiscard]] MediaPtr camera(FrameSize size, GstDevice *device) const;
    [[nodiscard]] MediaPtr testBars(FrameSize size) const;
    [[nodiscard]] MediaPtr screen(FrameSize size) const;
    /// Checks the location first (`checkMediaLocation`), before any pipeline exists. The text
    /// itself, not a re-encoded form, is handed to the decoder.
    [[nodiscard]] MediaPtr media(FrameSize size, const QString &location) const;
    /// The same, but a file is opened, beside few others at a time, and held until it is shown.
    [[nodiscard]] MediaPtr heldMedia(FrameSize size, const QString &location) const;

private:
    [[nodiscard]] MediaPtr make(FrameSize size,
        GstDevice *device,
        const QString &uri,
        bool test,
        bool screen,
        std::shared_ptr<OpeningSlots> holding = {}) const;

    const Clock &m_clock;
    std::shared_ptr<Retirement> m_retirement;
    ScreenElements m_screens;
    std::shared_ptr<OpeningSlots> m_slots;
};

} // namespace nimbara
