#include "media/sources/media_factory.h"
#include "poll.h"
#include "support/clips.h"
#include "support/fake_device.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr FrameSize full { 1920, 1080 };

DeviceRef whiteCamera(FrameSize size)
{
    const QString opens = u"videotestsrc is-live=true pattern=white ! capsfilter "
                          "caps=video/x-raw,width=%1,height=%2"_s;
    return fakeDevice({ .opens = opens.arg(size.width).arg(size.height).toStdString() });
}

} // namespace

class NaturalShapeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void picksTheSizeShown()
    {
        const PictureBox frame { 1920, 1080 };
        const PictureBox frameCovered { 1920, 1080, true };
        const PictureBox portrait { 1080, 1920 };
        const PictureBox portraitCovered { 1080, 1920, true };
        const PictureBox small { 652.8, 400.4 };
        const std::tuple<FrameSize, std::vector<PictureBox>, FrameSize> rows[] {
            { { 1920, 1080 }, { frame }, { 1920, 1080 } },
            { { 640, 360 }, { frame }, { 1920, 1080 } },
            { { 3840, 2160 }, { frame }, { 1920, 1080 } },
            { { 640, 480 }, { frame }, { 1440, 1080 } },
            { { 640, 480 }, { frameCovered }, { 1920, 1440 } },
            { { 1280, 1024 }, { frame }, { 1350, 1080 } },
            { { 1080, 1920 }, { frame }, { 608, 1080 } },
            { { 1920, 1080 }, { portrait }, { 1080, 608 } },
            { { 1920, 1080 }, { portraitCovered }, { 3414, 1920 } },
            { { 1366, 768 }, { frame }, { 1920, 1080 } }, // no line at the edge
            { { 1366, 768 }, { frameCovered }, { 1921, 1080 } },
            { { 640, 480 }, { small, frame, portrait }, { 1440, 1080 } }, // the largest
            { { 640, 480 }, { { 652.8, 400.4, true } }, { 653, 490 } },
            { { 640, 480 }, { { 96, 1080 } }, { 96, 72 } },
            { { 4000, 1 }, { { 96, 1080 } }, { 96, 1 } },
            { { 1920, 1080 }, { { 19200, 10800 } }, { 3840, 2160 } }, // not without end
            { { 20000, 2 }, { { 19200, 10800 } }, { 8192, 1 } },
        };
        for (const auto &[natural, boxes, shown] : rows) {
            const RowName named(QByteArray::number(natural.width) + " in "
                + QByteArray::number(boxes.front().width)
                + (boxes.front().cover ? " covered" : ""));
            QCOMPARE(shownSize(natural, boxes), shown);
        }
        QCOMPARE(squareSize({ 720, 576 }, 16.0 / 15), (FrameSize { 768, 576 }));
        QCOMPARE(squareSize({ 720, 480 }, 8.0 / 9), (FrameSize { 720, 540 }));
    }

    /// Neither a device's picture nor a screen's is letterboxed, and its pixels count as square.
    void aSourceKeepsItsShape()
    {
        for (const auto &[size, shown] :
            { std::pair { FrameSize { 640, 480 }, FrameSize { 1440, 1080 } },
                { { 1280, 720 }, full },
                { { 360, 640 }, { 608, 1080 } },
                { { 2560, 2048 }, { 1350, 1080 } } }) {
            const RowName named(QByteArray::number(size.width));
            const auto media = open(whiteCamera(size));
            QVERIFY(!media->naturalSize());
            QVERIFY(pollUntil(*media, [&] { return media->frame() != nullptr; }));
            QCOMPARE(media->frame()->size(), shown);
            for (const auto &[x, y] : { std::pair { 0.0, 0.0 }, { 0.999, 0.999 } }) {
                QCOMPARE(pixelAt(*media->frame(), x, y), (std::array { 255, 255, 255, 255 }));
            }
            QCOMPARE(media->naturalSize(), size);
        }
    }

    void aDeclaredPixelShapeOfADeviceIsIgnored()
    {
        const auto media = open(
            fakeDevice({ .opens = "videotestsrc is-live=true pattern=white ! capsfilter "
                                  "caps=video/x-raw,width=90,height=90,pixel-aspect-ratio=2/1" }));
        QVERIFY(pollUntil(*media, [&] { return media->frame() != nullptr; }));
        QCOMPARE(media->frame()->size(), (FrameSize { 1080, 1080 }));
        QCOMPARE(media->naturalSize(), (FrameSize { 90, 90 }));
    }

    /// A clip's pixels are made square and its picture upright.
    void aClipKeepsTheShapeItIsShownIn()
    {
        const QStringList wide { u"-vf"_s, u"setsar=4/3"_s };
        const QStringList tall { u"-vf"_s, u"setsar=3/4"_s };
        const std::tuple<const char *, FrameSize, QStringList, int, FrameSize> rows[] {
            { "square pixels", { 320, 240 }, {}, 0, { 320, 240 } },
            { "wide pixels", { 240, 180 }, wide, 0, { 320, 180 } },
            { "tall pixels", { 320, 180 }, tall, 0, { 320, 240 } },
            { "turned", { 320, 180 }, {}, 90, { 180, 320 } },
            { "large", { 1920, 1440 }, {}, 0, { 320, 240 } },
        };
        for (const auto &[name, size, extra, rotate, shown] : rows) {
            const RowName named(name);
            ClipRecipe recipe { .width = size.width, .height = size.height, .seconds = 0.4 };
            recipe.extra = extra;
            recipe.rotate = rotate;
            const MediaPtr media
                = m_factory.media({ shown.width, 320 }, fileLocation(clip(recipe)));
            media->showIn({ { 1000.0 * shown.width / shown.height, 1000 }, { 100, 100 } });
            QVERIFY(pollUntil(*media, [&] { return media->frame() != nullptr; }));
            const double shape = static_cast<double>(shown.width) / shown.height;
            QCOMPARE(media->frame()->size(), (FrameSize { qRound(1000 * shape), 1000 }));
        }
    }

    void theSizeFollowsTheBoxes()
    {
        const auto media = open(whiteCamera({ 640, 480 }));
        const auto delivers = [&](FrameSize size) {
            return pollUntil(*media,
                [&] { return media->frame() && media->frame()->size() == size; });
        };
        media->showIn({ { 400, 300 } }); // before the first picture: at once
        QVERIFY(delivers({ 400, 300 }));
        media->showIn({ { 800, 800, true } });
        media->showIn({});
        const auto frames = media->frameCount();
        QVERIFY(pollUntil(*media, [&] { return media->frameCount() > frames + 3; }));
        QCOMPARE(media->frame()->size(), (FrameSize { 400, 300 })); // it may be dragged on
        m_clock.advanceUs(Media::settleUs);
        media->showIn({ { 800, 800, true } });
        QVERIFY(delivers({ 1067, 800 }));
        m_clock.advanceUs(Media::settleUs);
        media->showIn({}); // nobody looks
        const auto seen = media->frameCount();
        QVERIFY(pollUntil(*media, [&] { return media->frameCount() > seen + 3; }));
        QCOMPARE(media->frame()->size(), (FrameSize { 1067, 800 }));
        for (double width = 100; width < 140; width += 4) {
            media->showIn({ { width, 100 } });
            m_clock.advanceUs(Media::settleUs);
            media->showIn({ { width, 100 } });
            const auto before = media->frameCount();
            QVERIFY(pollUntil(*media, [&] { return media->frameCount() > before; }));
        }
        QVERIFY(delivers({ 133, 100 }));
        QCOMPARE(media->takeMessage(), QString());
    }

private:
    std::unique_ptr<Media> open(const DeviceRef &device)
    {
        return std::make_unique<Media>(m_clock, SourceRequest { full, device.get() });
    }

    ManualClock m_clock;
    SystemClock m_realClock;
    MediaFactory m_factory { m_realClock, std::make_shared<Retirement>() };
};

NIMBARA_TEST(NaturalShapeTest)
#include "natural_shape_test.moc"
