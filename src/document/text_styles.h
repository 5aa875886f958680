#pragma once

#include "document/scene.h"

#include <QString>

/// Looks that several text layers of a project share, as pure functions on values: each gives the
/// scenes with the change, the very same ones when it changes nothing. What is gone changes
/// nothing.
namespace nimbara {

/// A text layer without anything but the look.
Layer lookOf(const Layer &layer);

/// A layer that comes from elsewhere: as the style that it follows looks here, following none where
/// there is no such style.
Layer withKnownStyle(const SceneSets &scenes, Layer layer);

/// The layer's look becomes the style of that name, trimmed, which the layer follows from now on;
/// layers that follow it already change with it. Refused with `Error` where the project has
/// `SceneSets::mostStyles`; an empty name changes nothing.
SceneSets styleKept(const SceneSets &scenes, LayerId layer, const QString &name);

/// The layer takes the style's look and follows it. With an empty name it follows none, and stays
/// as it looks.
SceneSets styleFollowed(const SceneSets &scenes, LayerId layer, const QString &name);

/// There is no such style any more. What followed it stays as it looks.
SceneSets styleRemoved(const SceneSets &scenes, const QString &name);

/// The look of a layer that was changed goes to the style that it follows, and to all others that
/// do.
SceneSets lookSpread(const SceneSets &scenes, LayerId layer);

} // namespace nimbara
