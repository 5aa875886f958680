#include "compositor/scene/load_image.h"

#include "base/error.h"

#include <QFileInfo>
#include <QImageReader>

#include <algorithm>

namespace nimbara {

namespace {

/// Holds the largest picture at 8 bytes per pixel; formats that do not tell their size before
/// decoding are stopped by this.
constexpr std::int64_t bytesPerMiB = std::int64_t { 1024 } * 1024;
constexpr int allocationLimitMiB
    = std::int64_t { Frame::maxSide } * Frame::maxSide * 8 / bytesPerMiB;

/// The toolkit keeps one limit for the process: set before the first picture, from whatever thread,
/// and never again.
void settleAllocationLimit()
{
    static const bool settled = [] {
        QImageReader::setAllocationLimit(allocationLimitMiB);
        return true;
    }();
    static_cast<void>(settled);
}

bool tooLarge(const QSize &size)
{
    return size.width() > Frame::maxSide || size.height() > Frame::maxSide;
}

QImage decoded(const QString &path)
{
    // Opening a pipe waits for its writer, and a device may never end.
    if (!QFileInfo(path).isFile()) {
        return {};
    }
    settleAllocationLimit();
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
    if (tooLarge(reader.size())) {
        return {};
    }
    QImage image = reader.read();
    return tooLarge(image.size()) ? QImage() : image;
}

bool everyPixelOpaque(const QImage &rgba)
{
    for (int y = 0; y < rgba.height(); ++y) {
        const uchar *row = rgba.constScanLine(y);
        for (int x = 0; x < rgba.width(); ++x) {
            if (row[x * 4 + 3] != 255) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

FramePtr loadImage(const QString &path)
{
    QImage image = decoded(path);
    if (image.isNull()) {
        throw Error(QStringLiteral("Imagen inválida o demasiado grande"));
    }
    if (image.hasAlphaChannel()) {
        // Many pictures carry an alpha channel and do not use it; opaque ones draw faster.
        image.convertTo(QImage::Format_RGBA8888);
        if (everyPixelOpaque(image)) {
            image.reinterpretAsFormat(QImage::Format_RGBX8888);
        }
    }
    return toFrame(image);
}

FramePtr toFrame(const QImage &image)
{
    const bool opaque = !image.hasAlphaChannel();
    const QImage rgba
        = image.convertToFormat(opaque ? QImage::Format_RGBX8888 : QImage::Format_RGBA8888);
    return std::make_shared<const Frame>(rgba.width(),
        rgba.height(),
        rgba.constBits(),
        rgba.bytesPerLine(),
        opaque);
}

} // namespace nimbara
