#pragma once

#include "media/sources/media.h"
#include "media/sources/retirement.h"

#include <memory>

namespace nimbara {

/// A location as typed, ready to be opened: without blanks around it, its scheme in small letters.
/// What is secret in it (password, values of the query, a key in the path) is hidden from now on
/// (`hideSecret`). Throws `Error` "URL multimedia no compatible" unless it is a valid URL whose
/// scheme is file, https, http, rtsp, rtsps, rtmp, rtmps or srt.
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
    [[nodiscard]] MediaPtr camera(FrameSize size,
        GstDevice *device,
        const std::optional<DeviceMode> &mode,
        DeviceRoad road = DeviceRoad::System) const;
    [[nodiscard]] MediaPtr testBars(FrameSize size) const;
    /// In a Wayland session what the desktop granted (`grantedScreen`); none until it has.
    [[nodiscard]] MediaPtr screen(FrameSize size) const;
    [[nodiscard]] std::optional<ScreenStream> &grantedScreen() const { return *m_grantedScreen; }
    /// The screen has to be granted.
    [[nodiscard]] bool needsGrant() const { return m_needsGrant; }
    /// Checks the location first (`checkedMediaLocation`), before any pipeline exists. That text,
    /// not a re-encoded form, is handed to the decoder, but for a login in it, which goes to the
    /// source alone; without one it is opened with that of `logins`. `latencyMs`: of a live camera.
    [[nodiscard]] MediaPtr media(FrameSize size,
        const QString &location,
        std::int32_t latencyMs = NetworkAccess::usualLatencyMs) const;
    /// The same, but a file is opened, beside few others at a time, and held until it is shown.
    [[nodiscard]] MediaPtr heldMedia(FrameSize size,
        const QString &location,
        std::int32_t latencyMs = NetworkAccess::usualLatencyMs) const;
    /// The logins that sources are opened with.
    [[nodiscard]] KnownLogins &logins() const { return *m_logins; }

private:
    [[nodiscard]] SourceRequest
    requestFor(FrameSize size, const QString &location, std::int32_t latencyMs) const;
    [[nodiscard]] MediaPtr make(const SourceRequest &request,
        std::shared_ptr<OpeningSlots> holding = {}) const;

    const Clock &m_clock;
    std::shared_ptr<Retirement> m_retirement;
    ScreenElements m_screens;
    std::shared_ptr<OpeningSlots> m_slots;
    bool m_needsGrant = isWayland(currentSession());
    std::unique_ptr<std::optional<ScreenStream>> m_grantedScreen
        = std::make_unique<std::optional<ScreenStream>>();
    std::unique_ptr<KnownLogins> m_logins = std::make_unique<KnownLogins>();
};

} // namespace nimbara
