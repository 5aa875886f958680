#include "document/layer_group.h"
#include "studio/edit/document.h"
#include "support/manual_clock.h"
#include "support/scenes.h"
#include "support/test_registry.h"

#include <malloc.h>
#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// One random operator.
class Editor {
public:
    explicit Editor(unsigned seed)
        : m_random(seed)
    {
    }

    void edit(Document &document)
    {
        document.setEditing(pick(2) == 0 ? SceneSet::Streams : SceneSet::Hall);
        const Scene scene = *document.currentScene();
        const LayerId layer
            = scene.layers.empty() ? LayerId() : scene.layers[pick(scene.layers.size())].id;
        const SceneId in = scene.id;
        const double part = 0.01 * double(pick(90));
        const QString text = QString::number(pick(100));
        const std::array<Edit, 10> edits { DuplicateScene { in },
            AddScene { document.editing(), defaultScene(pick(2) == 0) },
            RenameScene { in, text },
            MoveScene { in, static_cast<std::int32_t>(pick(4)) },
            AddLayer { in, newLayer(static_cast<LayerKind>(pick(7))) },
            DeleteLayer { layer },
            MoveLayer { layer, pick(2) == 0 ? 1 : -1 },
            SetField { layer, LayerField::Text, text },
            SetField { layer, LayerField::Opacity, part },
            SetField { layer, LayerField::Box, Box { part, 0, 1, 1 } } };
        if (document.editedScenes().size() > 1 && pick(10) == 0) {
            document.apply(DeleteScene { in });
        } else {
            document.apply(edits.at(pick(edits.size())));
        }
    }

private:
    std::size_t pick(std::size_t count)
    {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random);
    }
    std::mt19937 m_random;
};

} // namespace

class DocumentTest : public QObject {
    Q_OBJECT

    ManualClock m_clock;

private Q_SLOTS:
    /// Two hundred edits back to the first value and forth to the last, each on its way.
    void everyStepIsUndoneAndRedone()
    {
        for (const unsigned seed : { 1U, 2U, 3U, 4U, 5U }) {
            Document document(m_clock);
            Editor editor(seed);
            std::vector<SceneSets> states { document.scenes() };
            while (states.size() <= 200) {
                m_clock.advanceUs(2'000'000);
                editor.edit(document);
                if (document.scenes() != states.back()) {
                    states.push_back(document.scenes());
                }
            }
            for (std::size_t state = states.size() - 1; state-- > 0;) {
                document.undo();
                QVERIFY2(document.scenes() == states[state], qPrintable(u"seed %1"_s.arg(seed)));
                QVERIFY(placeOf(document.scenes(), document.currentScene()->id));
            }
            QVERIFY(document.undoName().isEmpty());
            document.undo(); // nothing left
            for (std::size_t state = 1; state < states.size(); ++state) {
                document.redo();
                QVERIFY(document.scenes() == states[state]);
            }
            QVERIFY(document.redoName().isEmpty());
        }
    }

    void twoHundredStepsOfALargeProjectAreSmall()
    {
        Project project = newProject();
        project.scenes.of(SceneSet::Streams).clear();
        for (int scene = 0; scene < 100; ++scene) {
            std::vector<Layer> layers(20);
            std::generate(layers.begin(), layers.end(), [] { return newLayer(LayerKind::Text); });
            project.scenes.of(SceneSet::Streams).push_back(makeScene(u"x"_s, layers));
        }
        Document document(m_clock);
        document.open(project);
        const std::size_t before = mallinfo2().uordblks;
        for (std::size_t step = 0; step < 200; ++step) {
            m_clock.advanceUs(2'000'000);
            const ScenePtr &scene = document.editedScenes()[step / 2];
            document.apply(
                SetField { scene->layers[step % 20].id, LayerField::Text, QString::number(step) });
        }
        const std::size_t grown = mallinfo2().uordblks - before;
        QVERIFY2(grown < 20U << 20, qPrintable(QString::number(grown)));
    }

    void severalEditsAreOneStepWithAName()
    {
        Document document(m_clock);
        const LayerId one = document.currentScene()->layers[0].id;
        const LayerId other = addLayer(document, newLayer(LayerKind::Text));
        const SceneSets before = document.scenes();
        std::optional<Change> told;
        connect(&document, &Document::changed, this, [&told](const Change &change) {
            told = change;
        });
        const auto place = [&](const std::vector<LayerId> &layers, double x) {
            document.apply(setAll(layers, LayerField::Box, Box { x, 0, 1, 1 }), "Mover fuentes");
        };
        for (const double x : { 0.1, 0.2, 0.3 }) { // a run of the same layers
            place({ one, other }, x);
        }
        QCOMPARE(document.undoName(), u"Mover fuentes"_s);
        QVERIFY(told && told->all == (LayerIds { one, other }) && told->field == LayerField::Box);
        place({ other }, 0.4); // of others: a step of its own
        document.undo();
        QCOMPARE(document.currentScene()->layers[1].x, 0.3);
        document.undo();
        QVERIFY(document.scenes() == before);
        QVERIFY(told->all == (LayerIds { one, other }) && told->undone);
    }

    void aRunOfOneFieldIsOneStep()
    {
        Document document(m_clock);
        const LayerId layer = document.currentScene()->layers[0].id;
        const auto opacity = [&] { return document.currentScene()->layers[0].opacity; };
        const auto set = [&](double value, std::int64_t afterUs) {
            m_clock.advanceUs(afterUs);
            document.apply(SetField { layer, LayerField::Opacity, value });
        };
        set(0.9, 0);
        set(0.8, 900'000);
        set(0.7, 1'100'000); // a step of its own
        document.apply(SetField { layer, LayerField::Name, u"x"_s });
        set(0.6, 0); // and one for each field
        for (const double left : { 0.7, 0.7, 0.8, 1.0 }) {
            document.undo();
            QCOMPARE(opacity(), left);
        }
        document.beginGesture();
        set(0.5, 0);
        set(0.4, 5'000'000); // the mouse stays pressed
        document.endGesture();
        set(0.3, 0);
        QCOMPARE(document.undoName(), u"Opacidad"_s);
        document.undo();
        QCOMPARE(opacity(), 0.4);
        document.undo();
        QCOMPARE(opacity(), 1.0);
        set(1.0, 0); // nothing changed: the steps to redo stay
        QCOMPARE(document.redoName(), u"Opacidad"_s);
        set(0.2, 0);
        QVERIFY(document.redoName().isEmpty());
    }

    void aRideOfATransitionsLengthIsOneStep()
    {
        Document document(m_clock);
        const auto set = [&](std::int32_t ms) {
            const Transition slide { TransitionKind::SlideUp, ms };
            document.apply(SetSceneTransition { document.currentScene()->id, slide });
        };
        set(500);
        set(600);
        m_clock.advanceUs(2'000'000);
        set(700);
        QCOMPARE(document.undoName(), u"Transición de la escena"_s);
        document.undo();
        QCOMPARE(document.currentScene()->transition->ms, 600);
        document.undo();
        QVERIFY(!document.currentScene()->transition);
    }

    /// Whoever steps through a psalm finds the edits before it.
    void aRunOfVersesIsOneStep()
    {
        Document document(m_clock);
        const LayerId one = addLayer(document, newLayer(LayerKind::Verse));
        const LayerId other = addLayer(document, newLayer(LayerKind::Verse));
        const SceneSets before = document.scenes();
        const auto show = [&](const char *text, std::int64_t afterUs) {
            m_clock.advanceUs(afterUs);
            document.apply({ SetVerse { one, QLatin1String(text), u"a"_s, {} },
                SetVerse { other, QLatin1String(text), u"a"_s, {} } });
        };
        show("uno", 2'000'000);
        show("dos", 900'000);
        show("tres", 1'100'000); // a step of its own
        document.apply(SetVerse { one, u"cuatro"_s, u"a"_s, {} }); // of one of them
        for (const char *left : { "tres", "dos" }) {
            document.undo();
            QCOMPARE(document.currentScene()->layers[1].text, QLatin1String(left));
        }
        document.undo();
        QVERIFY(document.scenes() == before);
    }

    /// A style changes scenes of both sets: what is looked at stays in sight.
    void undoOfAStyleStaysWhereTheOperatorIs()
    {
        Document document(m_clock);
        const LayerId stream = addLayer(document, newLayer(LayerKind::Text));
        document.setEditing(SceneSet::Hall);
        const LayerId hall = addLayer(document, newLayer(LayerKind::Text));
        document.apply(KeepStyle { hall, u"Título"_s });
        document.apply(FollowStyle { stream, u"Título"_s });
        document.setEditing(SceneSet::Hall);
        document.apply(SetField { hall, LayerField::Size, 99 });
        QCOMPARE(findLayer(*document.project().scenes.of(SceneSet::Streams)[0], stream)->size, 99);
        document.undo();
        QVERIFY(document.editingHall());
        document.redo();
        QVERIFY(document.editingHall());
    }

    void theGlossaryIsAStepOfUndo()
    {
        Document document(m_clock);
        const Terms terms { { u"Santa Cena"_s, u"the Lord's Supper"_s, u"English"_s } };
        int told = 0;
        connect(&document, &Document::changed, this, [&](const Change &change) {
            told += change.terms ? 1 : 0;
        });
        document.setTerms(terms);
        QVERIFY(document.hasUnsavedWork());
        document.apply(RenameScene { document.currentScene()->id, u"x"_s });
        document.undo();
        QCOMPARE(document.project().terms, terms);
        QCOMPARE(document.undoName(), u"Glosario"_s);
        document.undo();
        QVERIFY(document.project().terms.isEmpty() && !document.hasUnsavedWork());
        document.redo();
        QCOMPARE(document.project().terms, terms);
        document.setTerms(terms); // nothing changed
        QCOMPARE(told, 3);
    }

    void previewGoesWhereTheChangeIs()
    {
        Document document(m_clock);
        const SceneId first = document.currentScene()->id;
        Scene second = defaultScene(false);
        document.apply(AddScene { SceneSet::Streams, second });
        QVERIFY(document.currentScene()->id == second.id);
        document.apply(DuplicateScene { first });
        QCOMPARE(document.project().currentPlace(SceneSet::Streams), 1U);
        document.apply(DeleteScene { document.currentScene()->id });
        QVERIFY(document.currentScene()->id == first);
        document.apply(DeleteScene { first });
        QVERIFY(document.currentScene()->id == second.id);
        document.setEditing(SceneSet::Hall);
        document.undo();
        QVERIFY(document.editing() == SceneSet::Streams && document.currentScene()->id == first);
        int changes = 0;
        connect(&document, &Document::changed, this, [&](const Change &change) {
            ++changes;
            QVERIFY(change.current && !change.layers);
        });
        document.showScene(second.id);
        document.showScene(second.id);
        document.showScene(SceneId::make());
        QCOMPARE(changes, 1);
        disconnect(&document, nullptr, this, nullptr);
    }

    void knowsWhatIsNotSaved()
    {
        Document document(m_clock);
        QList<bool> told;
        connect(&document, &Document::unsavedChanged, this, [&](bool unsaved) { told << unsaved; });
        document.setEditing(SceneSet::Hall); // looking at something loses nothing
        document.setTitle(u"Culto"_s);
        document.setTitle(QString());
        document.apply(RenameScene { document.currentScene()->id, u"Otra"_s });
        const Project saved = document.project();
        document.setGain(50); // while the file is written
        document.markSaved(saved);
        QVERIFY(document.hasUnsavedWork());
        document.setGain(100);
        document.undo();
        document.redo();
        QCOMPARE(told, QList<bool>({ true, false, true, false, true, false }));
        document.open(newProject());
        QVERIFY(!document.hasUnsavedWork() && document.undoName().isEmpty());
        document.markUnsaved();
        QVERIFY(document.hasUnsavedWork());
        disconnect(&document, nullptr, this, nullptr);
    }

    void aRefusedStepChangesNothing()
    {
        Document document(m_clock);
        document.setEditing(SceneSet::Hall);
        const Scene scene = *document.currentScene();
        const SceneSets before = document.scenes();
        QVERIFY_EXCEPTION_THROWN(
            document.apply(std::vector<Edit> { AddLayer { scene.id, newLayer(LayerKind::Text) },
                AddLayer { scene.id, newLayer(LayerKind::Subtitle) } }),
            std::exception);
        QVERIFY(document.scenes() == before && document.undoName().isEmpty());
    }
};

NIMBARA_TEST(DocumentTest)
#include "document_test.moc"
