#pragma once

#include "document/box.h"
#include "document/layer.h"

#include <QColor>
#include <QString>

#include <cstdint>
#include <variant>

namespace nimbara {

/// The fields of a layer that an operator sets one by one.
enum class LayerField : std::int32_t {
    Name,
    Visible,
    Opacity,
    Box,
    Text,
    Font,
    Size,
    Bold,
    Color,
    Background,
    Align,
    Shadow,
    Sound,
    Cover,
    Fill,
    Paged,
    Smallest,
    Page,
    Numbers,
    ReferencePlace,
    Second,
    Arrangement,
    Shows,
    Device,
    Locked,
    Latency,
    Language,
    Spacing,
    UpperCase,
    ClockShows,
    UntilMinute,
    Duration,
    OutlineWidth,
    ShadowStrength,
};

/// What such a field holds.
using FieldValue = std::variant<bool, std::int32_t, double, QString, QColor, Box>;

FieldValue fieldOf(const Layer &layer, LayerField field);

/// Sets the field. A value of another type than the field's changes nothing.
void setField(Layer &layer, LayerField field, const FieldValue &value);

/// Whether the field belongs to what a named style sets (`lookingAs`).
bool isLook(LayerField field);

/// The field's name in the steps of undo: a key of the text table.
const char *stepName(LayerField field);

} // namespace nimbara
