#include "bible/longest_verse.h"
#include "document/layer_geometry.h"
#include "studio/check/service_check.h"
#include "studio/studio_fixture.h"
#include "support/api_peer.h"
#include "support/test_registry.h"
#include "translation/pipeline/reading_block.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <future>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;
using State = CheckLine::State;

namespace {

ServiceFacts allWell()
{
    ServiceFacts facts;
    facts.screens = 2;
    facts.hasInput = facts.hasCamera = true;
    facts.inputPeak = 0.5;
    facts.cameraRate = 29.8;
    facts.sceneCameras = { { u"Altar"_s, 30 }, { u"Coro"_s, 25 } };
    facts.freeBytes = 60'000'000'000;
    facts.destinations = QStringList { u"YouTube"_s };
    facts.usesOnlineBible = true;
    facts.onlineBible.emplace();
    facts.texts = TextFit { {}, QStringList(), QStringList() };
    facts.hasServiceKey = facts.serviceAnswers = facts.lineHadRoom = true;
    facts.clockIsSet = true;
    facts.onBattery = false;
    return facts;
}

ServiceFacts::Camera &coro(ServiceFacts &facts)
{
    return facts.sceneCameras.back();
}

bool isCamera(const CheckLine &line)
{
    return line.what.spanish().startsWith(u"Cámara"_s);
}

const CheckLine *lineOf(const std::vector<CheckLine> &lines, const QString &what)
{
    const auto is = [&](const CheckLine &line) { return line.what.spanish() == what; };
    const auto found = std::find_if(lines.begin(), lines.end(), is);
    return found == lines.end() ? nullptr : &*found;
}

} // namespace

class ServiceCheckTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void saysWhatIsWrong()
    {
        for (const CheckLine &line : judge(allWell())) {
            QVERIFY2(line.state == State::Good, qPrintable(line.what.spanish()));
        }
        using Spoil = void (*)(ServiceFacts &);
        const std::tuple<QString, State, Spoil> rows[] {
            { u"Pantallas"_s, State::Caution, [](auto &facts) { facts.screens = 1; } },
            { u"Sonido"_s, State::Caution, [](auto &facts) { facts.hasInput = false; } },
            { u"Sonido"_s, State::Bad, [](auto &facts) { facts.inputIsLost = true; } },
            { u"Sonido"_s, State::Caution, [](auto &facts) { facts.isMuted = true; } },
            { u"Sonido"_s, State::Caution, [](auto &facts) { facts.inputPeak = 0.0099; } },
            { u"Sonido"_s, State::Caution, [](auto &facts) { facts.inputPeak = 1; } },
            { u"Cámara"_s, State::Caution, [](auto &facts) { facts.hasCamera = false; } },
            { u"Cámara"_s, State::Bad, [](auto &facts) { facts.cameraIsLost = true; } },
            { u"Cámara"_s, State::Caution, [](auto &facts) { facts.cameraRate = 15; } },
            { u"Cámara Coro"_s, State::Bad, [](auto &facts) { coro(facts).isLost = true; } },
            { u"Cámara Coro"_s, State::Caution, [](auto &facts) { coro(facts).rate = 15; } },
            { u"Cámara Coro"_s, State::Caution, [](auto &facts) { coro(facts).isClosed = true; } },
            { u"Disco"_s,
                State::Bad,
                [](auto &facts) { facts.diskHangs = true, facts.freeBytes.reset(); } },
            { u"Disco"_s,
                State::Caution,
                [](auto &facts) { facts.freeBytes = 2'700'000'000; } }, // 58 min
            { u"Disco"_s,
                State::Bad,
                [](auto &facts) { facts.freeBytes = 900'000'000; } }, // 19 min
            { u"Destinos"_s, State::Caution, [](auto &facts) { facts.destinations.clear(); } },
            { u"Destinos"_s, State::Bad, [](auto &facts) { facts.withoutServer << u"X"_s; } },
            { u"Destinos"_s, State::Caution, [](auto &facts) { facts.withoutKey << u"X"_s; } },
            { u"Traducción"_s, State::Caution, [](auto &facts) { facts.hasServiceKey = false; } },
            { u"Traducción"_s, State::Bad, [](auto &facts) { facts.serviceAnswers = false; } },
            { u"Traducción"_s, State::Bad, [](auto &facts) { facts.serviceAnswers.reset(); } },
            { u"Conexión"_s, State::Bad, [](auto &facts) { facts.lineHadRoom = false; } },
            { u"Conexión"_s, State::Caution, [](auto &facts) { facts.lineHadRoom.reset(); } },
            { u"Traducción"_s, State::Caution, [](auto &facts) { facts.hasServiceKey.reset(); } },
            { u"Biblia en línea"_s,
                State::Caution,
                [](auto &facts) { facts.onlineBible.reset(); } },
            { u"Biblia en línea"_s, State::Caution, [](auto &facts) { facts.onlineBible = "X"; } },
            { u"Textos y versículos"_s,
                State::Caution,
                [](auto &facts) { facts.texts->hidden << u"E"_s; } },
            { u"Textos y versículos"_s,
                State::Caution,
                [](auto &facts) { facts.texts.reset(); } }, // there was no time
            { u"Versículo más largo"_s,
                State::Caution,
                [](auto &facts) { *facts.texts->longVerse << u"E"_s; } },
            { u"Subtítulos"_s,
                State::Caution,
                [](auto &facts) { *facts.texts->caption << u"E"_s; } },
            { u"Reloj"_s, State::Caution, [](auto &facts) { facts.clockIsSet = false; } },
            { u"Corriente"_s, State::Bad, [](auto &facts) { facts.onBattery = true; } },
        };
        for (const auto &[what, state, spoil] : rows) {
            ServiceFacts facts = allWell();
            spoil(facts);
            const std::vector<CheckLine> lines = judge(facts);
            const RowName row(what.toUtf8());
            QVERIFY(lineOf(lines, what));
            QCOMPARE(lineOf(lines, what)->state, state);
            QCOMPARE(std::count_if(lines.begin(),
                         lines.end(),
                         [](const CheckLine &line) { return line.state != State::Good; }),
                1);
        }
        ServiceFacts unknown = allWell();
        unknown.clockIsSet.reset();
        QVERIFY(!lineOf(judge(unknown), u"Reloj"_s));
        ServiceFacts both = allWell();
        both.withoutServer << u"Uno"_s;
        both.withoutKey << u"Otro"_s;
        const QString told = lineOf(judge(both), u"Destinos"_s)->found.spanish();
        QVERIFY2(told.contains(u"Uno"_s) && told.contains(u"Otro"_s), qPrintable(told));
    }

    /// What a box may have to show, not only what stands in it now.
    void triesTheLongestVerseAndAFullCaption()
    {
        QCOMPARE(bible::longestVerse(bible::english()), (bible::Ref { 16, 8, 9, 9 })); // Esther 8:9
        QCOMPARE(bible::longestVerse({}), bible::Ref());
        for (const QString &line : fullCaption().split(u'\n')) {
            QCOMPARE(reading::columns(line), reading::lineColumns);
        }
        using Change = void (*)(Layer &);
        struct Row {
            const char *name;
            LayerKind kind;
            Change change;
            bool isHidden;
            FrameSize frame = landscapeSize;
        };
        for (const auto &[name, kind, change, isHidden, frame] :
            { Row { "pages", LayerKind::Verse, [](auto &) {}, false },
                { "no pages", LayerKind::Verse, [](auto &layer) { layer.paged = false; }, true },
                { "no pages, whole frame",
                    LayerKind::Verse,
                    [](auto &layer) { layer.paged = false, setBox(layer, fullFrame); },
                    false },
                { "no pages, two Bibles",
                    LayerKind::Verse,
                    [](auto &layer) {
                        layer.paged = false, layer.second = u"KJV"_s;
                        setBox(layer, { 0, 0.2, 1, 0.6 });
                    },
                    true },
                { "captions", LayerKind::Subtitle, [](auto &) {}, false },
                { "upright captions", LayerKind::Subtitle, [](auto &) {}, true, portraitSize },
                { "large captions",
                    LayerKind::Subtitle,
                    [](auto &layer) { layer.size = 100; },
                    true } }) {
            const RowName row(name);
            Layer layer = newLayer(kind);
            change(layer);
            const bool isVerse = kind == LayerKind::Verse;
            const TextFit fit = fitOfTexts({ { makeScene(u"E"_s, { layer }), frame } }, u"es"_s);
            QCOMPARE(isVerse, fit.longVerse.has_value());
            QCOMPARE(!isVerse, fit.caption.has_value());
            QCOMPARE(isVerse ? *fit.longVerse : *fit.caption,
                isHidden ? QStringList { u"E"_s } : QStringList());
            QVERIFY(fit.hidden.isEmpty()); // now there is little to show
        }
        Layer one = newLayer(LayerKind::Verse);
        one.paged = false;
        setBox(one, { 0, 0.2, 1, 0.6 });
        const TextFit fit = fitOfTexts({ { makeScene({}, { one }), landscapeSize } }, u"en"_s);
        QVERIFY(fit.longVerse && fit.longVerse->isEmpty()); // the second Bible made the difference
    }

    void readsThePowerSupplies()
    {
        const std::tuple<QString, std::optional<bool>> rows[] {
            { u""_s, std::nullopt }, // no supply that is told of
            { u"Battery 1"_s, std::nullopt },
            { u"Mains 1|Battery 1"_s, false },
            { u"Mains 0|Battery 1"_s, true },
            { u"Mains 0|Mains 1"_s, false }, // two sockets
            { u"Mains 1|Mains 0"_s, false },
        };
        for (const auto &[supplies, onBattery] : rows) {
            const RowName row(supplies.toUtf8());
            const QTemporaryDir folder;
            int number = 0;
            for (const QString &each : supplies.split(u'|', Qt::SkipEmptyParts)) {
                const QString supply = folder.filePath(QString::number(number++));
                QVERIFY(QDir().mkpath(supply));
                for (const auto &[name, field] :
                    { std::pair { u"/type"_s, 0 }, { u"/online"_s, 1 } }) {
                    QFile file(supply + name);
                    QVERIFY(file.open(QIODevice::WriteOnly));
                    file.write(each.section(u' ', field, field).toUtf8() + '\n');
                }
            }
            QCOMPARE(askMachine(folder.path()).onBattery, onBattery);
            QVERIFY(askDisk(folder.filePath(u"not/yet"_s)).value_or(0) > 0);
        }
    }

    /// Of a studio as it starts, with the test signal for a microphone, a text that is too long, a
    /// camera that is away, a disk that hangs and nobody at the service's address.
    void looksAtTheStudio()
    {
        StudioPeers peers;
        peers.openAi = { u"http"_s, u"127.0.0.1"_s, 1, {}, u"/v1/"_s };
        StudioFixture desk(std::move(peers));
        desk.studio.translation().key().setText(u"sk-halvenmoor"_s);
        Layer text = newLayer(LayerKind::Text);
        text.text = QString(u"palabra "_s).repeated(4000);
        Layer verse = newLayer(LayerKind::Verse);
        verse.paged = false;
        Layer camera = newLayer(LayerKind::Camera);
        DeviceIdentity altar;
        altar.name = u"Altar"_s;
        camera.uri = identityText(altar);
        desk.setLayers({ text, verse, newLayer(LayerKind::Camera) });
        Scene other = defaultScene(true);
        other.layers = { camera, camera };
        desk.studio.document().apply(AddScene { SceneSet::Hall, other });
        desk.studio.bibles().choose(3); // online, without a key
        desk.studio.streams().setSelected(0, true);
        desk.studio.audio().setCapture(std::make_unique<AudioCapture>(desk.clock, nullptr));
        const auto answer = std::make_shared<std::promise<void>>();
        ServiceCheck check(desk.studio, nullptr, [answer](auto &) {
            answer->get_future().wait();
            return std::optional<std::int64_t>();
        });
        std::vector<CheckLine> lines;
        QObject::connect(&check, &ServiceCheck::finished, &check, [&](const auto &found) {
            lines = found;
        });
        check.begin(2);
        QVERIFY(desk.pollUntil([&] { return !lines.empty(); }));
        desk.studio.bibles().choose(0); // for those that come after
        QCOMPARE(lineOf(lines, u"Pantallas"_s)->state, State::Good);
        QCOMPARE(lineOf(lines, u"Sonido"_s)->state, State::Caution);
        QCOMPARE(lineOf(lines, u"Cámara"_s)->state, State::Caution);
        QVERIFY(lineOf(lines, u"Cámara Altar"_s));
        QCOMPARE(lineOf(lines, u"Cámara Altar"_s)->state, State::Bad);
        QCOMPARE(std::count_if(lines.begin(), lines.end(), isCamera), 2); // each once
        QCOMPARE(lineOf(lines, u"Disco"_s)->state, State::Bad);
        answer->set_value();
        QVERIFY(lineOf(lines, u"Destinos"_s)->found.spanish().startsWith(u"Falta la clave de "_s));
        QCOMPARE(lineOf(lines, u"Textos y versículos"_s)->state, State::Caution);
        QCOMPARE(lineOf(lines, u"Versículo más largo"_s)->state, State::Caution);
        QVERIFY(
            lineOf(lines, u"Biblia en línea"_s)->found.spanish().startsWith(u"Falta la clave"_s));
        QCOMPARE(lineOf(lines, u"Traducción"_s)->state, State::Bad);
        QVERIFY(lineOf(lines, u"Traducción"_s)->found.spanish().startsWith(u"API con error"_s));
        QVERIFY(!check.isUnderWay());
    }

    /// The operator has mended the key and checks again: what is said of the old one comes last.
    void takesNoAnswerOfTheRunBefore()
    {
        ApiPeer peer;
        StudioPeers peers;
        peers.openAi = peer.endpoint();
        StudioFixture desk(std::move(peers));
        ServiceCheck check(desk.studio);
        std::vector<CheckLine> lines;
        QObject::connect(&check, &ServiceCheck::finished, &check, [&](const auto &found) {
            lines = found;
        });
        for (const int run : { 1, 2 }) {
            desk.studio.translation().key().setText(u"sk-halvenmoor-%1"_s.arg(run));
            check.begin(2);
            QTRY_COMPARE(peer.count("request"), run);
        }
        const std::vector<QJsonObject> requests = peer.of("request");
        for (const auto &[request, status, text] :
            { std::tuple { 1U, 200, "API OK" }, { 0U, 401, "API con error HTTP 401" } }) {
            peer.answer(requests[request], "{}", status);
            QTRY_VERIFY(desk.told(text));
        }
        QVERIFY(QTest::qWaitFor([&] { return !lines.empty(); }, 60'000));
        QCOMPARE(lineOf(lines, u"Traducción"_s)->state, State::Good);
    }
};

NIMBARA_TEST(ServiceCheckTest)
#include "service_check_test.moc"
