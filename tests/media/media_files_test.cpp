#include "base/clock.h"
#include "media/sources/media_factory.h"
#include "poll.h"
#include "support/clips.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTransform>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// What a file delivered from its start to its end.
struct Played {
    int firstNumber = -1;
    int lastNumber = -1;
    bool flash = false;
    float loudest = 0;
    QString message;
};

Played playToEnd(Media &media)
{
    Played result;
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
        const QStringList vfr { u"-vf"_s, u"select='not(mod(n\\,3))'"_s, u"-vsync"_s, u"vfr"_s };
        const auto fast = u"-cpu-used 8 -deadline realtime"_s.split(u' ');
        const auto twice = u"-map 0 -map 0 -map 1 -map 1"_s.split(u' ');
        const auto ultra = u"-preset ultrafast"_s.split(u' ');
        ClipRecipe titled { .seconds = 0.4, .audioCodec = u"flac"_s, .container = u"mkv"_s };
        titled.subtitles = true;
        ClipRecipe surround { .seconds = 0.4, .audioCodec = u"ac3"_s, .container = u"mkv"_s };
        surround.audioRate = 44100;
        surround.audioChannels = 6;
        ClipRecipe webM { .seconds = 0.4, .audioCodec = u"libopus"_s, .container = u"webm"_s };
        webM.videoCodec = u"libvpx-vp9"_s;
        webM.extra = fast;
        const std::tuple<const char *, ClipRecipe, int> rows[] {
            { "H.264 and AAC in MP4", { .seconds = 0.4 }, 11 },
            { "25 frames per second", { .rate = u"25"_s, .seconds = 0.4 }, 9 },
            { "59.94 frames per second", { .rate = u"60000/1001"_s, .seconds = 0.4 }, 23 },
            { "variable frame rate", { .seconds = 0.4, .extra = vfr }, 9 },
            { "WebM", webM, 11 },
            { "subtitles", titled, 11 },
            { "two streams of each kind", { .seconds = 0.4, .extra = twice }, 11 },
            { "5.1", surround, 11 },
            { "no sound", { .seconds = 0.4, .audioCodec = {} }, 11 },
            { "no picture", { .seconds = 0.4, .videoCodec = {} }, -1 },
            { "4K", { .width = 3840, .height = 2160, .seconds = 0.4, .extra = ultra }, 11 },
        };
        for (const auto &[name, recipe, lastNumber] : rows) {
            const RowName named(name);
            const MediaPtr media = open(recipe);
            const Played played = playToEnd(*media);

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
        const ClipRecipe recipe { .seconds = 0.4 };
        const ClipRecipe open { .seconds = 0.4, .container = u"mkv"_s };
        const std::tuple<const char *, QString, QString> rows[] {
            { "index lost",
                truncatedClip(recipe, 0.5),
                u"This file contains no playable streams."_s },
            { "empty", truncatedClip(recipe, 0), u"Stream contains no data."_s },
            { "no media", u"/etc/passwd"_s, u"This appears to be a text file"_s },
            { "end lost", truncatedClip(open, 0.8), {} },
        };
        for (const auto &[name, path, message] : rows) {
            const RowName named(name);
            const MediaPtr media = m_factory.media({ 320, 180 }, fileLocation(path));
            const Played played = playToEnd(*media);
            QCOMPARE(media->ended(), message.isEmpty());
            QCOMPARE(media->frame() != nullptr, message.isEmpty());
            // The decoder may lose an error that comes while it still builds itself; then the
            // watchdog speaks.
            const QString silent = u"Fuente sin frames durante 10 segundos"_s;
            const QString expected
                = message.isEmpty() ? message : u"Fuente sin señal: "_s + message;
            QVERIFY2(played.message == expected || played.message.startsWith(expected + " ["_L1)
                    || (!message.isEmpty() && played.message == silent),
                qPrintable(played.message));
        }
    }

    /// As a phone writes them: the pixels lie on their side, the container says how to turn them.
    void standsUpright()
    {
        const std::tuple<int, FrameSize, FrameSize> rows[] {
            { 90, { 320, 180 }, { 180, 320 } },
            { 180, { 320, 180 }, { 320, 180 } },
            { 270, { 320, 180 }, { 180, 320 } },
            { 90, { 1280, 720 }, { 180, 320 } }, // larger than the profile
            { 270, { 640, 480 }, { 240, 320 } }, // and of another shape
        };
        for (const auto &[degrees, clip, profile] : rows) {
            const RowName named(
                QByteArray::number(degrees) + ", " + QByteArray::number(clip.width));
            ClipRecipe recipe { .width = clip.width, .height = clip.height, .seconds = 0.4 };
            recipe.rotate = degrees;
            const MediaPtr media = open(recipe, profile);
            QVERIFY(pollUntil(*media, [&] { return !media->active(); }));
            QVERIFY(media->frame());
            QCOMPARE(readClip(turned(*media->frame(), degrees)).number, 11);
        }
    }

    void playsSoundWithThePicture()
    {
        const MediaPtr media = open({ .seconds = 1.4 });
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
        const MediaPtr media = open({ .seconds = 0.8, .soundSeconds = 1.6 });
        QVERIFY(pollUntil(*media, [&] { return !media->active(); }));
        QVERIFY(media->ended());
        QVERIFY(media->frame());
        QCOMPARE(readClip(*media->frame()).number, 23);
        QCOMPARE(media->audioFifo().size(), AudioFifo::defaultLimit);
    }

    /// However long no picture comes: a song was cut off in its middle, a slide went black.
    void outlivesALackOfPictures()
    {
        const auto slides = u"-vf select='not(n)+eq(n\\,23)' -vsync vfr"_s.split(u' ');
        const std::tuple<const char *, ClipRecipe, int, bool> rows[] {
            { "sound alone", { .seconds = 0.8, .videoCodec = {} }, -1, false },
            { "sound beyond the picture", { .seconds = 0.4, .soundSeconds = 1.2 }, 11, false },
            { "slides with sound", { .seconds = 0.8, .extra = slides }, 23, false },
            { "slides", { .seconds = 0.8, .audioCodec = {}, .extra = slides }, 23, true },
        };
        for (const auto &[name, recipe, lastNumber, isTold] : rows) {
            const RowName named(name);
            ManualClock clock;
            const MediaFactory factory(clock, m_retirement);
            const MediaPtr media = factory.media({ 320, 180 }, fileLocation(clip(recipe)));
            QStringList told;
            QVERIFY(pollUntil(*media, [&] {
                if (media->frameCount() > 0 || !media->audioFifo().empty()) {
                    clock.advanceUs(10'000'001);
                }
                if (const QString text = media->takeMessage().spanish(); !text.isEmpty()) {
                    told << text;
                }
                return !media->active();
            }));
            QVERIFY(media->ended());
            QCOMPARE(media->frame() ? readClip(*media->frame()).number : -1, lastNumber);
            const QStringList once { u"Fuente sin frames durante 10 segundos"_s };
            QVERIFY2(told == once || (!isTold && told.isEmpty()), qPrintable(told.join(u'|')));
        }
    }

    void opensNamesAsTheyAreWritten()
    {
        const ClipRecipe recipe { .seconds = 0.1 };
        const QString path = clipFolder() + u"/coro y órgano.mp4"_s;
        QVERIFY(QFile::exists(path) || QFile::copy(clip(recipe), path));
        const MediaPtr media = m_factory.media({ 320, 180 }, u"file://"_s + path);
        QCOMPARE(playToEnd(*media).lastNumber, 2);
    }

    void holdsWhatNobodySees()
    {
        const ClipRecipe recipe { .seconds = 0.8 };
        ManualClock clock;
        const MediaFactory factory(clock, m_retirement);
        const QString path = fileLocation(clip(recipe));
        // One that is refused, one that breaks and one that is let go of while it opens leave room
        // for the next.
        const MediaPtr none = factory.heldMedia({ 320, 180 }, u"file:///nonexistent"_s);
        QTRY_COMPARE(none->startOutcome(), PipelineStart::Outcome::Refused);
        const MediaPtr broken = factory.heldMedia({ 320, 180 }, u"file:///etc/passwd"_s);
        QVERIFY(pollUntil(*broken, [&] { return !broken->active(); }));
        (void)factory.heldMedia({ 320, 180 }, path);
        const MediaPtr media = factory.heldMedia({ 320, 180 }, path);
        QTRY_COMPARE(media->startOutcome(), PipelineStart::Outcome::Accepted);
        // One whose share has gone away keeps it for a while only.
        const QTemporaryDir folder;
        const QByteArray pipe = QFile::encodeName(folder.filePath(u"gone.mp4"_s));
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        const auto free
            = qScopeGuard([&] { ::close(::open(pipe.constData(), O_RDWR | O_NONBLOCK)); });
        const MediaFactory others(clock, m_retirement);
        const MediaPtr gone = others.heldMedia({ 320, 180 }, fileLocation(QFile::decodeName(pipe)));
        const MediaPtr next = others.heldMedia({ 320, 180 }, path);
        QVERIFY(pollUntil(*next, [&] {
            gone->pollSource();
            return next->startOutcome() == PipelineStart::Outcome::Accepted;
        }));
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

NIMBARA_TEST(MediaFilesTest)
#include "media_files_test.moc"
