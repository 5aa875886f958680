#pragma once

#include "media/x11/x11_shared_picture.h"
#include "signal/frame.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <xcb/xcb.h>

namespace nimbara {

/// Reads the main screen of an X server, the pointer included, over a connection of its own.
///
/// Protocol: X11 core, RANDR 1.5 (the main monitor; the whole root window without it), MIT-SHM
/// (when the server is on this machine) and XFIXES (pointer). The server is never grabbed: the
/// other programs of the computer, and the studio's own windows, keep drawing while a picture is
/// read.
///
/// One thread at a time. Every call may wait for the server, for as long as another program grabs
/// it.
class X11Screen {
public:
    enum class Read {
        Picture,
        Resized, ///< the screen has another size now, see `size`; nothing was read
        Lost, ///< the server has gone, or refuses
    };

    /// Connects to the server of DISPLAY. None when there is no such server, or when its pictures
    /// are not 32 bits a pixel in the order B, G, R, x.
    static std::unique_ptr<X11Screen> open();

    /// In pixels, as of the last read.
    [[nodiscard]] FrameSize size() const { return m_area.size; }

    /// Writes width × height × 4 bytes, packed rows of B, G, R, x, top to bottom.
    Read read(std::uint8_t *pixels);

private:
    struct Disconnect {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };
    using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

    /// Where the screen lies in the root window.
    struct Area {
        std::int16_t x = 0;
        std::int16_t y = 0;
        FrameSize size;
        bool operator==(const Area &) const = default;
    };

    X11Screen(Connection connection, const xcb_screen_t &screen);
    [[nodiscard]] std::size_t bytes() const;
    [[nodiscard]] std::optional<Area> askArea() const;
    [[nodiscard]] std::optional<Area> mainMonitor() const;
    void dropEvents() const;
    bool readShared(std::uint8_t *pixels);
    bool readSent(std::uint8_t *pixels);
    void drawPointer(std::uint8_t *pixels) const;

    Connection m_connection;
    xcb_window_t m_root;
    bool m_hasMonitors;
    bool m_hasPointer;
    Area m_area;
    X11SharedPicture m_shared; ///< goes before the connection
};

} // namespace nimbara
