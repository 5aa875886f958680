#include "document/group_geometry.h"

#include <algorithm>
#include <limits>

namespace nimbara {

namespace {

constexpr double keptOnScreen = 0.05;

/// How far parts may go along one axis so that each can still be seen.
struct Room {
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();

    void fit(double start, double size)
    {
        least = std::max(least, keptOnScreen - size - start);
        most = std::min(most, 1 - keptOnScreen - start);
    }
    [[nodiscard]] double nearest(double by) const
    {
        const double low = std::min(least, most);
        const double high = std::max(least, most);
        return std::clamp(by, low, high);
    }
};

/// All moved alike, back to where each is seen.
Placements onScreen(Placements placements)
{
    Room across;
    Room down;
    for (const Placement &each : placements) {
        across.fit(each.box.x, each.box.w);
        down.fit(each.box.y, each.box.h);
    }
    const double x = across.nearest(0);
    const double y = down.nearest(0);
    for (Placement &each : placements) {
        each.box.x += x;
        each.box.y += y;
    }
    return placements;
}

/// The share of its size that a group can be scaled down to along one axis.
double leastShare(const GroupParts &parts, double Box::*size)
{
    double share = 0;
    for (const GroupPart &part : parts) {
        const double now = part.start.*size;
        share = std::max(share, now > 0 ? std::min(1.0, smallestSide / now) : 1.0);
    }
    return share;
}

bool keepsAspect(const GroupParts &parts)
{
    return std::any_of(parts.begin(), parts.end(), [](const GroupPart &part) {
        return isPicture(part.kind);
    });
}

/// A scaled box that no part gets too small in, against the corner that stays.
Box largeEnough(const GroupParts &parts, const Box &start, const Box &box, QPointF anchor)
{
    double wide = leastShare(parts, &Box::w);
    double high = leastShare(parts, &Box::h);
    if (keepsAspect(parts)) {
        wide = high = std::max(wide, high);
    }
    const double w = std::max(box.w, start.w * wide);
    const double h = std::max(box.h, start.h * high);
    const bool growsLeft = box.x + box.w / 2 < anchor.x();
    const bool growsUp = box.y + box.h / 2 < anchor.y();
    return { growsLeft ? box.x + box.w - w : box.x, growsUp ? box.y + box.h - h : box.y, w, h };
}

Placements spread(const GroupParts &parts, const Box &from, const Box &to)
{
    const double wide = from.w > 0 ? to.w / from.w : 1;
    const double high = from.h > 0 ? to.h / from.h : 1;
    Placements placements;
    for (const auto &[layer, kind, start] : parts) {
        placements.push_back({ layer,
            { to.x + (start.x - from.x) * wide,
                to.y + (start.y - from.y) * high,
                start.w * wide,
                start.h * high } });
    }
    return placements;
}

} // namespace

GroupParts movableParts(const Scene &scene, const LayerIds &ids)
{
    GroupParts parts;
    for (const Layer &layer : layersOf(scene, ids)) {
        if (!layer.locked) {
            parts.push_back({ layer.id, layer.kind, boxOf(layer) });
        }
    }
    return parts;
}

Box boundsOf(const GroupParts &parts)
{
    if (parts.empty()) {
        return fullFrame;
    }
    QRectF all;
    for (const GroupPart &part : parts) {
        const QRectF one(part.start.x, part.start.y, part.start.w, part.start.h);
        all = all.isNull() ? one : all.united(one);
    }
    return parts.size() == 1 ? parts.front().start
                             : Box { all.x(), all.y(), all.width(), all.height() };
}

std::vector<Box> boxesBeside(const Scene &scene, const GroupParts &parts)
{
    std::vector<Box> boxes;
    for (const Layer &layer : scene.layers) {
        const bool isPart = std::any_of(parts.begin(), parts.end(), [&layer](const auto &part) {
            return part.layer == layer.id;
        });
        if (layer.visible && !isPart) {
            boxes.push_back(boxOf(layer));
        }
    }
    return boxes;
}

LayerIds layersTouching(const Scene &scene, const QRectF &frame, const QRectF &band)
{
    LayerIds found;
    for (const Layer &layer : scene.layers) {
        if (layer.visible && !layer.locked && layerRect(boxOf(layer), frame).intersects(band)) {
            found.push_back(layer.id);
        }
    }
    return found;
}

Placements nudged(const GroupParts &parts, int right, int down, FrameSize output)
{
    Room across;
    Room along;
    for (const GroupPart &part : parts) {
        across.fit(part.start.x, part.start.w);
        along.fit(part.start.y, part.start.h);
    }
    const double x = across.nearest(static_cast<double>(right) / output.width);
    const double y = along.nearest(static_cast<double>(down) / output.height);
    const Box start = boundsOf(parts);
    return spread(parts, start, { start.x + x, start.y + y, start.w, start.h });
}

GroupDrag::Result GroupDrag::at(QPointF pointer, const QRectF &frame, bool snaps) const
{
    const Box start = boundsOf(parts);
    const bool isPictures = keepsAspect(parts);
    const CanvasDrag drag { isPictures ? LayerKind::Camera : LayerKind::Text,
        start,
        handle,
        press };
    Box box = drag.boxAt(pointer, frame);
    Result result;
    if (snaps && frame.width() > 0 && frame.height() > 0) {
        const SnapReach reach { snapPixels / frame.width(), snapPixels / frame.height() };
        const Snapped snapped = handle == Handle::None
            ? snappedMove(box, others, reach)
            : snappedResize(box, drag.anchor(), isPictures, others, reach);
        box = snapped.box;
        result.guides = snapped.guides;
    }
    if (handle != Handle::None) {
        box = largeEnough(parts, start, box, drag.anchor());
    }
    result.placements = onScreen(spread(parts, start, box));
    return result;
}

} // namespace nimbara
