#pragma once

#include "compositor/scene/picture_fit.h"
#include "compositor/text/coverage.h"

#include <QImage>

namespace nimbara {

/// A picture scaled into its place on a canvas, with its opacity.
struct PictureSpot {
    FramePtr picture;
    PictureFit fit;
    double opacity = 1;
    QRect canvas; ///< what lies outside is not painted
    bool still = false; ///< a file's picture: worth more care than one that lasts a frame
};

/// Whether the picture can go to the canvas as it is, without a sprite. Pictures with transparency
/// are worth converting once when they stay.
bool drawsDirectly(const PictureSpot &spot);

/// How often a still picture is halved before the painter scales it, so that every pixel of it
/// counts: 0 for a picture that shrinks to more than half.
int halvings(const PictureSpot &spot);

/// A native view of the picture shrunk to 1 / 2^`times` of its sides, each pixel the average of
/// those it replaces.
QImage halved(const Frame &picture, int times);

/// Paints the spot into a sprite. `image`: a native view of the picture, halved or not.
Sprite paintPicture(const PictureSpot &spot, const QImage &image);

} // namespace nimbara
