#pragma once

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace nimbara {

struct FreeReply {
    void operator()(void *reply) const { std::free(reply); }
};
/// What the server answered; none when it refused or has gone.
template <typename T> using X11Reply = std::unique_ptr<T, FreeReply>;

/// The server has the extension.
inline bool offersExtension(xcb_connection_t *connection, xcb_extension_t *extension)
{
    const auto *data = xcb_get_extension_data(connection, extension);
    return data != nullptr && data->present != 0;
}

} // namespace nimbara
