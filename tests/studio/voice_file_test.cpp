#include "studio/services/voice_file.h"
#include "support/decoded_sound.h"
#include "support/test_registry.h"

#include <QFile>
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
        file.finish(30s);
        QCOMPARE(told.size(), 1);
        QVERIFY(told.first().contains(wall.fileName()));
    }
};

NIMBARA_TEST(VoiceFileTest)
#include "voice_file_test.moc"
