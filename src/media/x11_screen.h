#pragma once

#include "media/frame.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <xcb/shm.h>
#include <xcb/xcb.h>

namespace nimbara {

/// Reads the whole screen of an X server, the pointer included, over a connection of its own.
///
/// Protocol: X11 core, MIT-SHM (used when the server is on this machine) and XFIXES (pointer). The
/// server is never grabbed: the other programs of the computer, and the studio's own windows, keep
/// drawing while a picture is read.
///
/// One thread at a time. Every call may wait for the server.
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

    ~X11Screen();
    X11Screen(const X11Screen &) = delete;
    X11Screen &operator=(const X11Screen &) = delete;
    X11Screen(X11Screen &&) = delete;
    X11Screen &operator=(X11Screen &&) = delete;

    /// In pixels, as of the last read.
    [[nodiscard]] FrameSize size() const { return m_size; }

    /// Writes width × height × 4 bytes, packed rows of B, G, R, x, top to bottom.
    Read read(std::uint8_t *pixels);

private:
    struct Disconnect {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };
    using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

    /// Memory that the server writes pictures into.
    struct SharedPicture {
        xcb_shm_seg_t segment = 0;
        std::uint8_t *memory = nullptr;
    };

    X11Screen(Connection connection, const xcb_screen_t &screen);
    [[nodiscard]] std::size_t bytes() const;
    std::optional<FrameSize> askSize();
    void share();
    void unshare();
    bool readShared(std::uint8_t *pixels);
    bool readSent(std::uint8_t *pixels);
    void drawPointer(std::uint8_t *pixels);

    Connection m_connection;
    xcb_window_t m_root;
    FrameSize m_size;
    bool m_canShare = false;
    bool m_hasPointer = false;
    SharedPicture m_shared;
};

} // namespace nimbara
