#include "compositor/scene/paint_transition.h"
#include "support/shown.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;

namespace {

constexpr QSize frame(64, 32);
constexpr int oldBlue = 10;
constexpr int newBlue = 200;

/// Each pixel tells its place.
QImage places(int blue)
{
    QImage image(frame, QImage::Format_RGBX8888);
    for (int y = 0; y < frame.height(); ++y) {
        for (int x = 0; x < frame.width(); ++x) {
            image.setPixelColor(x, y, QColor(x, y, blue));
        }
    }
    return image;
}

} // namespace

class TransitionTest : public QObject {
    Q_OBJECT

    const QImage m_from = places(oldBlue);
    const QImage m_to = places(newBlue);

private Q_SLOTS:
    void beginsAndEndsWithWholePictures()
    {
        for (int kind = 1; kind < static_cast<int>(TransitionKind::Clip); ++kind) {
            const RowName named(QByteArray::number(kind));
            QImage canvas(frame, QImage::Format_RGBX8888);
            const uchar *pixels = canvas.constBits();
            paintTransition(canvas, m_from, m_to, static_cast<TransitionKind>(kind), 0);
            QCOMPARE(canvas, m_from);
            paintTransition(canvas, m_from, m_to, static_cast<TransitionKind>(kind), 1);
            QCOMPARE(canvas, m_to);
            QVERIFY(canvas.constBits() == pixels); // painted in place
        }
    }

    /// The soft edge of a wipe is 4 pixels wide here, and 2 high.
    void everyPixelComesFromItsPlace()
    {
        using Kind = TransitionKind;
        struct Row {
            Kind kind;
            int percent;
            QPoint at;
            QColor shown;
        };
        for (const auto &[kind, percent, at, shown] : {
                 Row { Kind::Fade, 25, { 5, 6 }, { 5, 6, 58 } },
                 { Kind::Fade, 50, { 5, 6 }, { 5, 6, 105 } },
                 { Kind::SlideLeft, 25, { 0, 5 }, { 16, 5, oldBlue } },
                 { Kind::SlideLeft, 25, { 47, 5 }, { 63, 5, oldBlue } },
                 { Kind::SlideLeft, 25, { 48, 5 }, { 0, 5, newBlue } },
                 { Kind::SlideRight, 25, { 15, 5 }, { 63, 5, newBlue } },
                 { Kind::SlideRight, 25, { 16, 5 }, { 0, 5, oldBlue } },
                 { Kind::SlideUp, 50, { 3, 15 }, { 3, 31, oldBlue } },
                 { Kind::SlideUp, 50, { 3, 16 }, { 3, 0, newBlue } },
                 { Kind::SlideDown, 25, { 3, 7 }, { 3, 31, newBlue } },
                 { Kind::SlideDown, 25, { 3, 8 }, { 3, 0, oldBlue } },
                 { Kind::WipeRight, 50, { 30, 5 }, { 30, 5, newBlue } },
                 { Kind::WipeRight, 50, { 32, 5 }, { 32, 5, 105 } },
                 { Kind::WipeRight, 50, { 34, 5 }, { 34, 5, oldBlue } },
                 { Kind::WipeLeft, 50, { 29, 5 }, { 29, 5, oldBlue } },
                 { Kind::WipeLeft, 50, { 31, 5 }, { 31, 5, 105 } },
                 { Kind::WipeLeft, 50, { 33, 5 }, { 33, 5, newBlue } },
                 { Kind::WipeDown, 25, { 3, 6 }, { 3, 6, newBlue } },
                 { Kind::WipeDown, 25, { 3, 7 }, { 3, 7, 153 } },
                 { Kind::WipeDown, 25, { 3, 9 }, { 3, 9, oldBlue } },
                 { Kind::WipeUp, 25, { 3, 22 }, { 3, 22, oldBlue } },
                 { Kind::WipeUp, 25, { 3, 24 }, { 3, 24, 153 } },
                 { Kind::WipeUp, 25, { 3, 25 }, { 3, 25, newBlue } },
             }) {
            const RowName named(QByteArray::number(static_cast<int>(kind)) + " at "
                + QByteArray::number(at.x()) + ' ' + QByteArray::number(at.y()));
            QImage canvas(frame, QImage::Format_RGBX8888);
            paintTransition(canvas, m_from, m_to, kind, percent / 100.0);
            QVERIFY2(isNear(canvas.pixelColor(at), shown, 1),
                qPrintable(canvas.pixelColor(at).name()));
        }
    }

    /// Where it is as large as covers the canvas, its middle; smaller, it is scaled.
    void aClipLiesOverThePictureByItsAlpha()
    {
        for (const FrameSize size : { FrameSize { 64, 32 }, { 72, 32 }, { 64, 40 }, { 32, 16 } }) {
            const RowName named(QByteArray::number(size.width));
            Frame clip(size.width, size.height);
            clip.opaque = false;
            for (std::int32_t pixel = 0; pixel < size.width * size.height; ++pixel) {
                const int column = pixel % size.width - size.width / 2;
                auto *bytes = &clip.pixels[static_cast<std::size_t>(pixel) * 4];
                bytes[1] = 240;
                bytes[3] = column < -size.width / 8 ? 0 : column < size.width / 8 ? 128 : 255;
            }
            QImage canvas(frame, QImage::Format_RGBX8888);
            paintClip(canvas, m_from, clip);
            QVERIFY(isNear(canvas.pixelColor(9, 7), QColor(9, 7, oldBlue), 1));
            QVERIFY(isNear(canvas.pixelColor(32, 8), QColor(16, 124, 5), 2));
            QVERIFY(isNear(canvas.pixelColor(60, 7), QColor(0, 240, 0), 1));
            QImage odd(frame.width() - 1, frame.height(), QImage::Format_RGBX8888);
            paintClip(odd, m_from, clip);
            QVERIFY(isNear(odd.pixelColor(odd.width() - 1, 7), QColor(0, 240, 0), 1));
        }
    }
};

NIMBARA_TEST(TransitionTest)
#include "transition_test.moc"
