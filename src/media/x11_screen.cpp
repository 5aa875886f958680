#include "media/x11_screen.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/shm.h>
#include <xcb/xfixes.h>

namespace nimbara {

namespace {

struct Free {
    void operator()(void *reply) const { std::free(reply); }
};
template <typename T> using Reply = std::unique_ptr<T, Free>;

constexpr std::uint32_t allPlanes = ~0U;

const xcb_screen_t *screenOf(const xcb_setup_t *setup, int number)
{
    auto screens = xcb_setup_roots_iterator(setup);
    for (; screens.rem > 0 && number > 0; --number) {
        xcb_screen_next(&screens);
    }
    return screens.rem > 0 ? screens.data : nullptr;
}

/// Its pictures are packed rows of B, G, R and a byte without meaning.
bool isPlain(const xcb_setup_t *setup, const xcb_screen_t &screen)
{
    const auto *formats = xcb_setup_pixmap_formats(setup);
    const int count = xcb_setup_pixmap_formats_length(setup);
    const auto *format = std::find_if(formats, formats + count, [&](const xcb_format_t &each) {
        return each.depth == screen.root_depth;
    });
    return setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST && format != formats + count
        && format->bits_per_pixel == 32;
}

bool offers(xcb_connection_t *connection, xcb_extension_t *extension)
{
    const auto *data = xcb_get_extension_data(connection, extension);
    return data != nullptr && data->present != 0;
}

/// XFIXES answers nothing before it was told which version the program knows.
bool knowsPointer(xcb_connection_t *connection)
{
    if (!offers(connection, &xcb_xfixes_id)) {
        return false;
    }
    const Reply<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(connection,
        xcb_xfixes_query_version(connection, 1, 0),
        nullptr));
    return version != nullptr;
}

/// One pixel of the pointer, A, R, G, B from the highest byte with the alpha multiplied in, over B,
/// G, R.
void blend(std::uint8_t *below, std::uint32_t pixel)
{
    const std::uint32_t rest = 255 - (pixel >> 24U);
    for (unsigned channel = 0; channel < 3; ++channel) {
        const std::uint32_t over = (pixel >> (8 * channel)) & 0xffU;
        below[channel] = static_cast<std::uint8_t>(
            std::min<std::uint32_t>(255, over + (below[channel] * rest + 127) / 255));
    }
}

} // namespace

std::unique_ptr<X11Screen> X11Screen::open()
{
    int number = 0;
    Connection connection(xcb_connect(nullptr, &number));
    if (xcb_connection_has_error(connection.get()) != 0) {
        return nullptr;
    }
    const xcb_setup_t *setup = xcb_get_setup(connection.get());
    const xcb_screen_t *screen = screenOf(setup, number);
    if (screen == nullptr || !isPlain(setup, *screen)) {
        return nullptr;
    }
    return std::unique_ptr<X11Screen>(new X11Screen(std::move(connection), *screen));
}

X11Screen::X11Screen(Connection connection, const xcb_screen_t &screen)
    : m_connection(std::move(connection))
    , m_root(screen.root)
    , m_size { screen.width_in_pixels, screen.height_in_pixels }
    , m_canShare(offers(m_connection.get(), &xcb_shm_id))
    , m_hasPointer(knowsPointer(m_connection.get()))
{
    m_size = askSize().value_or(m_size);
    share();
}

X11Screen::~X11Screen()
{
    unshare();
}

std::size_t X11Screen::bytes() const
{
    return static_cast<std::size_t>(m_size.width) * static_cast<std::size_t>(m_size.height) * 4;
}

std::optional<FrameSize> X11Screen::askSize()
{
    const Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(m_connection.get(),
        xcb_get_geometry(m_connection.get(), m_root),
        nullptr));
    if (!geometry) {
        return std::nullopt;
    }
    return FrameSize { geometry->width, geometry->height };
}

/// Without shared memory (a server elsewhere, a container) pictures are sent instead.
void X11Screen::share()
{
    if (!m_canShare) {
        return;
    }
    const int id = shmget(IPC_PRIVATE, bytes(), IPC_CREAT | 0600);
    if (id < 0) {
        return;
    }
    void *memory = shmat(id, nullptr, 0);
    if (memory != reinterpret_cast<void *>(-1)) {
        const auto segment = xcb_generate_id(m_connection.get());
        const Reply<xcb_generic_error_t> refused(xcb_request_check(m_connection.get(),
            xcb_shm_attach_checked(m_connection.get(), segment, static_cast<unsigned>(id), 0)));
        if (refused) {
            shmdt(memory);
            m_canShare = false;
        } else {
            m_shared = { segment, static_cast<std::uint8_t *>(memory) };
        }
    }
    shmctl(id, IPC_RMID, nullptr); // goes away with its last user
}

void X11Screen::unshare()
{
    if (m_shared.memory != nullptr) {
        xcb_shm_detach(m_connection.get(), m_shared.segment);
        shmdt(m_shared.memory);
        m_shared = {};
    }
}

X11Screen::Read X11Screen::read(std::uint8_t *pixels)
{
    const auto now = askSize();
    if (!now) {
        return Read::Lost;
    }
    if (*now != m_size) {
        unshare();
        m_size = *now;
        share();
        return Read::Resized;
    }
    const bool taken = m_shared.memory != nullptr ? readShared(pixels) : readSent(pixels);
    if (!taken) {
        // The size may have changed between the two requests: the next read tells.
        return askSize().value_or(m_size) != m_size ? read(pixels) : Read::Lost;
    }
    drawPointer(pixels);
    return Read::Picture;
}

bool X11Screen::readShared(std::uint8_t *pixels)
{
    const Reply<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(m_connection.get(),
        xcb_shm_get_image(m_connection.get(),
            m_root,
            0,
            0,
            static_cast<std::uint16_t>(m_size.width),
            static_cast<std::uint16_t>(m_size.height),
            allPlanes,
            XCB_IMAGE_FORMAT_Z_PIXMAP,
            m_shared.segment,
            0),
        nullptr));
    if (reply) {
        std::memcpy(pixels, m_shared.memory, bytes());
    }
    return reply != nullptr;
}

bool X11Screen::readSent(std::uint8_t *pixels)
{
    const Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(m_connection.get(),
        xcb_get_image(m_connection.get(),
            XCB_IMAGE_FORMAT_Z_PIXMAP,
            m_root,
            0,
            0,
            static_cast<std::uint16_t>(m_size.width),
            static_cast<std::uint16_t>(m_size.height),
            allPlanes),
        nullptr));
    if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < bytes()) {
        return false;
    }
    std::memcpy(pixels, xcb_get_image_data(reply.get()), bytes());
    return true;
}

void X11Screen::drawPointer(std::uint8_t *pixels)
{
    if (!m_hasPointer) {
        return;
    }
    const Reply<xcb_xfixes_get_cursor_image_reply_t> pointer(
        xcb_xfixes_get_cursor_image_reply(m_connection.get(),
            xcb_xfixes_get_cursor_image(m_connection.get()),
            nullptr));
    if (!pointer) {
        return;
    }
    const std::uint32_t *image = xcb_xfixes_get_cursor_image_cursor_image(pointer.get());
    const int left = pointer->x - pointer->xhot;
    const int top = pointer->y - pointer->yhot;
    for (int row = std::max(0, -top); row < std::min<int>(pointer->height, m_size.height - top);
         ++row) {
        for (int column = std::max(0, -left);
             column < std::min<int>(pointer->width, m_size.width - left);
             ++column) {
            const auto place
                = static_cast<std::size_t>(top + row) * static_cast<std::size_t>(m_size.width)
                + static_cast<std::size_t>(left + column);
            blend(pixels + place * 4, image[row * pointer->width + column]);
        }
    }
}

} // namespace nimbara
