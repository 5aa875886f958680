#pragma once

#include <cstddef>
#include <cstdint>
#include <xcb/shm.h>
#include <xcb/xcb.h>

namespace nimbara {

/// Memory that an X server on this machine writes pictures into (MIT-SHM 1.2). It is handed over as
/// a file descriptor: numbers of System V segments can mean another program's memory to a server in
/// another container. One thread at a time.
class X11SharedPicture {
public:
    X11SharedPicture() = default;
    X11SharedPicture(const X11SharedPicture &) = delete;
    X11SharedPicture &operator=(const X11SharedPicture &) = delete;
    X11SharedPicture(X11SharedPicture &&) = delete;
    X11SharedPicture &operator=(X11SharedPicture &&) = delete;
    ~X11SharedPicture() { release(); }

    /// Shares that many bytes in place of the earlier ones; false when the server cannot: it runs
    /// elsewhere, or is too old. The connection must outlive this.
    bool share(xcb_connection_t *connection, std::size_t bytes);
    void release();

    /// Null before `share`.
    [[nodiscard]] const std::uint8_t *memory() const { return m_memory; }
    [[nodiscard]] xcb_shm_seg_t segment() const { return m_segment; }

private:
    xcb_connection_t *m_connection = nullptr;
    xcb_shm_seg_t m_segment = 0;
    std::uint8_t *m_memory = nullptr;
    std::size_t m_bytes = 0;
};

} // namespace nimbara
