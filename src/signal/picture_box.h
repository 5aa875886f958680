#pragma once

namespace nimbara {

/// Where a picture is shown: a box in pixels, and whether the picture fills it, its edges cropped,
/// or stands in it whole.
struct PictureBox {
    double width = 0;
    double height = 0;
    bool cover = false;
    bool operator==(const PictureBox &) const = default;
};

} // namespace nimbara
