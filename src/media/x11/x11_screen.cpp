#include "media/x11/x11_screen.h"

#include "media/x11/x11_reply.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <xcb/randr.h>
#include <xcb/xfixes.h>

namespace nimbara {

namespace {

constexpr std::uint32_t allPlanes = ~0U;

const xcb_screen_t *screenOf(const xcb_setup_t *setup, int number)
{
    auto screens = xcb_setup_roots_iterator(setup);
    for (; screens.rem > 0 && number > 0; --number) {
        xcb_screen_next(&screens);
    }
    return screens.rem > 0 ? screens.data : nullptr;
}

const xcb_visualtype_t *rootVisual(const xcb_screen_t &screen)
{
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
         xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
             xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id == screen.root_visual) {
                return visual.data;
            }
        }
    }
    return nullptr;
}

/// Its pictures are packed rows of B, G, R and a byte without meaning.
bool isPlain(const xcb_setup_t *setup, const xcb_screen_t &screen)
{
    const auto *formats = xcb_setup_pixmap_formats(setup);
    const auto *end = formats + xcb_setup_pixmap_formats_length(setup);
    const auto *format = std::find_if(formats, end, [&](const xcb_format_t &each) {
        return each.depth == screen.root_depth;
    });
    const auto *visual = rootVisual(screen);
    return setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST && format != end
        && format->bits_per_pixel == 32 && visual != nullptr && visual->red_mask == 0xff0000
        && visual->green_mask == 0xff00 && visual->blue_mask == 0xff;
}

/// RANDR answers with what it knew when the program's version was current.
bool knowsMonitors(xcb_connection_t *connection)
{
    if (!offersExtension(connection, &xcb_randr_id)) {
        return false;
    }
    const X11Reply<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(connection,
            xcb_randr_query_version(connection, 1, 5),
            nullptr));
    return version
        && std::pair(version->major_version, version->minor_version)
        >= std::pair<std::uint32_t, std::uint32_t>(1, 5);
}

/// XFIXES answers nothing before it was told which version the program knows.
bool knowsPointer(xcb_connection_t *connection)
{
    if (!offersExtension(connection, &xcb_xfixes_id)) {
        return false;
    }
    const X11Reply<xcb_xfixes_query_version_reply_t> version(
        xcb_xfixes_query_version_reply(connection,
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
    , m_hasMonitors(knowsMonitors(m_connection.get()))
    , m_hasPointer(knowsPointer(m_connection.get()))
    , m_area { 0, 0, { screen.width_in_pixels, screen.height_in_pixels } }
{
    m_area = askArea().value_or(m_area);
    m_shared.share(m_connection.get(), bytes());
}

std::size_t X11Screen::bytes() const
{
    return static_cast<std::size_t>(m_area.size.width)
        * static_cast<std::size_t>(m_area.size.height) * 4;
}

std::optional<X11Screen::Area> X11Screen::askArea() const
{
    const X11Reply<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(m_connection.get(),
        xcb_get_geometry(m_connection.get(), m_root),
        nullptr));
    if (!root) {
        return std::nullopt;
    }
    // In the middle of a change of mode a monitor may reach beyond the root window.
    const auto monitor = mainMonitor();
    const bool inside = monitor && monitor->x >= 0 && monitor->y >= 0
        && monitor->x + monitor->size.width <= root->width
        && monitor->y + monitor->size.height <= root->height;
    return inside ? *monitor : Area { 0, 0, { root->width, root->height } };
}

/// The primary monitor; where none is named so, the first.
std::optional<X11Screen::Area> X11Screen::mainMonitor() const
{
    if (!m_hasMonitors) {
        return std::nullopt;
    }
    const X11Reply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(m_connection.get(),
            xcb_randr_get_monitors(m_connection.get(), m_root, 1),
            nullptr));
    if (!reply) {
        return std::nullopt;
    }
    std::optional<Area> chosen;
    for (auto monitor = xcb_randr_get_monitors_monitors_iterator(reply.get()); monitor.rem > 0;
         xcb_randr_monitor_info_next(&monitor)) {
        const auto &info = *monitor.data;
        if ((!chosen || info.primary != 0) && info.width > 0 && info.height > 0) {
            chosen = Area { info.x, info.y, { info.width, info.height } };
        }
    }
    return chosen;
}

/// Servers tell everyone of a new keyboard; unread it would wait for ever.
void X11Screen::dropEvents() const
{
    while (const X11Reply<xcb_generic_event_t> event { xcb_poll_for_event(m_connection.get()) }) { }
}

X11Screen::Read X11Screen::read(std::uint8_t *pixels)
{
    dropEvents();
    const auto now = askArea();
    if (!now) {
        return Read::Lost;
    }
    if (*now != m_area) {
        const bool sameSize = now->size == m_area.size;
        m_area = *now;
        if (!sameSize) {
            m_shared.share(m_connection.get(), bytes());
            return Read::Resized;
        }
    }
    if (!readShared(pixels) && !readSent(pixels)) {
        // The screen may have become smaller between the two requests.
        const auto after = askArea();
        return after && *after != m_area ? read(pixels) : Read::Lost;
    }
    drawPointer(pixels);
    return Read::Picture;
}

bool X11Screen::readShared(std::uint8_t *pixels)
{
    if (m_shared.memory() == nullptr) {
        return false;
    }
    const X11Reply<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(m_connection.get(),
        xcb_shm_get_image(m_connection.get(),
            m_root,
            m_area.x,
            m_area.y,
            static_cast<std::uint16_t>(m_area.size.width),
            static_cast<std::uint16_t>(m_area.size.height),
            allPlanes,
            XCB_IMAGE_FORMAT_Z_PIXMAP,
            m_shared.segment(),
            0),
        nullptr));
    if (reply) {
        std::memcpy(pixels, m_shared.memory(), bytes());
    }
    return reply != nullptr;
}

bool X11Screen::readSent(std::uint8_t *pixels)
{
    const X11Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(m_connection.get(),
        xcb_get_image(m_connection.get(),
            XCB_IMAGE_FORMAT_Z_PIXMAP,
            m_root,
            m_area.x,
            m_area.y,
            static_cast<std::uint16_t>(m_area.size.width),
            static_cast<std::uint16_t>(m_area.size.height),
            allPlanes),
        nullptr));
    if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < bytes()) {
        return false;
    }
    std::memcpy(pixels, xcb_get_image_data(reply.get()), bytes());
    return true;
}

void X11Screen::drawPointer(std::uint8_t *pixels) const
{
    if (!m_hasPointer) {
        return;
    }
    const X11Reply<xcb_xfixes_get_cursor_image_reply_t> pointer(
        xcb_xfixes_get_cursor_image_reply(m_connection.get(),
            xcb_xfixes_get_cursor_image(m_connection.get()),
            nullptr));
    if (!pointer) {
        return;
    }
    const std::uint32_t *image = xcb_xfixes_get_cursor_image_cursor_image(pointer.get());
    const int left = pointer->x - pointer->xhot - m_area.x;
    const int top = pointer->y - pointer->yhot - m_area.y;
    const auto [width, height] = m_area.size;
    const int rows = std::min<int>(pointer->height, height - top);
    const int columns = std::min<int>(pointer->width, width - left);
    for (int row = std::max(0, -top); row < rows; ++row) {
        for (int column = std::max(0, -left); column < columns; ++column) {
            const auto place = static_cast<std::size_t>(top + row) * static_cast<std::size_t>(width)
                + static_cast<std::size_t>(left + column);
            blend(pixels + place * 4, image[row * pointer->width + column]);
        }
    }
}

} // namespace nimbara
