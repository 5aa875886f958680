#include "media/capture/device_mode.h"
#include "media/gst/gst_build.h"
#include "support/error_of.h"
#include "support/fake_device.h"
#include "support/test_registry.h"

#include <QRegularExpression>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr FrameSize landscape { 1920, 1080 };
constexpr FrameSize portrait { 1080, 1920 };

/// V4L2's format and what GStreamer makes of it.
constexpr std::array formats { std::pair { "YUYV", "video/x-raw,format=YUY2" },
    std::pair { "UYVY", "video/x-raw,format=UYVY" },
    std::pair { "YVYU", "video/x-raw,format=YVYU" },
    std::pair { "VYUY", "video/x-raw,format=VYUY" },
    std::pair { "NV12", "video/x-raw,format=NV12" },
    std::pair { "NV21", "video/x-raw,format=NV21" },
    std::pair { "YU12", "video/x-raw,format=I420" },
    std::pair { "RGB3", "video/x-raw,format=RGB" },
    std::pair { "BGR4", "video/x-raw,format=BGRx" },
    std::pair { "GREY", "video/x-raw,format=GRAY8" },
    std::pair { "MJPG", "image/jpeg" },
    std::pair { "JPEG", "image/jpeg" },
    std::pair { "H264", "video/x-h264,stream-format=byte-stream,alignment=au" },
    std::pair { "RG10", "video/x-bayer,format=rggb10le" },
    std::pair { "SRGGB10_CSI2P", "video/x-bayer,format=rggb10p" } };

CapsRef capsOf(const QString &text)
{
    return CapsRef::adopt(gst_caps_from_string(text.toUtf8().constData()));
}

/// A device's modes as caps: "YUYV 640x480@30,15 320x240@? MJPG …".
QString offeredCaps(const QString &modes, bool stepwise)
{
    static const QRegularExpression sized(u"^(\\d+)x(\\d+)@(.+)$"_s);
    QStringList all;
    QString format;
    for (const QString &word : modes.split(u' ')) {
        const auto match = sized.match(word);
        if (!match.hasMatch()) {
            const auto *known = std::find_if(formats.begin(), formats.end(), [&](const auto &each) {
                return QLatin1String(each.first) == word;
            });
            format = QLatin1String(known == formats.end() ? "unknown" : known->second);
            continue;
        }
        const QString side = stepwise ? u"[32,%1]"_s : u"%1"_s;
        QString mode = u"%1,width=%2,height=%3"_s.arg(format,
            side.arg(match.captured(1)),
            side.arg(match.captured(2)));
        if (match.captured(3) != u"?") {
            QStringList rates;
            for (const QString &rate : match.captured(3).split(u',')) {
                rates << u"%1/100"_s.arg(qRound(rate.toDouble() * 100));
            }
            mode += u",framerate={%1}"_s.arg(rates.join(u','));
        }
        all << mode;
    }
    return all.join(u';');
}

/// "MJPG 1920x1080@30", as the listings write it; "none" without one.
QString written(const std::vector<DeviceMode> &ranked)
{
    if (ranked.empty()) {
        return u"none"_s;
    }
    const DeviceMode &best = ranked.front();
    const QString caps = gst_build::text(modeCaps(DeviceMode { best.coding, best.format }).get());
    const auto *format = std::find_if(formats.begin(), formats.end(), [&](const auto &each) {
        const QString mode = QLatin1String(each.second);
        return caps.startsWith(mode.section(u',', 0, 0))
            && (best.format.isEmpty() || mode.endsWith(u'=' + best.format));
    });
    return u"%1 %2x%3@%4"_s.arg(QLatin1String(format->first))
        .arg(best.size.width)
        .arg(best.size.height)
        .arg(best.rate.isKnown() ? QString::number(best.rate.perSecond()) : u"?"_s);
}

} // namespace

class DeviceModeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyCameraGetsTheModeThatSuits()
    {
        QFile file(QStringLiteral(NIMBARA_MEDIA_TESTS) + u"/cameras.tsv"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        int rows = 0;
        for (const QString &line : QString::fromUtf8(file.readAll()).split(u'\n')) {
            const QStringList columns = line.split(u'\t');
            if (line.startsWith(u'#') || columns.size() != 6) {
                continue;
            }
            ++rows;
            const RowName named(columns[0].toUtf8());
            const auto caps = capsOf(offeredCaps(columns[5], columns[0].contains(u"stepwise")));
            QVERIFY(caps);
            const auto best = [&](FrameSize frame) {
                return written(rankModes(expandModes(caps.get(), frame), frame));
            };
            QCOMPARE(best(landscape), columns[3]);
            QCOMPARE(best(portrait), columns[4]);
        }
        QCOMPARE(rows, 72);
    }

    void expandsWhatIsOffered()
    {
        // "@" is raw video; the best mode's caps and the number of modes.
        for (const auto &[offered, best, count] :
            { std::tuple { "@,width=1280,height=720;@,width=1920,height=1080", "1920 1080", 2 },
                { "@,width=2560,height=1080;@,width=640,height=360", "640 360", 2 },
                { "@,width=16000,height=1", "16000 1", 1 }, // better than none
                { "@(memory:SystemMemory),width=800,height=600", "800 600", 1 },
                { "@(memory:DMABuf),width=1920,height=1080;@,width=320,height=240", "320 240", 1 },
                { "@,width=[2,1922,2],height=[2,4000]", "1920 1080", 4 },
                { "@,width={640,800},height=480,framerate={15/1,30/1}", "800 480 30/1", 4 },
                { "@,width=640,height=480,framerate=[0/1,60/1]", "640 480 30/1", 1 },
                { "@,width=640,height=480,framerate=[1/1,25/1]", "640 480 25/1", 1 },
                { "@,width=640,height=480,framerate=[50/1,60/1]", "640 480 50/1", 1 },
                { "@,width=640,height=480,framerate={24000/1001,20/1}", "640 480 24000/1001", 2 },
                { "@,format={YUY2,Strange},width=640,height=480", "640 480", 1 },
                { "@,format=GRAY16_LE,width=640,height=480", "", 1 },
                { "@,width=640;@;@,width=0,height=1080", "", 0 },
                { "video/x-vp8,width=640,height=480", "", 0 },
                { "ANY", "", 0 },
                { "EMPTY", "", 0 } }) {
            const RowName named(offered);
            const auto caps = capsOf(QString::fromUtf8(offered).replace(u'@', u"video/x-raw"_s));
            const auto modes = expandModes(caps.get(), landscape);
            QCOMPARE(modes.size(), static_cast<std::size_t>(count));
            const auto ranked = rankModes(modes, landscape);
            QString text;
            if (!ranked.empty()) {
                const auto &[coding, format, size, rate] = ranked.front();
                text = u"%1 %2"_s.arg(size.width).arg(size.height);
                text += rate.isKnown() ? u" %1/%2"_s.arg(rate.numerator).arg(rate.denominator)
                                       : QString();
            }
            QCOMPARE(text, QString::fromUtf8(best));
        }
        QCOMPARE(expandModes(nullptr, landscape).size(), 0U);
    }

    void triesTheBestThree()
    {
        const QString all
            = u"MJPG 1920x1080@30,15 1280x720@30 640x360@30 YUYV 640x480@30 1920x1080@5"_s;
        const auto asked = [&](const QString &modes, std::optional<DeviceMode> wanted = {}) {
            const DeviceRef device
                = fakeDevice({ .caps = offeredCaps(modes, false).toStdString() });
            QStringList list;
            for (const DeviceMode &mode : modesToTry(device.get(), landscape, wanted)) {
                list << written({ mode });
            }
            return list.join(u", "_s);
        };
        QCOMPARE(asked(all), u"MJPG 1920x1080@30, MJPG 1280x720@30, MJPG 640x360@30"_s);
        // What the operator chose, or what worked before.
        const DeviceMode slow { PictureCoding::Raw, u"YUY2"_s, landscape, { 5, 1 } };
        QCOMPARE(asked(all, slow), u"YUYV 1920x1080@5, MJPG 1920x1080@30, MJPG 1280x720@30"_s);
        QCOMPARE(asked(u"MJPG 640x480@30"_s, slow), u"MJPG 640x480@30"_s); // not offered
        const QString infrared = u"La cámara solo ofrece imagen infrarroja"_s;
        QCOMPARE(errorOf([&] { return asked(u"GREY 640x360@30"_s); }), infrared);
        const DeviceMode grey { PictureCoding::Raw, u"GRAY8"_s, { 640, 360 }, { 30, 1 } };
        QCOMPARE(asked(u"GREY 640x360@30"_s, grey), u"GREY 640x360@30"_s);

        const HiddenElement hidden("jpegdec");
        QCOMPARE(asked(all), u"YUYV 640x480@30, YUYV 1920x1080@5"_s);
        QCOMPARE(errorOf([&] { return asked(u"MJPG 640x480@30"_s); }),
            u"Falta componente de fuente multimedia"_s);
    }

    void offersTheOperatorEveryMode()
    {
        const QString all = u"GREY 640x360@60 YUYV 640x480@29.97 1920x1080@5 MJPG 1920x1080@30,25 "
                            "H264 800x600@? RG10 4032x3040@21"_s;
        const auto caps = capsOf(offeredCaps(all, false));
        QStringList texts;
        for (const DeviceMode &mode :
            modesToChoose(expandModes(caps.get(), landscape), landscape)) {
            texts << modeText(mode);
        }
        QCOMPARE(texts,
            (QStringList { u"1920 × 1080 · 30 fps · MJPEG"_s,
                u"640 × 480 · 29.97 fps · YUY2"_s,
                u"1920 × 1080 · 25 fps · MJPEG"_s,
                u"800 × 600 · H.264"_s,
                u"1920 × 1080 · 5 fps · YUY2"_s,
                u"640 × 360 · 60 fps · GRAY8"_s }));
    }

    void pinsTheWholeMode()
    {
        QCOMPARE(gst_build::text(modeCaps({}).get()), u"video/x-raw"_s);
        const std::tuple<DeviceMode, const char *> rows[] {
            { { PictureCoding::Raw, u"YUY2"_s, { 1280, 720 }, { 30000, 1001 } },
                "video/x-raw, format=(string)YUY2, width=(int)1280, height=(int)720, "
                "framerate=(fraction)30000/1001" },
            { { PictureCoding::Jpeg, {}, { 1920, 1080 }, { 30, 1 } },
                "image/jpeg, width=(int)1920, height=(int)1080, framerate=(fraction)30/1" },
            { { PictureCoding::H264, {}, { 640, 480 } },
                "video/x-h264, width=(int)640, height=(int)480" },
        };
        for (const auto &[mode, text] : rows) {
            QCOMPARE(gst_build::text(modeCaps(mode).get()), QString::fromUtf8(text));
        }
    }
};

NIMBARA_TEST(DeviceModeTest)
#include "device_mode_test.moc"
