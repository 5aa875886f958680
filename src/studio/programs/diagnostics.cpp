#include "studio/programs/diagnostics.h"

#include "base/log.h"

#include <QFileInfo>

namespace nimbara {

namespace {

constexpr std::uint64_t periodFrames = 90;

std::size_t pixelAt(const Frame &frame, std::int32_t x, std::int32_t y)
{
    return (static_cast<std::size_t>(y) * frame.width + x) * 4;
}

QString centreText(const Frame *frame)
{
    if (frame == nullptr) {
        return QStringLiteral("vacio");
    }
    const std::uint8_t *pixel
        = frame->pixels.data() + pixelAt(*frame, frame->width / 2, frame->height / 2);
    return QStringLiteral("%1,%2,%3").arg(pixel[0]).arg(pixel[1]).arg(pixel[2]);
}

QString diagnosticLine(const Stage &stage, Media &camera, const QImage &preview)
{
    const Frame *frame = camera.frame().get();
    const std::size_t layers = stage.document.currentScene()->layers.size();
    const FrameSize stream = stage.streamFrame();
    const QPoint centre(stream.width / 2, stream.height / 2);
    const QColor prepared
        = preview.rect().contains(centre) ? preview.pixelColor(centre) : QColor(Qt::black);
    return QStringLiteral("DIAG frames=%1 media=%2 capas=%3 latest=%4x%5 centro=%6 "
                          "preparado.centro=%7,%8,%9 active=%10")
        .arg(camera.frameCount())
        .arg(reinterpret_cast<std::uintptr_t>(&camera))
        .arg(layers)
        .arg(frame != nullptr ? frame->width : 0)
        .arg(frame != nullptr ? frame->height : 0)
        .arg(centreText(frame) + QStringLiteral(" nieve=%1").arg(cornerChecksum(frame)))
        .arg(prepared.red())
        .arg(prepared.green())
        .arg(prepared.blue())
        .arg(camera.active() ? 1 : 0);
}

void saveSnapshots(const Frame &camera, const QImage &preview)
{
    const QString folder = QFileInfo(logFilePath()).absolutePath();
    imageView(camera).save(folder + QStringLiteral("/camara-latest.png"));
    preview.save(folder + QStringLiteral("/preparacion.png"));
}

} // namespace

std::uint64_t cornerChecksum(const Frame *frame)
{
    std::uint64_t sum = 0;
    if (frame == nullptr) {
        return sum;
    }
    for (std::int32_t y = frame->height * 9 / 10; y < frame->height; y += 7) {
        for (std::int32_t x = frame->width * 9 / 10; x < frame->width; x += 7) {
            sum = sum * 31 + frame->pixels[pixelAt(*frame, x, y)];
        }
    }
    return sum;
}

void Diagnostics::observe(const Stage &stage, const Sources &sources, const QImage &preview)
{
    Media *camera = sources.camera().get();
    const std::uint64_t frames = camera != nullptr ? camera->frameCount() : 0;
    if (frames == 0 || frames % periodFrames != 0 || frames == m_lastFrame) {
        return;
    }
    m_lastFrame = frames;
    logLine(diagnosticLine(stage, *camera, preview));
    if (frames == periodFrames && camera->frame() && qEnvironmentVariableIsSet("VESPERLINE_DIAG")) {
        saveSnapshots(*camera->frame(), preview);
    }
}

} // namespace nimbara
