#pragma once

namespace nimbara {

/// A rectangle in fractions of the output frame: x and w of its width, y and h of its height.
struct Box {
    double x = 0;
    double y = 0;
    double w = 1;
    double h = 1;
    bool operator==(const Box &) const = default;
};

constexpr Box fullFrame {};

} // namespace nimbara
