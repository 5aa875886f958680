#include "studio/studio_fixture.h"
#include "support/clips.h"
#include "support/log_text.h"
#include "support/test_registry.h"

#include <QFileInfo>

#include <numbers>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// Empties the left side; the number of values, and the largest step so far.
int takeSteps(AudioFifo &fifo, float &last, float &steepest)
{
    int count = 0;
    for (; !fifo.empty(); fifo.drop(audioChannels), ++count) {
        steepest = std::max(steepest, std::abs(fifo.at(0) - std::exchange(last, fifo.at(0))));
    }
    return count;
}

} // namespace

class StudioTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void unchangedScenesHandTheSamePictureOn()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        desk.take({ colorLayer(Qt::darkCyan) });
        desk.frame();
        const Pictures before = desk.pictures;
        desk.frame();
        QCOMPARE(desk.pictures.preview.cacheKey(), before.preview.cacheKey());
        QCOMPARE(desk.pictures.streams.cacheKey(), before.streams.cacheKey());
        QCOMPARE(desk.pictures.hall.cacheKey(), before.hall.cacheKey());
    }

    /// Each program has the language that its own layer has chosen, in the same place; without a
    /// second one, or of a scene without such a layer, that is the first.
    void programsShowTheirLanguages()
    {
        StudioFixture desk;
        desk.studio.stage().program.setFadeEnabled(false);
        Captions &captions = desk.studio.stage().captions;
        const auto shown = [&](const QString &first, const std::optional<QStringList> &second) {
            captions.phrases = { first };
            captions.second = second;
            desk.frame();
            return desk.pictures;
        };
        Layer layer = newLayer(LayerKind::Subtitle);
        desk.take({ layer });
        const QImage automatic = shown(u"Grace"_s, std::nullopt).hall;
        QVERIFY(shown(u"Grace"_s, QStringList { u"Graça"_s }).hall == automatic);
        desk.studio.document().setEditing(SceneSet::Hall);
        layer.language = caption_language::second;
        desk.take({ layer });
        const Pictures both = shown(u"Grace"_s, QStringList { u"Graça"_s });
        const Pictures first = shown(u"Grace"_s, std::nullopt);
        const Pictures second = shown(u"Graça"_s, std::nullopt);
        QVERIFY(first.hall != second.hall);
        QVERIFY(both.streams == first.streams);
        QVERIFY(both.hall == second.hall && both.preview == second.preview);
        desk.set(0, LayerField::Language, caption_language::first); // not on air yet
        QVERIFY(shown(u"Grace"_s, QStringList { u"Graça"_s }).hall == second.hall);
    }

    void failedMediaIsToldOnceAndShowsNothingStale()
    {
        StudioFixture desk;
        desk.studio.layers().addMedia(fileLocation(u"/etc/passwd"_s));
        const auto told = [&] { return desk.statuses.filter(u"Fuente sin señal: "_s).size(); };
        QVERIFY(desk.runUntil([&] { return told() > 0; }));
        for (int i = 0; i < 20; ++i) {
            desk.frame();
        }
        QCOMPARE(told(), 1);
        QVERIFY(!desk.source(1)->active());
    }

    void mediaSoundIsHeardOnProgramAlone()
    {
        // The sound of the first ends before its picture; the second has none, the third silence.
        ClipRecipe brief;
        brief.seconds = 4;
        brief.soundSeconds = 1; // the demuxer takes less than a fifth for a preview
        ClipRecipe silent = brief;
        silent.audioCodec.clear();
        ClipRecipe hushed = brief;
        hushed.extra = u"-af volume=0"_s.split(u' ');
        for (const ClipRecipe &recipe : { brief, silent, hushed }) {
            StudioFixture desk;
            const auto isHeard = [&] { return desk.studio.programAudio().heard() != nullptr; };
            const auto pictures = [&] { return desk.source(1)->frameCount(); };
            desk.studio.layers().addVideoFile(clip(recipe));
            QVERIFY(desk.runUntil([&] { return pictures() > 10; }));
            QVERIFY(!isHeard()); // in PREVIEW alone
            for (const auto &[sound, visible] :
                { std::pair { false, true }, { true, false }, { true, true } }) {
                desk.set(1, LayerField::Sound, sound);
                desk.set(1, LayerField::Visible, visible);
                QVERIFY(desk.takePrepared());
                const bool isAudible = !recipe.audioCodec.isEmpty() && recipe.extra.isEmpty();
                const bool expected = sound && visible && isAudible;
                QVERIFY(desk.runUntil([&] { return isHeard() || pictures() > 20; }));
                QCOMPARE(isHeard(), expected);
            }
            QVERIFY(desk.runUntil([&] { return !isHeard(); }));
            QVERIFY(desk.source(1)->active()); // the input is heard beside its picture
        }
    }

    /// However often a clock that is too fast costs sound.
    void correctionsOfTheSoundAreLoggedOnceAMinute()
    {
        QFile::remove(logFilePath());
        StudioFixture desk;
        AudioInput &input = desk.studio.audio();
        ProgramAudioDesk audio(desk.clock);
        for (int frame = 0; frame < 150 * 30; ++frame) { // two and a half minutes
            desk.clock.advanceUs(FrameSchedule::periodUs);
            input.fifo().push(std::vector<float>(programBlockValues + 200, 0.1F));
            audio.next(desk.studio.onAir().streams, nullptr, input);
        }
        static const QRegularExpression line(u"Audio: (\\d+) ms recortados, 0 ms "_s);
        auto found = line.globalMatch(logText());
        qint64 lines = 0;
        for (; found.hasNext(); ++lines) {
            QVERIFY(std::abs(found.next().captured(1).toInt() - 3750) < 100); // 6.25 % of a minute
        }
        QCOMPARE(lines, 2);
    }

    /// The steepest step of the sound is that of its tone, however the gain jumps.
    void gainAndMuteDoNotClick()
    {
        StudioFixture desk;
        AudioInput &audio = desk.studio.audio();
        audio.setCapture(std::make_unique<AudioCapture>(desk.clock, nullptr)); // a tone of 0.25
        float steepest = 0;
        float last = 0;
        for (const int percent : { 100, 0, 200, -200, 200, -100, 100 }) { // below 0: muted
            audio.setGainPercent(std::abs(percent));
            audio.setMuted(percent < 0);
            int heard = 0;
            QTRY_VERIFY(
                (audio.pull(), heard += takeSteps(audio.fifo(), last, steepest), heard > 12'000));
        }
        QVERIFY(steepest > 0 && steepest < 1.5 * 0.5 * 2 * std::numbers::pi * 440 / audioRate);
    }

    void brokenRecordingNeverStopsThePrograms()
    {
        StudioFixture desk;
        desk.studio.outputs().recording().start(u"/dev/full"_s, desk.studio.stage().streamFrame());
        desk.studio.changeProfile(StreamProfile::Portrait); // refused
        QCOMPARE(desk.studio.document().project().profile, StreamProfile::Landscape);
        QVERIFY(desk.runUntil([&] { return !desk.studio.outputs().any(); }));
        QVERIFY2(desk.statuses.last().startsWith(u"Fallo de salida (codigo "_s),
            qPrintable(desk.statuses.join(QLatin1Char('|'))));
        const int before = desk.frames;
        desk.frame();
        QCOMPARE(desk.frames, before + 1);
    }

    void aFaultInOneRunEndsNeitherTheNextNorTheService()
    {
        StudioFixture desk;
        const auto fault = QObject::connect(&desk.studio, &Studio::picturesMade, [] {
            throw std::runtime_error("broken");
        });
        desk.frame();
        desk.frame();
        QCOMPARE(desk.statuses.filter(u"Error inesperado: broken"_s).size(), 1);
        QCOMPARE(desk.studio.notices().all().size(), 1U);
        QObject::disconnect(fault);
        const int before = desk.frames;
        desk.frame();
        QCOMPARE(desk.frames, before + 1);
        QObject::connect(&desk.studio, &Studio::picturesMade, [] {
            throw std::runtime_error("broken");
        });
        desk.frame(); // it went away, and came back
        QCOMPARE(desk.statuses.filter(u"Error inesperado: broken"_s).size(), 2);
    }

    void diagnosticsTellWhetherTheCameraIsAlive()
    {
        QFile::remove(logFilePath());
        const QDir folder = QFileInfo(logFilePath()).absoluteDir();
        qputenv("VESPERLINE_DIAG", "1");
        StudioFixture desk;
        QVERIFY(desk.runUntil([&] { return desk.studio.sources().camera()->frameCount() > 90; }));
        qunsetenv("VESPERLINE_DIAG");
        const QString text = logText();
        QCOMPARE(text.count(u"Cámara: primer cuadro recibido. "_s), 1);
        static const QRegularExpression line(
            u"DIAG frames=90 media=\\d+ capas=1 latest=1920x1080 centro=0,255,0 nieve=[1-9]\\d* "
            "preparado.centro=0,255,0 active=1\n"_s);
        QCOMPARE(text.count(line), 1);
        QCOMPARE(QImage(folder.filePath(u"camara-latest.png"_s)).size(), QSize(1920, 1080));
        QVERIFY(QFile::exists(folder.filePath(u"preparacion.png"_s)));
    }
};

NIMBARA_TEST(StudioTest)
#include "studio_test.moc"
