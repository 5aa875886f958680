#include "document/layer_geometry.h"
#include "document/layer_group.h"
#include "document/profile.h"
#include "document/project.h"
#include "support/contents.h"
#include "support/error_of.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// Stream scenes of these names, one layer each.
SceneSets scenesOf(const QString &names)
{
    SceneSets sets = newProject().scenes;
    sets.of(SceneSet::Streams).clear();
    for (const QString &name : names.split(u',')) {
        sets.of(SceneSet::Streams).push_back(makeScene(name, { newLayer(LayerKind::Text) }));
    }
    return sets;
}

template <typename Items> QString namesOf(const Items &items)
{
    QStringList names;
    for (const auto &item : items) {
        names << item.name;
    }
    return names.join(u',');
}

QString streams(const SceneSets &sets)
{
    return namesOf(contents(sets.of(SceneSet::Streams)));
}

QString refusal(const SceneSets &sets, const Edit &edit)
{
    return errorOf([&] { return applied(sets, edit); });
}

} // namespace

class EditsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void kindsGoThroughTheirWords()
    {
        const auto words
            = u"camera image text video screen color verse subtitle clock"_s.split(u' ');
        const auto names
            = u"Cámara,Imagen,Texto,Video,Pantalla,Color,Versículo,Subtítulos (IA),Reloj"_s.split(
                u',');
        for (int i = 0; i < 9; ++i) {
            const auto kind = static_cast<LayerKind>(i);
            QCOMPARE(wordOfKind(kind), words[i]);
            QCOMPARE(kindFromWord(words[i]), kind);
            QCOMPARE(displayName(kind), names[i]);
        }
        QCOMPARE(kindFromWord(u"Camera "_s), LayerKind::Camera);
        QCOMPARE(wordOfKind(static_cast<LayerKind>(9)), u"camera"_s);
        QVERIFY(displayName(static_cast<LayerKind>(-1)).isEmpty());
    }

    void horizontalEditsKeepTheVerticalBits()
    {
        const int rows[][4] { { 132, 1, 0, 129 },
            { 33, 0, 1, 36 },
            { 66, 2, 2, 66 },
            { 72, 0, 2, 66 } };
        for (const auto &[bits, shown, chosen, result] : rows) {
            QCOMPARE(static_cast<int>(horizontalAlign(bits)), shown);
            QCOMPARE(withHorizontalAlign(bits, static_cast<HorizontalAlign>(chosen)), result);
        }
    }

    void scenesComeGoAndAreNamed()
    {
        const SceneSets sets = scenesOf(u"a,Culto,z"_s);
        const Scenes &all = sets.of(SceneSet::Streams);
        QCOMPARE(proposedSceneName(sets, SceneSet::Streams), u"Escena 4"_s);
        const DuplicateScene twin { all[1]->id };
        const SceneSets copied = applied(sets, twin);
        QCOMPARE(streams(copied), u"a,Culto,Culto copia,z"_s);
        const Scene &copy = *copied.of(SceneSet::Streams)[2];
        QVERIFY(copy.id == twin.copy && copy.layers[0].id != all[1]->layers[0].id);
        QVERIFY(copy.layers[0].source == all[1]->layers[0].source); // a video plays on in both
        QVERIFY(copied.of(SceneSet::Streams)[0] == all[0]); // the others are shared
        QCOMPARE(streams(applied(sets, RenameScene { all[0]->id, u" Final "_s })),
            u"Final,Culto,z"_s);
        QVERIFY(applied(sets, RenameScene { all[0]->id, u" \t"_s }) == sets);
        QCOMPARE(streams(applied(sets, DeleteScene { all[0]->id })), u"Culto,z"_s);
        QVERIFY(applied(sets, DeleteScene { SceneId::make() }) == sets);
        for (const auto &[scene, place, after] : { std::tuple { 0, 2, "Culto,z,a" },
                 { 0, 9, "Culto,z,a" },
                 { 2, 0, "z,a,Culto" },
                 { 2, -1, "z,a,Culto" },
                 { 1, 1, "a,Culto,z" } }) {
            QCOMPARE(streams(applied(sets, MoveScene { all[scene]->id, place })),
                QLatin1String(after));
        }
        QVERIFY(applied(sets, MoveScene { SceneId::make(), 0 }) == sets);
        const SceneSets only = scenesOf(u"Única"_s);
        QCOMPARE(refusal(only, DeleteScene { only.of(SceneSet::Streams)[0]->id }),
            u"Debe quedar al menos una escena"_s);
        QCOMPARE(streams(sets), u"a,Culto,z"_s); // none of it changed the first value
    }

    void aSceneGoesOnAirAsItOrTheProjectSays()
    {
        const Transition wipe { TransitionKind::WipeLeft, 1000 };
        const Transition fade { TransitionKind::Fade, 1000 };
        Project project = newProject();
        project.transition = wipe;
        const auto own = [&](std::optional<Transition> transition) {
            const SetSceneTransition edit { project.hall()[0]->id, transition };
            project.scenes = applied(project.scenes, edit);
            return project.hall()[0];
        };
        const auto hall
            = [&](const ScenePtr &scene) { return transitionTo(project, SceneSet::Hall, *scene); };
        QVERIFY(transitionTo(project, SceneSet::Streams, *project.streams()[0]) == wipe);
        QVERIFY(transitionToBlack(project, SceneSet::Streams) == fade);
        QVERIFY(
            hall(own({})) == plainCut && transitionToBlack(project, SceneSet::Hall) == plainCut);
        QVERIFY(hall(own(Transition { TransitionKind::Fade, 9999 })).ms == Transition::longestMs);
        project.hallTransitions = true;
        QVERIFY(hall(own({})) == wipe && transitionToBlack(project, SceneSet::Hall) == fade);
        const ScenePtr clip = own(Transition { TransitionKind::Clip, 1000 });
        QVERIFY(hall(clip) == fade); // there is none
        project.transitionClip.path = u"/a.webm"_s;
        QVERIFY(hall(clip).kind == TransitionKind::Clip);
        own({});
        const SceneSets before = project.scenes;
        own({});
        QVERIFY(project.scenes == before); // the very same
    }

    void addedLayersAreNamedInFront()
    {
        SceneSets sets = scenesOf(u"a"_s);
        const SceneId scene = sets.of(SceneSet::Streams)[0]->id;
        for (const Layer &layer : { newLayer(LayerKind::Subtitle),
                 newLayer(LayerKind::Screen),
                 videoLayer(u"file:///videos/Himno%20final.mp4"_s),
                 videoLayer(u"rtsp://camara/1"_s) }) {
            sets = applied(sets, AddLayer { scene, layer });
        }
        QCOMPARE(namesOf(sets.of(SceneSet::Streams)[0]->layers).section(u',', 1),
            u"Subtítulos (IA),Pantalla 3,Himno final.mp4,rtsp://camara/1"_s);
        const LayerId subtitle = sets.of(SceneSet::Streams)[0]->layers[1].id;
        sets = applied(sets, SetField { subtitle, LayerField::Visible, false });
        QCOMPARE(refusal(sets, AddLayer { scene, newLayer(LayerKind::Subtitle) }),
            u"Esta escena ya tiene una fuente de subtítulos."_s);
    }

    void layersMoveAndGoByTheirId()
    {
        Layer layers[3];
        for (int i = 0; i < 3; ++i) {
            layers[i].name = QChar(u'a' + i);
        }
        SceneSets sets = newProject().scenes;
        sets.of(SceneSet::Hall) = { makeScene({}, { layers[0], layers[1], layers[2] }) };
        const auto names = [&] { return namesOf(sets.of(SceneSet::Hall)[0]->layers); };
        QVERIFY(applied(sets, MoveLayer { layers[2].id, 1 }) == sets); // already in front
        QVERIFY(applied(sets, MoveLayer { layers[0].id, -1 }) == sets); // already at the back
        QVERIFY(applied(sets, MoveLayer { LayerId::make(), 1 }) == sets);
        sets = applied(sets, MoveLayer { layers[0].id, 1 });
        QCOMPARE(names(), u"b,a,c"_s);
        sets = applied(sets, DeleteLayer { layers[1].id });
        QCOMPARE(names(), u"a,c"_s);
        QVERIFY(applied(sets, DeleteLayer { layers[1].id }) == sets);
        QVERIFY(applied(sets, SetField { layers[1].id, LayerField::Name, u"x"_s }) == sets);
    }

    void groupsOfLayersAreOrdered()
    {
        std::vector<Layer> layers(5);
        for (std::size_t i = 0; i < 5; ++i) {
            layers[i].id = LayerId::make();
            layers[i].name = QChar(u'a' + char16_t(i));
        }
        SceneSets sets = newProject().scenes;
        sets.of(SceneSet::Hall) = { makeScene({}, layers) };
        const Scene &scene = *sets.of(SceneSet::Hall)[0];
        const auto ids = [&](const QString &names) {
            LayerIds found;
            for (const QChar name : names) {
                found.push_back(layers[std::size_t(name.unicode() - u'a')].id);
            }
            return found;
        };
        const auto after = [&](const std::vector<Edit> &edits) {
            SceneSets result = sets;
            for (const Edit &edit : edits) {
                result = applied(result, edit);
            }
            return namesOf(result.of(SceneSet::Hall)[0]->layers).remove(u',');
        };
        for (const auto &[actual, expected] :
            { std::pair { after({ PlaceLayers { ids(u"db"_s), 3 } }), "acebd" },
                { after({ PlaceLayers { ids(u"b"_s), 0 } }), "bacde" },
                { after({ PlaceLayers { ids(u"ac"_s), 99 } }), "bdeac" },
                { after({ PlaceLayers { ids(u"c"_s), 2 } }), "abcde" },
                { after({ PlaceLayers { { LayerId::make() }, 0 } }), "abcde" },
                { after(shifted(scene, ids(u"bd"_s), 1)), "acbed" },
                { after(shifted(scene, ids(u"ab"_s), -1)), "abcde" },
                { after(shifted(scene, ids(u"be"_s), -1)), "baced" },
                { after(removed(ids(u"ace"_s))), "bd" } }) {
            QCOMPARE(actual, QLatin1String(expected));
        }
        QVERIFY(applied(sets, PlaceLayers { ids(u"c"_s), 2 }) == sets);
    }

    void aGroupIsSwitchedAndCopiedAsOne()
    {
        Scene scene;
        scene.layers = { newLayer(LayerKind::Subtitle), newLayer(LayerKind::Text) };
        scene.layers[1].visible = false;
        const LayerIds all { scene.layers[0].id, scene.layers[1].id };
        const auto isOn = [&] {
            return std::get<bool>(
                std::get<SetField>(switched(scene, all, LayerField::Visible).back()).value);
        };
        QVERIFY(isOn()); // one is hidden: all are shown
        scene.layers[1].visible = true;
        QVERIFY(!isOn());
        QCOMPARE(layersOf(scene, { all[1], LayerId::make(), all[0] }).front().kind,
            LayerKind::Subtitle);
        const LayerCopies copies = copiedTo(scene, scene.layers);
        QVERIFY(copies.leftOut && copies.made.size() == 1);
        QVERIFY(copies.made.front() != all[1]);
        QCOMPARE(copiedTo({}, scene.layers).made.size(), 2U);
    }

    void fieldsTakeValuesOfTheirTypeAlone()
    {
        const SceneSets sets = scenesOf(u"a"_s);
        const LayerId id = sets.of(SceneSet::Streams)[0]->layers[0].id;
        const auto with = [&](LayerField field, const FieldValue &value) {
            return *findLayer(applied(sets, SetField { id, field, value }), id);
        };
        QCOMPARE(boxOf(with(LayerField::Box, Box { 0.1, 0.2, 0.3, 0.4 })),
            (Box { 0.1, 0.2, 0.3, 0.4 }));
        QCOMPARE(with(LayerField::Background, QColor(1, 2, 3, 4)).background, QColor(1, 2, 3, 4));
        QCOMPARE(with(LayerField::Fill, QColor(9, 8, 7)).fill, QColor(9, 8, 7));
        QCOMPARE(with(LayerField::Opacity, 0.5).opacity, 0.5);
        QVERIFY(applied(sets, SetField { id, LayerField::Size, u"72"_s }) == sets);
        QVERIFY(applied(sets, SetField { id, LayerField::Visible, true }) == sets); // as it was
        QVERIFY(applied(sets, SetVerse { id, u"v"_s, u"r"_s, {} }) == sets); // no verse layer
        QCOMPARE(with(LayerField::Smallest, std::int32_t { 70 }).smallest, 70);
        QCOMPARE(with(LayerField::Page, std::int32_t { 2 }).page, 2);
    }

    /// One that is changed, kept anew or removed reaches every layer that follows it, and no other.
    void stylesReachWhatFollowsThem()
    {
        SceneSets sets = scenesOf(u"a,b,c"_s);
        const Layer hall = newLayer(LayerKind::Clock);
        sets.of(SceneSet::Hall) = { makeScene({}, { newLayer(LayerKind::Color), hall }) };
        const auto id
            = [&](std::size_t scene) { return sets.of(SceneSet::Streams)[scene]->layers[0].id; };
        const auto apply = [&](const Edit &edit) { sets = applied(sets, edit); };
        const auto sizes = [&] {
            return std::tuple { findLayer(sets, id(0))->size,
                findLayer(sets, id(1))->size,
                findLayer(sets, hall.id)->size };
        };
        const auto look = [&](std::int32_t size) {
            return SetField { id(0), LayerField::Size, size };
        };
        apply(look(80));
        apply(KeepStyle { id(0), u"  Título "_s });
        apply(FollowStyle { hall.id, u"Título"_s });
        QCOMPARE(sizes(), std::tuple(80, 56, 80));
        apply(look(90));
        QCOMPARE(sizes(), std::tuple(90, 56, 90));
        const ScenePtr other = sets.of(SceneSet::Streams)[2];
        apply(SetField { hall.id, LayerField::Text, u"¡Ya!"_s }); // not its look
        apply(FollowStyle { hall.id, {} });
        apply(look(70));
        QCOMPARE(sizes(), std::tuple(70, 56, 90));
        apply(FollowStyle { id(1), u"Nada"_s });
        apply(FollowStyle { sets.of(SceneSet::Hall)[0]->layers[0].id, u"Título"_s }); // a colour
        QVERIFY(findLayer(sets, id(1))->style.isEmpty());
        apply(FollowStyle { hall.id, u"Título"_s });
        apply(KeepStyle { hall.id, u"Título"_s });
        QCOMPARE(sets.styles.size(), 1U);
        QVERIFY(sets.of(SceneSet::Streams)[2] == other); // the very same

        Layer copy = *findLayer(sets, hall.id); // pasted later, into this project or another
        copy.size = 33;
        const auto pasted = [&copy](const SceneSets &into) {
            copy.id = LayerId::make();
            const SceneId scene = into.of(SceneSet::Streams)[0]->id;
            return *findLayer(applied(into, AddLayer { scene, copy }), copy.id);
        };
        QCOMPARE(pasted(sets).size, 70);
        QCOMPARE(pasted(scenesOf(u"x"_s)).size, 33);
        QVERIFY(pasted(scenesOf(u"x"_s)).style.isEmpty());

        apply(RemoveStyle { u"Título"_s });
        QVERIFY(sets.styles.empty() && findLayer(sets, hall.id)->style.isEmpty());
        QCOMPARE(sizes(), std::tuple(70, 56, 70));
        sets.styles.resize(SceneSets::mostStyles);
        QCOMPARE(refusal(sets, KeepStyle { hall.id, u"Otro"_s }),
            u"El proyecto ya tiene demasiados estilos."_s);
    }

    void changedImageKeepsTheBox()
    {
        const FrameSize square { 50, 50 };
        Layer layer = imageLayer(u"/fotos/logo.png"_s, square, landscapeSize);
        QCOMPARE(layer.name, u"logo.png"_s);
        QCOMPARE(boxOf(layer), newImageBox(square, landscapeSize));
        SceneSets sets = newProject().scenes;
        sets.of(SceneSet::Streams) = { makeScene({}, { layer }) };
        const Layer changed
            = *findLayer(applied(sets, SetImage { layer.id, u"/fotos/b.png"_s }), layer.id);
        QCOMPARE(boxOf(changed), boxOf(layer));
        QCOMPARE(changed.path, u"/fotos/b.png"_s);
        QCOMPARE(changed.name, u"b.png"_s);
    }
};

NIMBARA_TEST(EditsTest)
#include "edits_test.moc"
