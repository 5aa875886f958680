#pragma once

#include "document/box.h"
#include "document/layer.h"
#include "signal/frame.h"

#include <optional>

/// How a layer's box changes, as pure functions on values. All boxes are fractions of the output
/// frame: x and w of its width, y and h of its height.
namespace nimbara {

Box boxOf(const Layer &layer);
void setBox(Layer &layer, const Box &box);

/// The box of a new image layer: 0.4 of the frame wide with the picture's shape in pixels, at most
/// 0.9 high. `image`: the decoded picture's size, or zero when it has none. `profile`: the output
/// size of the set being edited.
Box newImageBox(FrameSize image, FrameSize profile);

/// What the position fields of the properties panel can show, in percent of the frame.
struct PercentRange {
    double lowest;
    double highest;
};
constexpr PercentRange placePercent { -95, 95 }; ///< X and Y
constexpr PercentRange sizePercent { 3, 300 }; ///< W and H

/// The percentage that a field shows for a fraction: one decimal, within the range.
double shownPercent(double fraction, PercentRange range);

/// The box after an edit of the position fields.
///
/// `percent` holds what the four fields show, in percent. A field that still shows its old value
/// keeps the exact fraction behind it, so that editing one field never rounds the other three.
/// Picture kinds keep their aspect: a new width settles the height, else a new height the width.
Box editedBox(LayerKind kind, const Box &old, const Box &percent);

/// The box at a place of the 3 × 3 alignment grid; its size is unchanged. `column` and `row` are 0
/// (left, top), 1 (centre) or 2 (right, bottom).
Box alignedBox(const Box &box, int column, int row);

/// Fit to the frame: a picture kind whose content size is known fills the frame in one direction
/// and is centred in the other; anything else takes the full frame. `profile`: the output size.
Box fittedBox(LayerKind kind, std::optional<FrameSize> content, FrameSize profile);

} // namespace nimbara
