#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace nimbara {

/// What tells one thing of a kind from all others while the program runs. Made once and never
/// again, so that whatever answers later (a decoder, a dialog, a network reply) can name the thing
/// that it was asked about and find it, wherever it has gone, or find it gone. Not written to
/// files.
template <typename Kind> class Id {
public:
    /// No thing.
    constexpr Id() = default;

    /// Callable from any thread.
    static Id make()
    {
        static std::atomic<std::uint64_t> last { 0 };
        return Id(++last);
    }
    /// The id of that number, which `value` gave.
    static constexpr Id of(std::uint64_t value) { return Id(value); }

    [[nodiscard]] constexpr std::uint64_t value() const { return m_value; }
    constexpr explicit operator bool() const { return m_value != 0; }
    constexpr bool operator==(const Id &) const = default;
    constexpr bool operator<(const Id &other) const { return m_value < other.m_value; }

private:
    constexpr explicit Id(std::uint64_t value)
        : m_value(value)
    {
    }
    std::uint64_t m_value = 0;
};

using SceneId = Id<struct SceneKind>;
using LayerId = Id<struct LayerOfScene>;
/// Of an open picture and sound. Copies of a layer share the one that the first of them plays.
using SourceId = Id<struct SourceKind>;

} // namespace nimbara

template <typename Kind> struct std::hash<nimbara::Id<Kind>> {
    std::size_t operator()(const nimbara::Id<Kind> &id) const noexcept
    {
        return std::hash<std::uint64_t> {}(id.value());
    }
};
