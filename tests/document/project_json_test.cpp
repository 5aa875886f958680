#include "base/error.h"
#include "document/layer_geometry.h"
#include "document/project_file.h"
#include "support/contents.h"
#include "support/test_registry.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace nimbara;
using namespace nimbara::testing;

Q_DECLARE_METATYPE(Layer)

namespace {

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
    std::vector<std::pair<Layer, Layer>> layers;
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
        layers.emplace_back(layer, layer);
    }
    layers[1].first.path = QStringLiteral("/fotos/ñandú.png");
    Layer &text = layers[2].first;
    text.color = QColor(1, 2, 3, 4);
    text.background = QColor(250, 251, 252, 0);
    text.align = 66;
    text.shadow = text.bold = false;
    text.font = QStringLiteral("Noto Serif");
    text.size = 72;
    layers[3].second.uri = QStringLiteral("rtsp://camara/1");
    layers[3].second.sound = false;
    layers[5].first.fill = QColor(9, 8, 7);
    for (const auto &[one, other] : layers) {
        project.scenes.of(SceneSet::Streams).push_back(makeScene(one.name, { one, other }));
    }
    for (int i = 0; i < 2; ++i) {
        project.scenes.of(SceneSet::Hall)
            .push_back(std::make_shared<const Scene>(defaultScene(true)));
    }
    project.setCurrentPlace(SceneSet::Streams, 7);
    project.setCurrentPlace(SceneSet::Hall, 1);
    return project;
}

} // namespace

class ProjectJsonTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void projectsComeBackWhole();
    void writesTheKeysOfEachKind();
    void missingMembersTakeTheirDefaults();
    void readsLayers_data();
    void readsLayers();
    void refuses_data();
    void refuses();
    void clampsCurrentScenes();
    void cutsTheTitle();
    void readsVersionOne_data();
    void readsVersionOne();
};

void ProjectJsonTest::projectsComeBackWhole()
{
    const Project project = fullProject();
    const QByteArray json = toJson(project);
    const Project read = fromJson(json);
    QVERIFY(contents(read.streams()) == contents(project.streams()));
    QVERIFY(contents(read.hall()) == contents(project.hall()));
    QCOMPARE(toJson(read), json); // and with it the rest
    QVERIFY(read.streams()[1]->layers[0].id != read.streams()[1]->layers[1].id);
    QVERIFY(json.contains("\n    "));
    QCOMPARE(QJsonDocument::fromJson(json).object().keys().join(QLatin1Char(' ')),
        QStringLiteral("band current currentHall gain hall scenes title version vertical"));
}

void ProjectJsonTest::writesTheKeysOfEachKind()
{
    const auto style
        = QStringLiteral(" align background bold color font reference shadow size text");
    const QStringList extra { {},
        QStringLiteral(" path"),
        style,
        QStringLiteral(" sound uri"),
        {},
        QStringLiteral(" fill"),
        style,
        style };
    const QJsonObject json = QJsonDocument::fromJson(toJson(fullProject())).object();
    for (int kind = 0; kind < 8; ++kind) {
        const auto layer
            = json[QLatin1String("scenes")][kind][QLatin1String("layers")][0].toObject();
        auto keys = (QStringLiteral("cover h kind name opacity visible w x y") + extra[kind])
                        .split(QLatin1Char(' '));
        keys.sort();
        QCOMPARE(layer.keys(), keys);
        QCOMPARE(kindFromWord(layer[QLatin1String("kind")].toString()),
            static_cast<LayerKind>(kind));
    }
}

void ProjectJsonTest::missingMembersTakeTheirDefaults()
{
    const Project project = fromJson(R"({"version":2,"gain":0,"hall":[]})");
    QVERIFY(contents(project.streams()) == contents(defaultScene(false)));
    QVERIFY(contents(project.hall()) == contents(defaultScene(true)));
    QVERIFY(!project.band && project.title.isEmpty());
    QCOMPARE(project.profile, StreamProfile::Landscape);

    const auto odd = fromJson(R"({"version":3,"gain":9,"scenes":[3,{"layers":5},{"layers":[4]}],
        "hall":{"name":"x"},"band":"yes","title":12,"vertical":1})");
    QCOMPARE(odd.streams().size(), std::size_t { 3 });
    QVERIFY(
        contents(*odd.streams()[2])[0].layers == contents(*makeScene({}, { Layer() }))[0].layers);
    QVERIFY(contents(odd.hall()) == contents(project.hall()));
}

void ProjectJsonTest::readsLayers_data()
{
    QTest::addColumn<Layer>("expected");
    const auto row = [](const char *members, auto change) {
        Layer layer;
        change(layer);
        QTest::newRow(members) << layer;
    };
    const auto nothing = [](Layer &) {};
    row("", nothing);
    row(R"("kind":"lienzo","name":5,"visible":"no","opacity":"1","x":null,"w":[],"size":"9")",
        nothing);
    row(R"("bold":0,"color":7,"align":"left","font":{},"cover":1,"future":[1,{"a":2}])", nothing);
    row(R"("size":2)", [](Layer &layer) { layer.size = 8; });
    row(R"("size":1000)", [](Layer &layer) { layer.size = 400; });
    row(R"("size":-1e300,"opacity":1e300)", [](Layer &layer) { layer.size = 8; });
    row(R"("opacity":1.5)", nothing);
    row(R"("opacity":-0.5)", [](Layer &layer) { layer.opacity = 0; });
    row(R"("w":0)", nothing);
    row(R"("x":0.5,"y":0.5,"w":0.01,"h":0.5)", nothing);
    row(R"("x":0.5,"y":0.5,"w":0.5,"h":-2)", nothing);
    row(R"("x":-2.5,"w":0.011,"h":3)", [](Layer &layer) { setBox(layer, { -2.5, 0, 0.011, 3 }); });
    row(R"("x":1e308,"y":-1e308,"w":1e308)", [](Layer &layer) {
        setBox(layer, { 100, -100, 100, 1 });
    });
    row(R"("align":33)", [](Layer &layer) { layer.align = 33; });
    row(R"("align":4321)", [](Layer &layer) { layer.align = 4321 & 0xef; });
    row(R"("align":1e18)", nothing);
    row(R"("color":"#04010203")", [](Layer &layer) { layer.color = QColor(1, 2, 3, 4); });
    row(R"("color":"#0c3058","fill":"red")", [](Layer &layer) {
        layer.color = QColor(12, 48, 88);
        layer.fill = QColor(255, 0, 0);
    });
    row(R"("color":"#123456789")", [](Layer &layer) { layer.color = QColor(0x12, 0x45, 0x78); });
    row(R"("color":"colorado","background":"","fill":"#12345")", nothing);
    row(R"("path":"/a.png","uri":"file:///b","text":"t")", [](Layer &layer) {
        layer.path = QStringLiteral("/a.png");
        layer.uri = QStringLiteral("file:///b");
        layer.text = QStringLiteral("t");
    });
}

void ProjectJsonTest::readsLayers()
{
    QFETCH(Layer, expected);
    const QByteArray start(R"({"version":3,"gain":100,"scenes":[{"layers":[{)");
    const Project project = fromJson(start + QTest::currentDataTag() + "}]}]}");
    QVERIFY(contents(*project.streams()[0])[0].layers
        == contents(*makeScene({}, { expected }))[0].layers);
}

void ProjectJsonTest::refuses_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *name, const QByteArray &json, const char *reason) {
        QTest::newRow(name) << json << QString::fromUtf8(reason);
    };
    const char *const version = "Versión de proyecto inválida";
    row("empty file", {}, version);
    row("array", R"([{"version":3,"gain":1}])", version);
    row("cut off", R"({"version":3,"gain":1)", version);
    row("number beyond doubles", R"({"version":3,"gain":1,"x":1e999})", version);
    row("deep", R"({"version":3,"gain":1,"x":)" + QByteArray(100'000, '['), version);
    for (const char *value : { "0", "4", "2.5", "\"3\"", "null" }) {
        row(value, QByteArrayLiteral(R"({"gain":900,"version":)") + value + '}', version);
    }
    const char *const options = "Opciones de proyecto inválidas";
    row("no gain", R"({"version":3})", options);
    for (const char *value : { "201", "-1", "99.5", "true" }) {
        row(value, QByteArrayLiteral(R"({"version":1,"gain":)") + value + '}', options);
    }
    row("gain 0", R"({"version":3,"gain":0})", "");
    row("gain 200", R"({"version":3.0,"gain":200})", "");
    const QByteArray many = R"({"version":3,"gain":1,"scenes":[{"layers":[)"
        + QByteArrayLiteral("{},").repeated(30'000).chopped(1) + "]}]";
    row("as many layers as a file may hold", many + '}', "");
    row("more layers and scenes",
        many + R"(,"hall":[)" + QByteArrayLiteral("{},").repeated(30'000) + "{}]}",
        "Proyecto inválido");
    row("more than 4 MiB", QByteArray(maxProjectBytes + 1, ' '), "Proyecto inválido");
}

void ProjectJsonTest::refuses()
{
    QFETCH(QByteArray, json);
    QTEST(refusal(json), "reason");
}

void ProjectJsonTest::clampsCurrentScenes()
{
    using Row = std::pair<const char *, int>;
    for (const auto &[number, current] :
        { Row("1", 1), Row("-3", 0), Row("1e300", 1), Row("[]", 0) }) {
        const QByteArray start(
            R"({"version":3,"gain":1,"hall":[{},{}],"current":7,"currentHall":)");
        const Project project = fromJson(start + number + '}');
        QCOMPARE(project.currentPlace(SceneSet::Hall), static_cast<std::size_t>(current));
        QCOMPARE(project.currentPlace(SceneSet::Streams), 0U);
    }
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
    QTest::addColumn<QString>("layers"); // kind:name at x and w, back to front
    const auto row = [](const char *members, const char *layers) {
        QTest::newRow(members) << QString::fromUtf8(layers);
    };
    row("", "camera:Cámara 0 1");
    row(R"(,"scene":1)", "");
    row(R"(,"image":"/fotos/logo.png","media":"")", "camera:Cámara 0 1|image:logo.png 0.8 0.17");
    row(R"(,"scene":2,"image":"a/b.png","media":"rtmp://x/y")", "image:b.png 0 1|video:Video 0 1");
    row(R"(,"scenes":[{"layers":[{}]}],"scene":1,"media":"file:///v.mp4")", "video:Video 0 1");
}

void ProjectJsonTest::readsVersionOne()
{
    const QByteArray start(R"({"version":1,"gain":50,"vertical":true)");
    const Project project = fromJson(start + QTest::currentDataTag() + '}');
    QCOMPARE(project.streams().size(), std::size_t { 1 });
    QStringList layers;
    for (const Layer &layer : project.streams()[0]->layers) {
        layers << QStringLiteral("%1:%2 %3 %4")
                      .arg(wordOfKind(layer.kind), layer.name)
                      .arg(layer.x)
                      .arg(layer.w);
    }
    QTEST(layers.join(QLatin1Char('|')), "layers");
    QCOMPARE(project.profile, StreamProfile::Portrait);
    QVERIFY(contents(project.hall()) == contents(defaultScene(true)));
}

NIMBARA_TEST(ProjectJsonTest)
#include "project_json_test.moc"
