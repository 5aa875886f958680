#include "studio/sources/camera_slate.h"

#include "compositor/scene/load_image.h"

#include <QPainter>

namespace nimbara {

FramePtr cameraSlate(const QString &name)
{
    constexpr QRect ground(0, 0, 1280, 720);
    constexpr int margin = 64;
    constexpr int letters = 56;
    QImage picture(ground.size(), QImage::Format_RGBX8888);
    picture.fill(QColor(30, 34, 40));
    QPainter painter(&picture);
    QFont font = painter.font();
    font.setPixelSize(letters);
    painter.setFont(font);
    painter.setPen(QColor(200, 205, 212));
    painter.drawText(ground.adjusted(margin, margin, -margin, -margin),
        Qt::AlignCenter | Qt::TextWordWrap,
        name);
    painter.end();
    return toFrame(picture);
}

} // namespace nimbara
