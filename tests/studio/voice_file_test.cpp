#include "output/sink/voice_track.h"
#include "signal/audio_block.h"
#include "studio/services/voice_file.h"
#include "support/decoded_sound.h"
#include "support/hung_file.h"
#include "support/test_registry.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cmath>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int frameValues = 3200; ///< of a frame, 1600 in each channel

/// Speaks for so many frames of the program from that time on; the right channel is not heard.
void speak(VoiceFile &file, std::int64_t fromMs, int frames)
{
    std::vector<float> block(frameValues);
    for (int frame = 0; frame < frames; ++frame) {
        for (int i = 0; i < frameValues; i += 2) {
            block.at(static_cast<std::size_t>(i)) = static_cast<float>(0.5 * std::sin(i * 0.02));
        }
        file.push(fromMs + frame * 1000 / 30, block);
        file.poll();
    }
}

/// How loud it is in the ten milliseconds from there.
int loudest(const std::vector<std::int16_t> &values, std::int64_t ms)
{
    const auto from = values.begin() + std::min<std::ptrdiff_t>(ms * 48, std::ssize(values));
    const auto to = values.begin() + std::min<std::ptrdiff_t>(ms * 48 + 480, std::ssize(values));
    return from == to ? 0 : *std::max_element(from, to);
}

} // namespace

/// The track as a player hears it.
class VoiceFileTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// Each clip at its time, after minutes of silence, too; what is there stays.
    void isHeardAtItsTime()
    {
        QTemporaryDir folder;
        QFile other(folder.filePath(u"a.en.opus"_s));
        QVERIFY(other.open(QIODevice::WriteOnly) && other.write("kept") == 4);
        other.close();
        VoiceFile file;
        file.follow(folder.filePath(u"a.en"_s));
        speak(file, 2000, 30);
        speak(file, 180'000, 30);
        file.follow(folder.filePath(u"b.en"_s)); // of another clock
        speak(file, 500, 30);
        QVERIFY(file.finish(30s));
        const auto first = decodedSound(folder.filePath(u"a.en 2.opus"_s));
        for (const auto &[ms, isLoud] : { std::pair(1950, false),
                 { 2030, true },
                 { 2960, true },
                 { 3050, false },
                 { 179'950, false },
                 { 180'030, true },
                 { 180'960, true } }) {
            QVERIFY2((loudest(first, ms) > 8000) == isLoud, QByteArray::number(ms));
            QVERIFY2(isLoud || loudest(first, ms) < 500, QByteArray::number(ms));
        }
        const auto second = decodedSound(folder.filePath(u"b.en.opus"_s));
        QVERIFY(loudest(second, 450) < 500 && loudest(second, 530) > 8000);
        QVERIFY(other.open(QIODevice::ReadOnly));
        QCOMPARE(other.readAll(), QByteArray("kept"));
    }

    /// Without an end, as when the process dies: all but the last two seconds.
    void losesTwoSecondsAtMost()
    {
        QTemporaryDir folder;
        VoiceFile file;
        file.follow(folder.filePath(u"a.en"_s));
        speak(file, 0, 180);
        const QString path = folder.filePath(u"a.en.opus"_s);
        QTRY_VERIFY((file.poll(), loudest(decodedSound(path), 3980) > 8000));
        QVERIFY(file.finish(30s));
    }

    /// Nothing is left to be made when a clip comes late; a track without any does not stay.
    void growsWithTheTime()
    {
        QTemporaryDir folder;
        VoiceFile file;
        const auto pass = [&file](int seconds, bool isWanted) {
            for (int second = 0; second <= seconds; ++second) {
                file.pass(second * 1000, isWanted);
                file.poll();
            }
        };
        const QString path = folder.filePath(u"a.en.opus"_s);
        file.follow(folder.filePath(u"a.en"_s));
        pass(300, true);
        QTRY_VERIFY((file.poll(), decodedSound(path).size() > std::size_t { 250 } * audioRate));
        speak(file, 301'000, 30);
        file.follow(folder.filePath(u"b.en"_s));
        pass(10, true);
        file.follow(folder.filePath(u"c.en"_s));
        pass(10, false);
        QVERIFY(file.finish(30s));
        const auto heard = decodedSound(path);
        QVERIFY(loudest(heard, 300'950) < 500 && loudest(heard, 301'030) > 8000);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList { u"a.en.opus"_s });
    }

    /// The patience is for a disk that hangs, not for much that is to be written.
    void theEndIsWaitedForWhileItGrows()
    {
        QTemporaryDir folder;
        VoiceTrack track(folder.filePath(u"a.opus"_s));
        track.push(15 * 60'000, std::vector<std::int16_t>(audioRate, 9000));
        QVERIFY(track.finish(2s));
    }

    /// A full disk: the track is let go with its empty file, and comes back with the room.
    void comesBackWithTheDisk()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"a.en.opus"_s);
        QVERIFY(QFile::link(u"/dev/full"_s, path));
        VoiceFile file(0ms);
        QSignalSpy told(&file, &VoiceFile::failed);
        file.follow(folder.filePath(u"a.en"_s));
        QTRY_VERIFY((speak(file, 0, 15), !told.isEmpty()));
        QVERIFY(!QFileInfo(path).isSymLink());
        speak(file, 60'000, 30);
        QVERIFY(file.finish(30s));
        QVERIFY(loudest(decodedSound(path), 60'030) > 8000);
        QCOMPARE(told.size(), 1);
    }

    /// What does not fit into memory meanwhile is silent, and told; nor is the end said to be
    /// there.
    void aDiskThatHangsIsToldOnce()
    {
        QTemporaryDir folder;
        HungFile disk(folder.filePath(u"a.en.opus"_s));
        VoiceFile file;
        QSignalSpy told(&file, &VoiceFile::failed);
        file.follow(folder.filePath(u"a.en"_s));
        speak(file, 0, 2 * 30 * 60);
        speak(file, 120'000, 30);
        QVERIFY(!file.finish(0ms));
        QCOMPARE(told.size(), 1);
    }

    /// It is not asked again for each piece, but for another track.
    void tellsOfADiskThatTakesNothing()
    {
        QTemporaryDir folder;
        QFile wall(folder.filePath(u"wall"_s));
        QVERIFY(wall.open(QIODevice::WriteOnly));
        VoiceFile file;
        QStringList told;
        connect(&file, &VoiceFile::failed, this, [&](const Message &reason) {
            told.append(reason.spanish());
        });
        file.follow(wall.fileName() + u"/a.en"_s);
        QTRY_VERIFY((speak(file, 0, 15), !told.isEmpty()));
        QVERIFY(wall.remove());
        speak(file, 0, 15);
        file.follow(folder.filePath(u"b.en"_s));
        speak(file, 0, 15);
        file.finish(30s);
        QCOMPARE(told.size(), 1);
        QVERIFY(told.first().contains(wall.fileName()));
        QCOMPARE(QDir(folder.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
            QStringList { u"b.en.opus"_s });
    }
};

NIMBARA_TEST(VoiceFileTest)
#include "voice_file_test.moc"
