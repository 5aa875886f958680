#include "base/clock.h"
#include "media/sources/media_factory.h"
#include "poll.h"
#include "support/clips.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QFile>
#include <QTest>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace nimbara::testing {

namespace {

/// What a file delivered from its start to its end.
struct Playback {
    int firstNumber = -1;
    int lastNumber = -1;
    bool flash = false;
    float loudest = 0;
    QString message;
};

Playback playToEnd(Media &media)
{
    Playback result;
    pollUntil(media, [&] {
        for (AudioFifo &fifo = media.audioFifo(); !fifo.empty(); fifo.drop(1)) {
            result.loudest = std::max(result.loudest, std::abs(fifo.at(0)));
        }
        if (media.frame()) {
            const ClipPicture picture = readClip(*media.frame());
            result.firstNumber = result.firstNumber < 0 ? picture.number : result.firstNumber;
            result.lastNumber = picture.number;
            result.flash = result.flash || picture.flash;
        }
        return !media.active();
    });
    result.message = media.takeMessage().spanish();
    return result;
}

/// The picture turned clockwise.
Frame turned(const Frame &frame, int degrees)
{
    const QImage image = imageView(frame)
                             .transformed(QTransform().rotate(degrees))
                             .convertToFormat(QImage::Format_RGBA8888);
    return { image.width(), image.height(), image.constBits(), image.bytesPerLine(), true };
}

} // namespace

class MediaFilesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void playsToTheEnd()
    {
        std::vector<std::tuple<const char *, ClipRecipe, int>> rows;

        const auto add = [&](const char *name, int lastNumber, auto change) {
            ClipRecipe recipe;
            recipe.seconds = 0.4;
            change(recipe);
            rows.emplace_back(name, recipe, lastNumber);
        };
        add("H.264 and AAC in MP4", 11, [](ClipRecipe &) {});
        add("25 frames per second", 9, [](ClipRecipe &recipe) {
            recipe.rate = QStringLiteral("25");
        });
        add("59.94 frames per second", 23, [](ClipRecipe &recipe) {
            recipe.rate = QStringLiteral("60000/1001");
        });
        add("variable frame rate", 9, [](ClipRecipe &recipe) {
            recipe.extra = QStringList { QStringLiteral("-vf"),
                QStringLiteral("select='not(mod(n\\,3))'"),
                QStringLiteral("-vsync"),
                QStringLiteral("vfr") };
        });
        add("VP9 and Opus in WebM", 11, [](ClipRecipe &recipe) {
            recipe.videoCodec = QStringLiteral("libvpx-vp9");
            recipe.audioCodec = QStringLiteral("libopus");
            recipe.container = QStringLiteral("webm");
            recipe.extra = QStringList { QStringLiteral("-cpu-used"),
                QStringLiteral("8"),
                QStringLiteral("-deadline"),
                QStringLiteral("realtime") };
        });
        add("Matroska with subtitles", 11, [](ClipRecipe &recipe) {
            recipe.audioCodec = QStringLiteral("flac");
            recipe.container = QStringLiteral("mkv");
            recipe.subtitles = true;
        });
        add("two streams of each kind", 11, [](ClipRecipe &recipe) {
            recipe.extra = QStringList { QStringLiteral("-map"),
                QStringLiteral("0"),
                QStringLiteral("-map"),
                QStringLiteral("0"),
                QStringLiteral("-map"),
                QStringLiteral("1"),
                QStringLiteral("-map"),
                QStringLiteral("1") };
        });
        add("5.1 sound at 44.1 kHz", 11, [](ClipRecipe &recipe) {
            recipe.audioChannels = 6;
            recipe.audioRate = 44100;
            recipe.audioCodec = QStringLiteral("ac3");
            recipe.container = QStringLiteral("mkv");
        });
        add("no sound", 11, [](ClipRecipe &recipe) { recipe.audioCodec.clear(); });
        add("no picture", -1, [](ClipRecipe &recipe) { recipe.videoCodec.clear(); });
        add("4K", 11, [](ClipRecipe &recipe) {
            recipe.width = 3840;
            recipe.height = 2160;
            recipe.extra = QStringList { QStringLiteral("-preset"), QStringLiteral("ultrafast") };
        });
        for (const auto &[name, recipe, lastNumber] : rows) {
            const RowName named(name);
            const MediaPtr media = open(recipe);
            const Playback played = playToEnd(*media);

            QCOMPARE(played.message, QString());
            QVERIFY(media->ended());
            QCOMPARE(played.lastNumber, lastNumber);
            const bool hasPicture = !recipe.videoCodec.isEmpty();
            QCOMPARE(media->frame() != nullptr, hasPicture);
            QVERIFY(!hasPicture || (played.firstNumber < 6 && media->frame()->opaque));
            QCOMPARE(played.flash, hasPicture);
            QCOMPARE(played.loudest > 0.05F, !recipe.audioCodec.isEmpty());
        }
    }

    void reportsBrokenFiles()
    {
        std::vector<std::tuple<const char *, QString, QString>> rows;
        ClipRecipe recipe;
        recipe.seconds = 0.4;
        rows.emplace_back("index lost",
            truncatedClip(recipe, 0.5),
            QStringLiteral("This file contains no playable streams."));
        rows.emplace_back("empty",
            truncatedClip(recipe, 0),
            QStringLiteral("Stream contains no data."));
        rows.emplace_back("no media",
            QStringLiteral("/etc/passwd"),
            QStringLiteral("This appears to be a text file"));
        recipe.container = QStringLiteral("mkv");
        rows.emplace_back("end lost", truncatedClip(recipe, 0.8), QString());
        for (const auto &[name, path, message] : rows) {
            const RowName named(name);
            const MediaPtr media = m_factory.media({ 320, 180 }, fileLocation(path));
            const Playback played = playToEnd(*media);
            QCOMPARE(media->ended(), message.isEmpty());
            QCOMPARE(media->frame() != nullptr, message.isEmpty());
            // The decoder may lose an error that comes while it still builds itself; then the
            // watchdog speaks.
            const QString silent = QStringLiteral("Fuente sin frames durante 10 segundos");
            const QString expected
                = message.isEmpty() ? message : QStringLiteral("Fuente sin señal: ") + message;
            QVERIFY2(played.message == expected
                    || played.message.startsWith(expected + QLatin1String(" ["))
                    || (!message.isEmpty() && played.message == silent),
                qPrintable(played.message));
        }
    }

    /// As a phone writes them: the pixels lie on their side, the container says how to turn them.
    void standsUpright()
    {
        const std::vector<std::tuple<const char *, int, FrameSize, FrameSize>> rows {
            { "90", 90, FrameSize { 320, 180 }, FrameSize { 180, 320 } },
            { "180", 180, FrameSize { 320, 180 }, FrameSize { 320, 180 } },
            { "270", 270, FrameSize { 320, 180 }, FrameSize { 180, 320 } },
            { "larger than the profile", 90, FrameSize { 1280, 720 }, FrameSize { 180, 320 } },
            { "larger, of another shape", 270, FrameSize { 640, 480 }, FrameSize { 240, 320 } },
        };
        for (const auto &[name, degrees, clip, profile] : rows) {
            const RowName named(name);
            ClipRecipe recipe;
            recipe.seconds = 0.4;
            recipe.rotate = degrees;
            recipe.width = clip.width;
            recipe.height = clip.height;
            const MediaPtr media = open(recipe, profile);
            QVERIFY(pollUntil(*media, [&] { return !media->active(); }));
            QVERIFY(media->frame());
            QCOMPARE(readClip(turned(*media->frame(), degrees)).number, 11);
        }
    }

    void playsSoundWithThePicture()
    {
        ClipRecipe recipe;
        recipe.seconds = 1.4;
        const MediaPtr media = open(recipe);
        double soundSeconds = 0;
        QVERIFY(pollUntil(*media, [&] {
            soundSeconds
                += static_cast<double>(media->audioFifo().size()) / (audioRate * audioChannels);
            media->audioFifo().clear();
            return media->frame() && readClip(*media->frame()).number >= 30;
        }));
        QVERIFY(readClip(*media->frame()).flash);
        QVERIFY2(std::abs(soundSeconds - 1) < 0.4, qPrintable(QString::number(soundSeconds)));
    }

    void playsSoundBeyondThePicture()
    {
        ClipRecipe recipe;
        recipe.seconds = 0.8;
        recipe.soundSeconds = 1.6;
        const MediaPtr media = open(recipe);
        QVERIFY(pollUntil(*media, [&] { return !media->active(); }));
        QVERIFY(media->ended());
        QVERIFY(media->frame());
        QCOMPARE(readClip(*media->frame()).number, 23);
        QCOMPARE(media->audioFifo().size(), AudioFifo::defaultLimit);
    }

    void declaresSoundAloneSilent()
    {
        ClipRecipe recipe;
        recipe.videoCodec.clear();
        ManualClock clock;
        const MediaFactory factory(clock, m_retirement);
        const MediaPtr media = factory.media({ 320, 180 }, fileLocation(clip(recipe)));
        QVERIFY(pollUntil(*media, [&] { return !media->audioFifo().empty(); }));
        clock.advanceUs(10'000'001);
        media->pollSource();
        QCOMPARE(media->takeMessage(), QStringLiteral("Fuente sin frames durante 10 segundos"));
    }

    void opensNamesAsTheyAreWritten()
    {
        ClipRecipe recipe;
        recipe.seconds = 0.1;
        const QString path = clipFolder() + QStringLiteral("/coro y órgano.mp4");
        QVERIFY(QFile::exists(path) || QFile::copy(clip(recipe), path));
        const MediaPtr media = m_factory.media({ 320, 180 }, QStringLiteral("file://") + path);
        QCOMPARE(playToEnd(*media).lastNumber, 2);
    }

    void holdsWhatNobodySees()
    {
        ClipRecipe recipe;
        recipe.seconds = 0.8;
        ManualClock clock;
        const MediaFactory factory(clock, m_retirement);
        const QString path = fileLocation(clip(recipe));
        // One that is refused, one that breaks and one that is let go of while it opens leave room
        // for the next.
        const MediaPtr none
            = factory.heldMedia({ 320, 180 }, QStringLiteral("file:///nonexistent"));
        QTRY_COMPARE_WITH_TIMEOUT(none->startOutcome(), PipelineStart::Outcome::Refused, 20'000);
        const MediaPtr broken
            = factory.heldMedia({ 320, 180 }, QStringLiteral("file:///etc/passwd"));
        QVERIFY(pollUntil(*broken, [&] { return !broken->active(); }));
        (void)factory.heldMedia({ 320, 180 }, path);
        const MediaPtr media = factory.heldMedia({ 320, 180 }, path);
        QTRY_COMPARE_WITH_TIMEOUT(media->startOutcome(), PipelineStart::Outcome::Accepted, 20'000);
        const auto beside = [&] { return playToEnd(*open(recipe)).lastNumber; };

        QCOMPARE(beside(), 23);
        clock.advanceUs(60'000'000);
        media->pollSource();
        QCOMPARE(media->frameCount(), 0U);
        QVERIFY(media->active());

        const auto nextNumber = [&] {
            const auto before = media->frameCount();
            pollUntil(*media, [&] { return media->frameCount() > before; });
            return media->frame() ? readClip(*media->frame()).number : -1;
        };
        media->setShown(true);
        QVERIFY(nextNumber() < 6);
        media->setShown(false);
        media->pollSource();
        QCOMPARE(beside(), 23);
        media->setShown(true);
        QVERIFY(nextNumber() < 18);
        QCOMPARE(playToEnd(*media).lastNumber, 23);
        QVERIFY(media->ended());
    }

private:
    MediaPtr open(const ClipRecipe &recipe, FrameSize size = { 320, 180 })
    {
        return m_factory.media(size, fileLocation(clip(recipe)));
    }

    SystemClock m_clock;
    std::shared_ptr<Retirement> m_retirement = std::make_shared<Retirement>();
    MediaFactory m_factory { m_clock, m_retirement };
};

} // namespace nimbara::testing

using nimbara::testing::MediaFilesTest;
NIMBARA_TEST(MediaFilesTest)

#include "media_files_test.moc"
