#include "document/layer_geometry.h"
#include "document/project_file.h"
#include "document/text_styles.h"
#include "support/contents.h"
#include "support/error_of.h"
#include "support/test_registry.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

Project fullProject()
{
    Project project;
    project.profile = StreamProfile::Portrait;
    project.band = true;
    project.title = QString::fromUtf8("Culto de «Pascua» \U0001F54A\n\"2\"");
    project.gain = 137;
    project.videoKbits = 4500;
    project.terms = { { u"Halvenmoor"_s, {}, {} },
        { u"Santa Cena"_s, u"the Lord's Supper"_s, u"English"_s } };
    std::array<Layer, 9> layers;
    for (int kind = 0; kind < 9; ++kind) {
        Layer &layer = layers.at(static_cast<std::size_t>(kind))
            = newLayer(static_cast<LayerKind>(kind));
        layer.name = u"capa %1"_s.arg(kind);
        layer.x = 0.1 + kind / 3.0;
        layer.opacity = 1.0 / 3;
        layer.visible = kind % 2 == 0;
        layer.cover = kind % 2 == 1;
    }
    layers[1].path = u"/fotos/ñandú.png"_s;
    layers[2].color = QColor(1, 2, 3, 4);
    layers[2].background = QColor(250, 251, 252, 0);
    layers[2].align = 66;
    layers[2].shadow = layers[2].bold = false;
    layers[2].font = u"Noto Serif"_s;
    layers[2].size = 72;
    layers[3].uri = u"rtsp://camara/1"_s;
    layers[3].sound = false;
    layers[5].fill = QColor(9, 8, 7);
    for (const Layer &layer : layers) {
        project.scenes.of(SceneSet::Streams).push_back(makeScene(layer.name, { layer, layer }));
    }
    const auto hall = std::make_shared<const Scene>(defaultScene(true));
    project.scenes.of(SceneSet::Hall) = { hall, hall };
    project.setCurrentPlace(SceneSet::Streams, 7);
    project.setCurrentPlace(SceneSet::Hall, 1);
    return project;
}

/// Damages the files of a corpus.
class Damage {
public:
    explicit Damage(QList<QByteArray> corpus)
        : m_corpus(std::move(corpus))
    {
    }
    QByteArray next()
    {
        QByteArray file = oneOf(m_corpus);
        for (qsizetype steps = below(5); steps > 0; --steps) {
            mutate(file, below(file.size() + 1));
        }
        if (below(500) == 0) { // to the largest size that is read
            const QByteArray seed = oneOf(m_seeds);
            file.insert(file.indexOf('[', below(file.size() + 1)) + 1,
                seed.repeated((maxProjectBytes - file.size()) / seed.size() - 64));
        }
        return file.left(maxProjectBytes);
    }

private:
    qsizetype below(qsizetype bound) { return static_cast<qsizetype>(m_random()) % bound; }
    QByteArray oneOf(const QList<QByteArray> &list) { return list.at(below(list.size())); }
    void mutate(QByteArray &file, qsizetype place)
    {
        const qsizetype length = below(64);
        const qsizetype colon = file.indexOf(':', place);
        const QByteArray pieces[] { QByteArray(1, static_cast<char>(below(256))),
            file.mid(below(file.size() + 1), length * 8),
            QByteArray("[{\"\\,0]}").mid(length % 7, 1).repeated(length * 40),
            {} };
        if (const qsizetype kind = below(20); kind == 0) {
            file = file.left(place) + oneOf(m_corpus).mid(place + length);
        } else if (kind <= 4) {
            file.replace(place, kind == 4 ? length : 0, pieces[kind - 1]);
        } else if (colon >= 0) { // another value: more often than not it stays a document
            const qsizetype end = file.indexOf(',', colon);
            file.replace(colon + 1, end < 0 ? 1 : end - colon - 1, oneOf(m_values));
        }
    }

    const QList<QByteArray> m_values = QByteArray(
        R"(0 -1 -0 4 0.01 1e308 -1e308 1e999 NaN 2147483648 -9223372036854775809 99.5 null true [] {}
[[]] "" "#12345678" "#g" "\ud800" "\u0000" "subtitle" "image" {"layers":[{}]} [{"layers":[{},7]}])")
                                           .simplified()
                                           .split(' ');
    const QList<QByteArray> m_seeds
        = QByteArray(R"({}, [], 0, {"layers":[{},{}]}, [[{}]],)").split(' ');
    QList<QByteArray> m_corpus;
    std::mt19937 m_random { 1 };
};

bool isSound(const Project &project, SceneSet set)
{
    const auto within = [](double value) { return std::abs(value) <= maxBoxReach; };
    bool sound = project.currentPlace(set) < project.scenes.of(set).size();
    for (const ScenePtr &scene : project.scenes.of(set)) {
        for (const Layer &layer : scene->layers) {
            sound = sound && within(layer.x) && within(layer.y) && within(layer.w)
                && within(layer.h) && layer.w > 0.01 && layer.h > 0.01 && layer.opacity >= 0
                && layer.opacity <= 1 && layer.size >= Layer::minSize
                && layer.size <= Layer::maxSize && layer.color.isValid()
                && layer.background.isValid() && layer.fill.isValid()
                && !displayName(layer.kind).isEmpty();
        }
    }
    return sound;
}

} // namespace

class ProjectJsonTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void projectsComeBackWhole()
    {
        const Project project = fullProject();
        const QByteArray json = toJson(project);
        const Project read = fromJson(json);
        QVERIFY(contents(read.streams()) == contents(project.streams()));
        QVERIFY(contents(read.hall()) == contents(project.hall()));
        QCOMPARE(read.terms, project.terms);
        QCOMPARE(toJson(read), json); // and with it the rest
        QVERIFY(read.streams()[1]->layers[0].id != read.streams()[1]->layers[1].id);
        QVERIFY(json.contains("\n    "));
        QCOMPARE(QJsonDocument::fromJson(json).object().keys().join(u' '),
            u"band current currentHall gain glossary hall scenes title version vertical videoKbits"_s);
    }

    void writesTheKeysOfEachKind()
    {
        const auto style = u" align background bold color font reference shadow size text"_s;
        const QStringList extra { {},
            u" path"_s,
            style,
            u" sound uri"_s,
            {},
            u" fill"_s,
            style,
            style,
            u" countdown"_s + style };
        const QJsonObject json = QJsonDocument::fromJson(toJson(fullProject())).object();
        for (int kind = 0; kind < 9; ++kind) {
            const auto layer = json["scenes"_L1][kind]["layers"_L1][0].toObject();
            auto keys = (u"cover h kind name opacity visible w x y"_s + extra[kind]).split(u' ');
            keys.sort();
            QCOMPARE(layer.keys(), keys);
            QCOMPARE(kindFromWord(layer["kind"_L1].toString()), static_cast<LayerKind>(kind));
        }
        Layer verse = newLayer(LayerKind::Verse);
        verse.paged = false;
        verse.locked = true;
        verse.smallest = 75;
        verse.page = 2;
        verse.numbers = verse_numbers::raised;
        verse.referencePlace = reference_place::hidden;
        verse.second = u"KJV"_s;
        verse.secondText = u"For God"_s;
        verse.secondReference = u"John 3:16 · King James Version"_s;
        verse.arrangement = arrange::beside;
        verse.shows = shown_bibles::second;
        verse.spacing = 130;
        verse.outlineWidth = 0;
        verse.shadowStrength = 200;
        Layer clock = newLayer(LayerKind::Clock);
        clock.clockShows = clock_shows::duration;
        clock.upperCase = true;
        clock.untilMinute = 0;
        clock.duration = 3661;
        clock.text = u"¡Ya!"_s;
        clock.style = u"Reloj"_s;
        Project paged = newProject();
        paged.scenes.styles = { { u"Reloj"_s, lookOf(clock) }, { u"Otro"_s, lookOf(verse) } };
        Layer camera = newLayer(LayerKind::Camera);
        camera.uri = uR"({"name":"Coro","twin":true})"_s;
        Layer network = newLayer(LayerKind::Video);
        network.uri = u"srt://encoder:9000"_s;
        network.latency = 900;
        Layer subtitle = newLayer(LayerKind::Subtitle);
        subtitle.language = caption_language::second;
        paged.scenes.of(SceneSet::Hall)
            = { makeScene({}, { verse, camera, network, subtitle, clock }) };
        paged.verseStyle = verseStyleOf(verse);
        paged.passages = { { u"Juan 3:16"_s, u"Porque de tal manera"_s }, { u"Salmos 23"_s, {} } };
        const Project read = fromJson(toJson(paged));
        QVERIFY(contents(read.hall()) == contents(paged.hall()));
        QVERIFY(read.verseStyle == paged.verseStyle);
        QVERIFY(read.scenes.styles == paged.scenes.styles);
        QVERIFY(read.passages == paged.passages);
        QVERIFY(!QJsonDocument::fromJson(toJson(newProject())).object().contains(u"passages"));
    }

    void missingMembersTakeTheirDefaults()
    {
        const Project project = fromJson(R"({"version":2,"gain":0,"hall":[]})");
        QVERIFY(contents(project.streams()) == contents(defaultScene(false)));
        QVERIFY(contents(project.hall()) == contents(defaultScene(true)));
        QVERIFY(!project.band && project.title.isEmpty());
        QCOMPARE(project.profile, StreamProfile::Landscape);

        const auto odd = fromJson(R"({"version":3,"gain":9,"scenes":[3,{"layers":5},{"layers":[4]}],
            "hall":{"name":"x"},"band":"yes","title":12,"vertical":1})");
        QCOMPARE(odd.streams().size(), std::size_t { 3 });
        QVERIFY(contents(*odd.streams()[2])[0].layers
            == contents(*makeScene({}, { Layer() }))[0].layers);
        QVERIFY(contents(odd.hall()) == contents(project.hall()));
    }

    /// A style that is named twice, or not at all, and a layer that looks otherwise than its style.
    void stylesAreReadAsOneEach()
    {
        const Project read = fromJson(R"({"version":3,"gain":1,
            "styles":[{"name":" A ","size":70,"style":"B"},{"name":"A","size":71},{"name":""},7],
            "scenes":[{"layers":[{"kind":"text","style":"A","size":9},
                                 {"kind":"text","style":"B","size":9}]}]})");
        QCOMPARE(read.scenes.styles.size(), 1U);
        QCOMPARE(read.scenes.styles[0].name, u"A"_s);
        QCOMPARE(read.scenes.styles[0].look.size, 70);
        const std::vector<Layer> &layers = read.streams()[0]->layers;
        QCOMPARE(layers[0].size, 70);
        QCOMPARE(layers[1].size, 9);
        QVERIFY(layers[1].style.isEmpty());
    }

    /// A countdown that was copied into the hall is started for both, also after the file is
    /// opened.
    void sharedCountdownsStayShared()
    {
        Layer shared = newLayer(LayerKind::Clock);
        const Layer alone = newLayer(LayerKind::Clock);
        Project project = newProject();
        project.scenes.of(SceneSet::Streams) = { makeScene({}, { alone, shared }) };
        shared.id = LayerId::make();
        project.scenes.of(SceneSet::Hall) = { makeScene({}, { shared }) };
        QCOMPARE(toJson(project).count("countdown"), 2);
        const Project read = fromJson(toJson(project));
        const std::vector<Layer> &streams = read.streams()[0]->layers;
        QVERIFY(streams[1].source == read.hall()[0]->layers[0].source);
        QVERIFY(streams[0].source != streams[1].source && streams[1].source != shared.source);
    }

    void transitionsAreWrittenWhereTheyAreChosen()
    {
        Project project = newProject();
        QVERIFY(!toJson(project).contains("ransition"));
        project.transition = { TransitionKind::WipeUp, 1500 };
        project.hallTransitions = true;
        project.transitionClip = { u"/culto/clips/ola.webm"_s, 350 };
        Scene scene = *project.hall().front();
        scene.transition = plainCut;
        project.scenes.of(SceneSet::Hall).push_back(std::make_shared<const Scene>(scene));
        const Project read = fromJson(toJson(project));
        QVERIFY(read.transition == project.transition && read.hallTransitions);
        QVERIFY(contents(read.hall()) == contents(project.hall()));

        QVERIFY(read.transitionClip == project.transitionClip);
        QVERIFY(toJson(project, u"/culto"_s).contains(R"("relativePath": "clips/ola.webm")"));

        const Transition usual;
        for (const auto &[json, wanted] : { std::pair { R"("fade")", usual },
                 { R"({"ms":900})", usual },
                 { R"({"kind":"whirl","ms":900})", usual },
                 { R"({"kind":"slide-left"})", Transition { TransitionKind::SlideLeft, 400 } },
                 { R"({"kind":"cut","ms":"x"})", plainCut },
                 { R"({"kind":"fade","ms":1e9})", Transition { TransitionKind::Fade, 3000 } },
                 { R"({"kind":"fade","ms":-5})", Transition { TransitionKind::Fade, 100 } } }) {
            const RowName named(json);
            const Project odd = fromJson(QByteArray(R"({"version":3,"gain":1,"transition":)") + json
                + R"(,"scenes":[{"transition":)" + json + "}]}");
            QVERIFY(odd.transition == wanted);
            QVERIFY(odd.streams()[0]->transition.value_or(usual) == wanted);
        }
    }

    void readsLayers()
    {
        const auto nothing = [](Layer &) {};
        const auto box = [](Box at) { return [=](Layer &layer) { setBox(layer, at); }; };
        const auto smallest = [](Layer &layer) { layer.size = Layer::minSize; };
        const std::pair<const char *, std::function<void(Layer &)>> rows[] {
            { "{}", nothing },
            { R"({"kind":"lienzo","name":5,"visible":"no","opacity":"1","x":null,"w":[]})",
                nothing },
            { R"({"bold":0,"color":7,"align":"left","font":{},"cover":1,"size":"9"})", nothing },
            { R"({"future":[1,{"a":2}]})", nothing },
            { R"({"size":2})", smallest },
            { R"({"paged":false,"smallest":4,"page":-1})",
                [](auto &layer) { layer.paged = false, layer.smallest = 20; } },
            { R"({"paged":3,"smallest":170,"page":7})",
                [](auto &layer) { layer.smallest = 100, layer.page = 7; } },
            { R"({"numbers":9,"arrangement":-1,"shows":"x","referencePlace":2,"second":4})",
                [](auto &layer) { layer.numbers = 2, layer.referencePlace = 2; } },
            { R"({"size":1000})", [](auto &layer) { layer.size = 400; } },
            { R"({"size":-1e300,"opacity":1e300})", smallest },
            { R"({"opacity":1.5})", nothing },
            { R"({"opacity":-0.5})", [](auto &layer) { layer.opacity = 0; } },
            { R"({"w":0})", nothing },
            { R"({"x":0.5,"y":0.5,"w":0.01,"h":0.5})", nothing },
            { R"({"x":0.5,"y":0.5,"w":0.5,"h":-2})", nothing },
            { R"({"x":-2.5,"w":0.011,"h":3})", box({ -2.5, 0, 0.011, 3 }) },
            { R"({"x":1e308,"y":-1e308,"w":1e308})", box({ 100, -100, 100, 1 }) },
            { R"({"align":33})", [](auto &layer) { layer.align = 33; } },
            { R"({"align":4321})", [](auto &layer) { layer.align = 4321 & 0xef; } },
            { R"({"align":1e18})", nothing },
            { "{\"color\":\"#04010203\"}", [](auto &layer) { layer.color = QColor(1, 2, 3, 4); } },
            { "{\"color\":\"#0c3058\"}", [](auto &layer) { layer.color = QColor(12, 48, 88); } },
            { "{\"color\":\"#123456789\"}", [](auto &layer) { layer.color = 0xff124578; } },
            { R"({"fill":"red"})", [](auto &layer) { layer.fill = Qt::red; } },
            { "{\"color\":\"colorado\",\"background\":\"\",\"fill\":\"#12345\"}", nothing },
            { R"({"path":"/a.png"})", [](auto &layer) { layer.path = u"/a.png"_s; } },
            { R"({"kind":"video","uri":"file:b"})",
                [](auto &layer) { layer.kind = LayerKind::Video, layer.uri = u"file:b"_s; } },
            { R"({"latency":900})", [](auto &layer) { layer.latency = 900; } },
            { R"({"latency":50})", [](auto &layer) { layer.latency = 100; } },
            { R"({"device":{"path":"1","name":"A"}})",
                [](auto &layer) { layer.uri = uR"({"name":"A","path":"1"})"_s; } },
            { R"({"device":"A","uri":"file:b"})", nothing },
            { R"({"spacing":4,"upperCase":1,"style":"x","clock":9,"untilMinute":-3,"duration":0})",
                [](auto &layer) {
                    layer.spacing = 50, layer.clockShows = 3, layer.untilMinute = 0;
                    layer.duration = 1;
                } },
            { R"({"spacing":1e9,"untilMinute":1440,"duration":1e12})",
                [](auto &layer) {
                    layer.spacing = 300, layer.untilMinute = 1439, layer.duration = 86'399;
                } },
            { R"({"outlineWidth":-1,"shadowStrength":201})",
                [](auto &layer) { layer.outlineWidth = 0, layer.shadowStrength = 200; } },
            { R"({"outlineWidth":"9","shadowStrength":null})", nothing },
            { R"({"text":"t"})", [](auto &layer) { layer.text = u"t"_s; } },
        };
        const QByteArray start(R"({"version":3,"gain":100,"scenes":[{"layers":[)");
        for (const auto &[members, change] : rows) {
            const RowName named(members);
            Layer expected;
            change(expected);
            const Project project = fromJson(start + members + "]}]}");
            QVERIFY(contents(*project.streams()[0])[0].layers
                == contents(*makeScene({}, { expected }))[0].layers);
        }
    }

    void refuses()
    {
        const char *const version = "Versión de proyecto inválida";
        const char *const options = "Opciones de proyecto inválidas";
        const char *const whole = "Proyecto inválido";
        const QByteArray start = R"({"version":3,"gain":1,"scenes":[{"layers":[)";
        const QByteArray many = start + QByteArray("{},").repeated(30'000).chopped(1) + "]}]";
        const QByteArray more = QByteArray(R"(,"hall":[)") + QByteArray("{},").repeated(30'000);
        std::vector<std::pair<QByteArray, const char *>> rows {
            { "", version },
            { R"([{"version":3,"gain":1}])", version },
            { R"({"version":3,"gain":1)", version },
            { R"({"version":3,"gain":1,"x":1e999})", version },
            { R"({"version":3,"gain":1,"x":)" + QByteArray(100'000, '['), version },
            { R"({"version":3})", options },
            { R"({"version":3,"gain":0})", "" },
            { R"({"version":3.0,"gain":200})", "" },
            { many + '}', "" }, // as many layers as a file may hold
            { many + more + "{}]}", whole },
            { QByteArray(maxProjectBytes + 1, ' '), whole },
        };
        for (const QByteArray value : { "0", "4", "2.5", "\"3\"", "null" }) {
            rows.emplace_back(R"({"gain":900,"version":)" + value + '}', version);
        }
        for (const QByteArray value : { "201", "-1", "99.5", "true" }) {
            rows.emplace_back(R"({"version":1,"gain":)" + value + '}', options);
        }
        for (const auto &[json, reason] : rows) {
            const RowName named(json.left(40));
            QCOMPARE(errorOf([&] { return fromJson(json); }), QString::fromUtf8(reason));
        }
    }

    void clampsCurrentScenes()
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

    void cutsTheTitle()
    {
        Project project;
        project.title = QString(600, u't');
        QCOMPARE(fromJson(toJson(project)).title, QString(500, u't'));
        // The 500th unit is the first half of a dove.
        project.title = QString(499, u't') + QString::fromUtf8("\U0001F54A y más");
        QCOMPARE(fromJson(toJson(project)).title, QString(499, u't'));
    }

    void readsVersionOne()
    {
        for (const auto &[members, wanted] : { // kind:name at x and w, back to front
                 std::pair { "}", "camera:Cámara 0 1" },
                 { R"(,"scene":1})", "" },
                 { R"(,"image":"/a/b.png","media":""})", "camera:Cámara 0 1|image:b.png 0.8 0.17" },
                 { R"(,"scene":2,"image":"b","media":"a:b"})", "image:b 0 1|video:Video 0 1" },
                 { R"(,"scenes":[{"layers":[{}]}],"scene":1,"media":"a:b"})",
                     "video:Video 0 1" } }) {
            const RowName named(members);
            const QByteArray start(R"({"version":1,"gain":50,"vertical":true)");
            const Project project = fromJson(start + members);
            QCOMPARE(project.streams().size(), std::size_t { 1 });
            QStringList layers;
            for (const Layer &layer : project.streams()[0]->layers) {
                const QString name = wordOfKind(layer.kind) + u':' + layer.name;
                layers << u"%1 %2 %3"_s.arg(name).arg(layer.x).arg(layer.w);
            }
            QCOMPARE(layers.join(u'|'), QString::fromUtf8(wanted));
            QCOMPARE(project.profile, StreamProfile::Portrait);
            QVERIFY(contents(project.hall()) == contents(defaultScene(true)));
        }
    }

    /// A short run; the same files each time. NIMBARA_FUZZ_FILES: how many, for a long one.
    void survivesDamagedFiles()
    {
        QList<QByteArray> corpus { toJson(fullProject()) };
        for (const auto &file : QDir(QStringLiteral(NIMBARA_CORPUS)).entryInfoList(QDir::Files)) {
            corpus << readProjectFile(file.filePath());
        }
        QVERIFY(corpus.size() > 4);
        Damage damage(corpus);
        const int files = qEnvironmentVariable("NIMBARA_FUZZ_FILES", u"3000"_s).toInt();
        int accepted = 0;
        for (int i = 0; i < files; ++i) {
            const RowName named("file " + QByteArray::number(i));
            const QByteArray file = damage.next();
            try {
                const Project project = fromJson(file);
                ++accepted;
                QVERIFY(isSound(project, SceneSet::Streams) && isSound(project, SceneSet::Hall));
                QVERIFY(project.gain >= 0 && project.gain <= Project::maxGain);
                QVERIFY(project.title.size() <= Project::maxTitle);
                const QByteArray written = toJson(project);
                QVERIFY(written.size() > maxProjectBytes || toJson(fromJson(written)) == written);
            } catch (const Error &error) {
                QVERIFY(!error.text().isEmpty());
            }
        }
        QVERIFY2(accepted > files / 20, "broken files alone test nothing beyond the parser");
    }
};

NIMBARA_TEST(ProjectJsonTest)
#include "project_json_test.moc"
