#pragma once

#include "document/scene.h"
#include "signal/frame.h"

#include <QSizeF>
#include <QString>

namespace nimbara {

/// The room that captions have, and the font that they are drawn in. A plain value.
struct CaptionBox {
    QSizeF size; ///< pixels of the stream program's frame
    QString family;
    int pixelSize = 4;
    bool bold = true; ///< weight 700, else 400

    bool operator==(const CaptionBox &) const = default;
};

/// The box of the first visible subtitle layer: of the current scene, else of all scenes in their
/// order; without any, most of the frame. `frame` is the stream program's size.
CaptionBox captionBox(const Scene &current, const Scenes &scenes, FrameSize frame);

/// The text, word-wrapped to the box's width, is no higher than the box. Needs the application's
/// fonts: interface thread, after the application object is made.
bool captionFits(const QString &text, const CaptionBox &box);

} // namespace nimbara
