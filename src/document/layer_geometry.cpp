#include "document/layer_geometry.h"

#include <algorithm>
#include <cmath>

namespace nimbara {

namespace {

/// Two fractions that differ by no more than this are the same to the operator.
constexpr double sameFraction = 0.000001;

double aspectOf(FrameSize size)
{
    return size.height > 0 ? static_cast<double>(size.width) / size.height : 0.0;
}

double editedField(double old, double percent, PercentRange range)
{
    const bool untouched = std::abs(percent - shownPercent(old, range)) < 0.01;
    return untouched ? old : percent / 100;
}

double alignedPlace(double extent, int place)
{
    return place == 0 ? 0.0 : (1 - extent) * (place == 1 ? 0.5 : 1.0);
}

} // namespace

Box boxOf(const Layer &layer)
{
    return { layer.x, layer.y, layer.w, layer.h };
}

void setBox(Layer &layer, const Box &box)
{
    layer.x = box.x;
    layer.y = box.y;
    layer.w = box.w;
    layer.h = box.h;
}

Box newImageBox(FrameSize image, FrameSize profile)
{
    Box box { 0.55, 0.05, 0.4, 0.4 };
    const double aspect = aspectOf(image);
    if (aspect <= 0) {
        return box;
    }
    box.h = 0.4 * profile.width / (aspect * profile.height);
    if (box.h > 0.9) {
        box.h = 0.9;
        box.w = 0.9 * aspect * profile.height / profile.width;
    }
    return box;
}

double shownPercent(double fraction, PercentRange range)
{
    return std::clamp(std::round(fraction * 1000) / 10, range.lowest, range.highest);
}

Box editedBox(LayerKind kind, const Box &old, const Box &percent)
{
    Box box { editedField(old.x, percent.x, placePercent),
        editedField(old.y, percent.y, placePercent),
        editedField(old.w, percent.w, sizePercent),
        editedField(old.h, percent.h, sizePercent) };
    if (!isPicture(kind)) {
        return box;
    }
    const double widthChange = std::abs(box.w - old.w);
    const double heightChange = std::abs(box.h - old.h);
    if (widthChange > sameFraction && heightChange < sameFraction && old.w > 0) {
        box.h = box.w * old.h / old.w;
    } else if (heightChange > sameFraction && old.h > 0) {
        box.w = box.h * old.w / old.h;
    }
    return box;
}

Box alignedBox(const Box &box, int column, int row)
{
    return { alignedPlace(box.w, column), alignedPlace(box.h, row), box.w, box.h };
}

Box fittedBox(LayerKind kind, std::optional<FrameSize> content, FrameSize profile)
{
    const double aspect = content ? aspectOf(*content) : 0.0;
    if (aspect <= 0 || !isPicture(kind)) {
        return fullFrame;
    }
    Box box;
    const double ratio = aspect * profile.height / profile.width;
    if (ratio >= 1) {
        box.h = 1 / ratio;
    } else {
        box.w = ratio;
    }
    return alignedBox(box, 1, 1);
}

} // namespace nimbara
