#pragma once

#include <cstdint>
#include <memory>

namespace nimbara {

/// A picture of the screen that the desktop grants: a connection to its media service and the node
/// there. A plain value; the connection is closed with the last copy.
class ScreenStream {
public:
    /// Takes over the descriptor `remote`.
    ScreenStream(int remote, std::uint32_t node);

    /// Valid while a copy lives; whoever keeps it for longer duplicates it.
    [[nodiscard]] int remote() const { return *m_remote; }
    [[nodiscard]] std::uint32_t node() const { return m_node; }

private:
    std::shared_ptr<const int> m_remote;
    std::uint32_t m_node;
};

} // namespace nimbara
