#include "media/sources/shown_size.h"

#include <algorithm>
#include <cmath>

namespace nimbara {

namespace {

constexpr double mostPixels = 4.0 * 1920 * 1080;
/// 0.05 × 1920 is not quite 96.
constexpr double arithmeticSlack = 1e-6;

double scaleIn(const PictureBox &box, FrameSize natural)
{
    const double across = box.width / natural.width;
    const double down = box.height / natural.height;
    return box.cover ? std::max(across, down) : std::min(across, down);
}

/// The largest scale that a picture may have.
double mostScale(FrameSize natural)
{
    const double longer = std::max(natural.width, natural.height);
    const double pixels = static_cast<double>(natural.width) * natural.height;
    return std::min(Frame::maxSide / longer, std::sqrt(mostPixels / pixels));
}

} // namespace

FrameSize squareSize(FrameSize stored, double wide)
{
    if (wide >= 1) {
        return { static_cast<std::int32_t>(std::lround(stored.width * wide)), stored.height };
    }
    return { stored.width, static_cast<std::int32_t>(std::lround(stored.height / wide)) };
}

FrameSize shownSize(FrameSize natural, const std::vector<PictureBox> &boxes)
{
    const auto largest = std::max_element(boxes.begin(),
        boxes.end(),
        [natural](const PictureBox &one, const PictureBox &other) {
            return scaleIn(one, natural) < scaleIn(other, natural);
        });
    const double scale = std::min(scaleIn(*largest, natural), mostScale(natural));
    const auto side = [&](std::int32_t pixels, double boxSide) {
        const double exact = pixels * scale;
        const bool fills = !largest->cover && std::abs(exact - boxSide) < 1;
        const double whole = largest->cover ? std::ceil(exact - arithmeticSlack)
                                            : std::round(fills ? boxSide : exact);
        return std::clamp(static_cast<std::int32_t>(whole), 1, Frame::maxSide);
    };
    return { side(natural.width, largest->width), side(natural.height, largest->height) };
}

} // namespace nimbara
