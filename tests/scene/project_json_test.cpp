#include "app/error.h"
#include "scene/box_compare.h"
#include "scene/project_file.h"
#include "support/test_registry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace nimbara;

namespace {

/// A version 3 project with one layer of the given members.
Layer readLayer(const char *members)
{
    const QByteArray json = QByteArrayLiteral(R"({"version":3,"gain":100,"scenes":[{"layers":[{)")
        + members + QByteArrayLiteral("}]}]}");
    return fromJson(json).streams.at(0).layers.at(0);
}

/// The operator's text of a refused project; empty when it was accepted.
QString refusal(const QByteArray &json)
{
    try {
        static_cast<void>(fromJson(json));
        return {};
    } catch (const Error &error) {
        return error.text();
    }
}

Project fullProject()
{
    Project project;
    project.profile = StreamProfile::Portrait;
    project.band = true;
    project.title = QString::fromUtf8("Culto de «Pascua» \U0001F54A\n\"2\"");
    project.gain = 137;
    for (int kind = 0; kind < 8; ++kind) {
        Layer layer = newLayer(static_cast<LayerKind>(kind));
        layer.name = QStringLiteral("capa %1").arg(kind);
        layer.x = 0.1 + kind / 3.0;
        layer.opacity = 1.0 / 3;
        layer.visible = kind % 2 == 0;
        layer.cover = kind % 2 == 1;
        project.streams.push_back({ layer.name, { layer, layer } });
    }
    project.streams[1].layers[0].path = QStringLiteral("/fotos/ñandú.png");
    Layer &text = project.streams[2].layers[0];
    text.color = QColor(1, 2, 3, 4);
    text.background = QColor(250, 251, 252, 0);
    text.align = 66;
    text.shadow = text.bold = false;
    text.font = QStringLiteral("Noto Serif");
    text.size = 72;
    project.streams[3].layers[1].uri = QStringLiteral("rtsp://camara/1");
    project.streams[3].layers[1].sound = false;
    project.streams[5].layers[0].fill = QColor(9, 8, 7);
    project.hall = { defaultScene(true), defaultScene(true) };
    project.currentStreams = 7;
    project.currentHall = 1;
    return project;
}

} // namespace

class ProjectJsonTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void projectsComeBackWhole();
    void writesTheKeysOfEachKind_data();
    void writesTheKeysOfEachKind();
    void missingMembersTakeTheirDefaults();
    void readsNumbersWithinBounds_data();
    void readsNumbersWithinBounds();
    void readsColours_data();
    void readsColours();
    void readsKeysOfOtherKinds();
    void refuses_data();
    void refuses();
    void clampsCurrentScenes_data();
    void clampsCurrentScenes();
    void cutsTheTitle();
    void readsVersionOne_data();
    void readsVersionOne();
};

void ProjectJsonTest::projectsComeBackWhole()
{
    const Project project = fullProject();
    const QByteArray json = toJson(project);
    QVERIFY(fromJson(json) == project);
    QVERIFY(json.contains("\n    "));
    QCOMPARE(QJsonDocument::fromJson(json).object().keys(),
        QStringLiteral("band current currentHall gain hall scenes title version vertical")
            .split(QLatin1Char(' ')));
}

void ProjectJsonTest::writesTheKeysOfEachKind_data()
{
    QTest::addColumn<QString>("extra");
    const auto style
        = QStringLiteral("align background bold color font reference shadow size text");
    QTest::newRow("camera") << QString();
    QTest::newRow("image") << QStringLiteral("path");
    QTest::newRow("text") << style;
    QTest::newRow("video") << QStringLiteral("sound uri");
    QTest::newRow("screen") << QString();
    QTest::newRow("color") << QStringLiteral("fill");
    QTest::newRow("verse") << style;
    QTest::newRow("subtitle") << style;
}

void ProjectJsonTest::writesTheKeysOfEachKind()
{
    QFETCH(QString, extra);
    const auto word = QString::fromLatin1(QTest::currentDataTag());
    Project project;
    project.streams = { { QString(), { newLayer(kindFromWord(word)) } } };
    const QJsonObject layer = QJsonDocument::fromJson(toJson(project))
                                  .object()[QLatin1String("scenes")][0][QLatin1String("layers")][0]
                                  .toObject();
    QStringList keys
        = QStringLiteral("cover h kind name opacity visible w x y").split(QLatin1Char(' '));
    keys += extra.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    keys.sort();
    QCOMPARE(layer.keys(), keys);
    QCOMPARE(layer[QLatin1String("kind")].toString(), word);
}

void ProjectJsonTest::missingMembersTakeTheirDefaults()
{
    const Project project = fromJson(R"({"version":2,"gain":0})");
    QCOMPARE(project.profile, StreamProfile::Landscape);
    QVERIFY(project.streams == std::vector { defaultScene(false) });
    QVERIFY(project.hall == std::vector { defaultScene(true) });
    QVERIFY(!project.band && project.title.isEmpty());

    QVERIFY(readLayer("") == Layer());
    QVERIFY(readLayer(R"("kind":"lienzo","name":5,"visible":"no","opacity":"1","x":null,"w":[],
        "size":"9","bold":0,"color":7,"align":"left","font":{},"cover":1,"future":[1,2]})"
                      R"(,{"text":"la segunda")")
        == Layer());
    const auto odd = fromJson(R"({"version":3,"gain":9,"scenes":[3,{"layers":5},{"layers":[4]}],
        "hall":{"name":"x"},"band":"yes","title":12,"vertical":1})");
    QCOMPARE(odd.streams.size(), std::size_t { 3 });
    QVERIFY(odd.streams[2].layers == std::vector { Layer() });
    QVERIFY(odd.hall == std::vector { defaultScene(true) });
}

void ProjectJsonTest::readsNumbersWithinBounds_data()
{
    QTest::addColumn<QByteArray>("members");
    QTest::addColumn<Box>("box");
    QTest::addColumn<double>("opacity");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("align");

    const auto row = [](const char *members, const Box &box, double opacity, int size, int align) {
        QTest::newRow(members) << QByteArray(members) << box << opacity << size << align;
    };
    row(R"("size":2)", fullFrame, 1, 8, 132);
    row(R"("size":1000,"opacity":1.5)", fullFrame, 1, 400, 132);
    row(R"("size":48.9,"opacity":-0.5)", fullFrame, 0, 48, 132);
    row(R"("size":-1e300,"opacity":1e300)", fullFrame, 1, 8, 132);
    row(R"("w":0)", fullFrame, 1, 56, 132);
    row(R"("x":0.5,"y":0.5,"w":0.01,"h":0.5)", fullFrame, 1, 56, 132);
    row(R"("x":0.5,"y":0.5,"w":0.5,"h":-2)", fullFrame, 1, 56, 132);
    row(R"("x":-2.5,"y":0.5,"w":0.011,"h":3)", { -2.5, 0.5, 0.011, 3 }, 1, 56, 132);
    row(R"("x":1e308,"y":-1e308,"w":1e308)", { 100, -100, 100, 1 }, 1, 56, 132);
    row(R"("align":33)", fullFrame, 1, 56, 33);
    row(R"("align":4321)", fullFrame, 1, 56, 4321 & 0xef);
    row(R"("align":-1)", fullFrame, 1, 56, 132);
    row(R"("align":1e18)", fullFrame, 1, 56, 132);
}

void ProjectJsonTest::readsNumbersWithinBounds()
{
    QFETCH(QByteArray, members);
    QFETCH(Box, box);
    const Layer layer = readLayer(members.constData());
    QCOMPARE(boxOf(layer), box);
    QTEST(layer.opacity, "opacity");
    QTEST(layer.size, "size");
    QTEST(layer.align, "align");
}

void ProjectJsonTest::readsColours_data()
{
    QTest::addColumn<QColor>("color");
    QTest::newRow("#04010203") << QColor(1, 2, 3, 4);
    QTest::newRow("#0c3058") << QColor(12, 48, 88);
    QTest::newRow("#fff") << QColor(Qt::white);
    QTest::newRow("red") << QColor(255, 0, 0);
    QTest::newRow("#123456789") << QColor(0x12, 0x45, 0x78);
    QTest::newRow("colorado") << QColor(0, 0, 0, 150);
    QTest::newRow("") << QColor(0, 0, 0, 150);
}

void ProjectJsonTest::readsColours()
{
    QFETCH(QColor, color);
    const QByteArray member
        = QByteArrayLiteral(R"("background":")") + QTest::currentDataTag() + '"';
    QCOMPARE(readLayer(member.constData()).background, color);
}

void ProjectJsonTest::readsKeysOfOtherKinds()
{
    const Layer layer
        = readLayer(R"("kind":"text","path":"/a.png","uri":"file:///b","fill":"red")");
    QCOMPARE(layer.path, QStringLiteral("/a.png"));
    QCOMPARE(layer.uri, QStringLiteral("file:///b"));
    QCOMPARE(layer.fill, QColor(255, 0, 0));
}

void ProjectJsonTest::refuses_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("reason");

    const auto version = QStringLiteral("Versión de proyecto inválida");
    const auto options = QStringLiteral("Opciones de proyecto inválidas");
    const auto project = QStringLiteral("Proyecto inválido");
    const auto row = [](const char *name, const QByteArray &json, const QString &reason) {
        QTest::newRow(name) << json << reason;
    };
    row("empty file", {}, version);
    row("array", R"([{"version":3,"gain":1}])", version);
    row("cut off", R"({"version":3,"gain":1)", version);
    row("number beyond doubles", R"({"version":3,"gain":1,"x":1e999})", version);
    row("deep", R"({"version":3,"gain":1,"x":)" + QByteArray(100'000, '['), version);
    row("no version", R"({"gain":1})", version);
    row("version 0", R"({"version":0,"gain":1})", version);
    row("version 4", R"({"version":4,"gain":1})", version);
    row("version 2.5", R"({"version":2.5,"gain":1})", version);
    row("version as text", R"({"version":"3","gain":1})", version);
    row("version before gain", R"({"version":9,"gain":900})", version);
    row("no gain", R"({"version":3})", options);
    row("gain 201", R"({"version":3,"gain":201})", options);
    row("gain -1", R"({"version":3,"gain":-1})", options);
    row("gain 99.5", R"({"version":1,"gain":99.5})", options);
    row("gain true", R"({"version":3,"gain":true})", options);
    row("gain 0", R"({"version":3,"gain":0})", {});
    row("gain 200", R"({"version":3.0,"gain":200})", {});
    const QByteArray many = QByteArrayLiteral("{},").repeated(30'000).chopped(1);
    row("as many layers as a file may hold",
        R"({"version":3,"gain":1,"scenes":[{"layers":[)" + many + "]}]}",
        {});
    row("more layers and scenes",
        R"({"version":3,"gain":1,"scenes":[{"layers":[)" + many + "]}],\"hall\":[" + many + "]}",
        project);
    row("more than 4 MiB", QByteArray(maxProjectBytes + 1, ' '), project);
}

void ProjectJsonTest::refuses()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, reason);
    QCOMPARE(refusal(json), reason);
}

void ProjectJsonTest::clampsCurrentScenes_data()
{
    QTest::addColumn<int>("current");
    QTest::newRow("1") << 1;
    QTest::newRow("-3") << 0;
    QTest::newRow("2") << 1;
    QTest::newRow("1e300") << 1;
    QTest::newRow("\"1\"") << 0;
}

void ProjectJsonTest::clampsCurrentScenes()
{
    QFETCH(int, current);
    const QByteArray number = QTest::currentDataTag();
    const Project project = fromJson(R"({"version":3,"gain":1,"scenes":[{},{}],"current":)" + number
        + R"(,"currentHall":)" + number + '}');
    QCOMPARE(project.currentStreams, current);
    QCOMPARE(project.currentHall, 0);
}

void ProjectJsonTest::cutsTheTitle()
{
    Project project;
    project.title = QString(600, QLatin1Char('t'));
    QCOMPARE(fromJson(toJson(project)).title, QString(500, QLatin1Char('t')));
    // The 500th unit is the first half of a dove.
    project.title = QString(499, QLatin1Char('t')) + QString::fromUtf8("\U0001F54A y más");
    QCOMPARE(fromJson(toJson(project)).title, QString(499, QLatin1Char('t')));
}

void ProjectJsonTest::readsVersionOne_data()
{
    QTest::addColumn<QByteArray>("members");
    QTest::addColumn<QString>("layers"); // kind:name@box, back to front

    const auto row = [](const char *members, const char *layers) {
        QTest::newRow(members) << QByteArray(members) << QString::fromUtf8(layers);
    };
    row("", "camera:Cámara@0, 0, 1 × 1");
    row(R"(,"scene":1)", "");
    row(R"(,"image":"/fotos/logo.png","media":"")",
        "camera:Cámara@0, 0, 1 × 1|image:logo.png@0.8, 0.03, 0.17 × 0.17");
    row(R"(,"scene":2,"image":"a/b.png","media":"rtmp://x/y")",
        "image:b.png@0, 0, 1 × 1|video:Video@0, 0, 1 × 1");
    row(R"(,"scenes":[{"layers":[{},{}]}],"scene":1,"media":"file:///v.mp4")",
        "video:Video@0, 0, 1 × 1");
}

void ProjectJsonTest::readsVersionOne()
{
    QFETCH(QByteArray, members);
    const Project project = fromJson(R"({"version":1,"gain":50,"vertical":true)" + members + '}');
    QCOMPARE(project.streams.size(), std::size_t { 1 });
    QCOMPARE(project.streams[0].name, QStringLiteral("Escena 1"));
    QStringList layers;
    for (const Layer &layer : project.streams[0].layers) {
        layers << wordOfKind(layer.kind) + QLatin1Char(':') + layer.name + QLatin1Char('@')
                + QString::fromUtf8(nimbara::testing::text(boxOf(layer)));
    }
    QTEST(layers.join(QLatin1Char('|')), "layers");
    QCOMPARE(project.profile, StreamProfile::Portrait);
    QVERIFY(project.hall == std::vector { defaultScene(true) });
}

NIMBARA_TEST(ProjectJsonTest)
#include "project_json_test.moc"
