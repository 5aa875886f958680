#include "ui/outputs/minute_curve.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>

#include <algorithm>

namespace nimbara {

namespace {

constexpr int barWidth = 3;
constexpr int height = 40;

} // namespace

QString minuteCurve(const MinuteSum &sum)
{
    std::uint64_t most = 0;
    for (std::size_t ago = 0; ago < MinuteSum::seconds; ++ago) {
        most = std::max(most, sum.gain(ago));
    }
    if (most == 0) {
        return {};
    }
    QImage image(barWidth * static_cast<int>(MinuteSum::seconds), height, QImage::Format_RGB32);
    image.fill(QColor(0x16, 0x1b, 0x22));
    QPainter painter(&image);
    for (std::size_t ago = 0; ago < MinuteSum::seconds; ++ago) {
        const auto share = static_cast<double>(sum.gain(ago)) / static_cast<double>(most);
        const int bar = static_cast<int>(share * height);
        const int x = image.width() - barWidth * static_cast<int>(ago + 1);
        painter.fillRect(x, height - bar, barWidth - 1, bar, QColor(0x58, 0xa6, 0xff));
    }
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return QStringLiteral("<img src='data:image/png;base64,%1'>")
        .arg(QString::fromLatin1(bytes.toBase64()));
}

} // namespace nimbara
