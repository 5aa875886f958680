#include "media/sources/screen_stream.h"

#include <unistd.h>

namespace nimbara {

ScreenStream::ScreenStream(int remote, std::uint32_t node)
    : m_remote(new int(remote),
        [](const int *descriptor) {
            ::close(*descriptor);
            delete descriptor;
        })
    , m_node(node)
{
}

} // namespace nimbara
