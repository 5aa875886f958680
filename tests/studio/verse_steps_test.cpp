#include "bible/builtin.h"
#include "bible/shelf.h"
#include "studio/studio_fixture.h"
#include "support/test_registry.h"

#include <QScopeGuard>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;
using Direction = VerseSteps::Direction;

namespace {

/// The same passage on air in both programs, in the box of a new layer and in a narrow one.
struct PagedDesk : StudioFixture {
    LayerId streams;
    LayerId hall;

    explicit PagedDesk(const QString &typed)
    {
        bible::prepare().waitForFinished();
        studio.settings().setValue(u"bible_choice"_s, u"es"_s);
        studio.stage().program.setFadeEnabled(false);
        studio.program().setEditSet(1);
        hall = show(typed, u"es"_s);
        set(placeOf(hall), LayerField::Box, Box { 0.3, 0.1, 0.4, 0.2 });
        studio.program().take();
        studio.program().setEditSet(0);
        streams = show(typed, u"es"_s);
        studio.program().take();
    }
    LayerId show(const QString &typed, const QString &lang)
    {
        const LayerId id = studio.verses().quickVerseLayer();
        studio.verses().lookupVerse(id, typed, { lang, {}, {} });
        return id;
    }
    std::size_t placeOf(LayerId id)
    {
        return static_cast<std::size_t>(findLayer(scene(), id) - scene().layers.data());
    }
    void step(Direction direction, int times = 1)
    {
        for (; times > 0; --times) {
            studio.verseSteps().step(streams, direction);
        }
    }
    /// What a layer shows on air.
    Layer onAir(LayerId id)
    {
        for (const ScenePtr &each :
            { studio.stage().program.streams(), studio.stage().program.hall() }) {
            if (const Layer *layer = each ? findLayer(*each, id) : nullptr) {
                return pageShown(*layer, pagesOf(*layer, landscapeSize));
            }
        }
        return {};
    }
    Layer prepared(LayerId id)
    {
        const Layer *layer = findLayer(studio.document().scenes(), id);
        return pageShown(*layer, pagesOf(*layer, landscapeSize));
    }
    /// Runs of the frame clock in which nothing is done, and what is wanted then is made.
    void rest(std::int64_t us)
    {
        for (std::int64_t passed = 0; passed < us; passed += 5'000) {
            frame(5'000);
        }
        studio.stage().pager->finishAhead();
    }
    /// After what was no step.
    void restLong() { rest(VerseSteps::stillUs + FrameSchedule::periodUs); }
    /// How many verses in PREVIEW and on air there is no picture of yet.
    int countUnpainted()
    {
        Stage &stage = studio.stage();
        int missing = 0;
        for (const auto &[shown, frame] :
            { std::pair { stage.document.currentScene(), stage.previewFrame() },
                { stage.program.streams(), stage.streamFrame() },
                { stage.program.hall(), hallSize } }) {
            for (const Layer &layer : shown->layers) {
                const auto pages = pagesOf(layer, frame);
                missing += layer.kind == LayerKind::Verse
                        && !stage.pager->painted(*textOfPage(layer, pages, frame))
                    ? 1
                    : 0;
            }
        }
        return missing;
    }
    static QString label(const Layer &layer) { return layer.reference.section(u" · "_s, 0, 0); }
};

} // namespace

/// Page Down and Page Up through passages and through the Bible.
class VerseStepsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bothProgramsStepOnOneFrame()
    {
        PagedDesk desk(u"Salmos 119:1-40"_s);
        desk.frame();
        const Pictures before = desk.pictures;
        desk.step(Direction::On, 3);
        desk.frame();
        QVERIFY(desk.pictures.streams != before.streams);
        QVERIFY(desk.pictures.hall != before.hall);
        const Layer streams = desk.onAir(desk.streams);
        const Layer hall = desk.onAir(desk.hall);
        QCOMPARE(desk.prepared(desk.streams).text, streams.text);
        QCOMPARE(desk.prepared(desk.hall).text, hall.text); // its own project layer, too
        // The hall's box is small: its pages set the pace, and the other one has their beginnings.
        QVERIFY(hall.text.size() < streams.text.size());
        QVERIFY2(streams.text.contains(hall.text.left(12)), qPrintable(streams.text));
        QCOMPARE(findLayer(desk.studio.document().scenes(), desk.hall)->page, 3);
        const Layer &lead = *findLayer(desk.studio.document().scenes(), desk.streams);
        QCOMPARE(desk.statuses.last(),
            desk.label(streams)
                + u" · página %1 de %2"_s.arg(lead.page + 1)
                      .arg(pagesOf(lead, landscapeSize).pages.size()));

        desk.studio.document().undo(); // a run of pages is one step, and never reaches the air
        QCOMPARE(findLayer(desk.studio.document().scenes(), desk.streams)->page, 0);
        QCOMPARE(desk.onAir(desk.streams).text, streams.text);
    }

    /// Whichever layer leads: each box shows all of its pages before the next verse comes.
    void noBoxLeavesAPageOut()
    {
        PagedDesk desk(u"Salmos 119:1-40"_s);
        QString shown[2];
        const std::array layers { desk.streams, desk.hall };
        for (int step = 0; step < 100; ++step) {
            for (const std::size_t each : { 0, 1 }) {
                const QString text = desk.onAir(layers.at(each)).text;
                if (!shown[each].endsWith(text)) {
                    shown[each] += text;
                }
            }
            desk.step(Direction::On);
            if (desk.label(desk.onAir(desk.hall)) == u"Salmos 119:41"_s) {
                break;
            }
        }
        QCOMPARE(desk.label(desk.onAir(desk.streams)), u"Salmos 119:41"_s);
        for (const QString &all : shown) {
            QCOMPARE(all.simplified().remove(u' '),
                bible::verseText(bible::spanish(), { 18, 119, 1, 40 }).simplified().remove(u' '));
        }
    }

    /// Without a key: the built-in text follows on air, and a key pressed meanwhile waits for it.
    void anOnlineTextThatDoesNotComeKeepsTheStepsGoing()
    {
        PagedDesk desk(u"Juan 3:16"_s);
        desk.studio.bibles().choose(3);
        desk.studio.bibles().chooseOnline({ u"b2"_s, u"Reina Valera 1960"_s });
        const Layer built = *findLayer(desk.scene(), desk.streams);
        desk.studio.document().apply(SetVerse { desk.streams,
            built.text,
            u"Juan 3:16 · Reina Valera 1960"_s,
            built.name,
            0,
            {} });
        desk.studio.program().take();
        for (const char *next : { "Juan 3:17", "Juan 3:18" }) {
            desk.step(Direction::On);
            desk.step(Direction::On);
            QTRY_COMPARE(desk.label(desk.onAir(desk.streams)), QLatin1String(next));
            QCOMPARE(desk.label(desk.onAir(desk.hall)), QLatin1String(next));
            desk.studio.document().apply(SetVerse { desk.streams,
                desk.onAir(desk.streams).text,
                QLatin1String(next) + u" · Reina Valera 1960"_s,
                QString::fromLatin1(next),
                0,
                {} });
            desk.studio.program().take();
        }
    }

    /// A text of a Bible that is not the chosen one, whether from the network or taken away since.
    void noStepPutsAnotherBibleOnAir()
    {
        PagedDesk desk(u"Juan 3:16"_s);
        const Layer built = *findLayer(desk.scene(), desk.streams);
        desk.studio.document().apply(SetVerse { desk.streams,
            built.text,
            u"Juan 3:16 · Biblia de Vesperalda"_s,
            built.name,
            0,
            {} });
        desk.studio.program().take();
        desk.step(Direction::On);
        QCOMPARE(desk.statuses.last(),
            u"El texto es de Biblia de Vesperalda, que no es la Biblia elegida: elígela para seguir."_s);
        QCOMPARE(desk.label(desk.onAir(desk.streams)), u"Juan 3:16"_s);
        QCOMPARE(desk.label(desk.prepared(desk.streams)), u"Juan 3:16"_s);
    }

    /// A window in another language names a translation otherwise; it is the same one.
    void aTranslationIsSteppedInEitherLanguage()
    {
        PagedDesk desk(u"Juan 3:16"_s);
        const auto tidy = qScopeGuard([&desk] { desk.studio.settings().clear(); });
        desk.studio.translation().chooseTarget(u"Portuguese"_s);
        desk.studio.bibles().choose(0); // by that language
        const Layer built = *findLayer(desk.scene(), desk.streams);
        for (const char *name : { "traducción automática", "machine translation" }) {
            desk.studio.document().apply(SetVerse { desk.streams,
                built.text,
                u"John 3:16 · "_s + QString::fromUtf8(name),
                built.name,
                0,
                {} });
            desk.studio.program().take();
            desk.statuses.clear();
            desk.step(Direction::On);
            QTRY_COMPARE(desk.label(desk.onAir(desk.streams)), u"Juan 3:17"_s);
            QVERIFY2(!desk.told("que no es la Biblia elegida"), name);
        }
    }

    void whatIsNotOnAirStepsInPreviewAlone()
    {
        PagedDesk desk(u"Salmos 119:1-40"_s);
        const QString onAir = desk.onAir(desk.streams).text;
        desk.show(u"Salmos 119:1-60"_s, u"es"_s); // into the same layer
        desk.step(Direction::On);
        QCOMPARE(findLayer(desk.scene(), desk.streams)->page, 1);
        QCOMPARE(desk.onAir(desk.streams).text, onAir);
        QCOMPARE(findLayer(*desk.studio.stage().program.hall(), desk.hall)->page, 0);

        desk.setLayers({ colorLayer(Qt::black) }); // a scene without a verse: what is on air
        const Layer hall = desk.onAir(desk.hall);
        desk.step(Direction::On);
        QVERIFY(desk.onAir(desk.hall).text != hall.text); // the one with the most pages
        desk.step(Direction::On, 6);
        QVERIFY(desk.onAir(desk.streams).text != onAir);
        desk.studio.program().offAir();
        desk.studio.program().setEditSet(1);
        desk.setLayers({});
        desk.studio.program().offAir();
        desk.step(Direction::On);
        QCOMPARE(desk.statuses.last(), u"No hay ningún versículo en la escena ni en Programa."_s);
    }

    void beyondTheEndsComeTheNeighbours()
    {
        struct Row {
            const char *typed, *lang, *back, *on;
        };
        const std::initializer_list<Row> rows {
            { "Juan 3:16-18", "es", "Juan 3:15", "Juan 3:19" },
            { "John 3:36", "en", "John 3:35", "John 4:1" },
            { "Salmos 23", "es", "Salmos 22:31", "Salmos 24:1" },
            { "Génesis 50:26", "es", "Génesis 50:25", "Éxodo 1:1" },
            { "Jonás 2:1", "es", "Jonás 1:16", "Jonás 2:2" }, // 1:17 is empty there
            { "Génesis 1:1", "es", "Génesis 1:1", "Génesis 1:2" },
            { "Apocalipsis 22:21", "es", "Apocalipsis 22:20", "Apocalipsis 22:21" },
        };
        for (const Row &row : rows) {
            for (const bool on : { false, true }) {
                PagedDesk desk(QString::fromUtf8(row.typed));
                desk.show(QString::fromUtf8(row.typed), QLatin1String(row.lang));
                desk.studio.program().take();
                const QString label = QString::fromUtf8(on ? row.on : row.back);
                int most = on ? 12 : 1; // out of the pages
                do {
                    desk.step(on ? Direction::On : Direction::Back);
                } while (--most > 0 && desk.label(desk.prepared(desk.streams)) != label);
                QCOMPARE(desk.label(desk.onAir(desk.streams)), label);
                QCOMPARE(desk.label(desk.prepared(desk.streams)), label);
                const bool moves = label != QString::fromUtf8(row.typed);
                QCOMPARE(desk.statuses.last().startsWith(u"Es el "), !moves);
                QVERIFY(!desk.onAir(desk.streams).text.isEmpty());
            }
        }
    }

    /// The hall shows Spanish and English, the streams English alone.
    void twoBiblesStepTogether()
    {
        PagedDesk desk(u"Salmos 119:1-40"_s);
        for (const auto &[set, id, shown] : { std::tuple { 1, desk.hall, shown_bibles::both },
                 { 0, desk.streams, shown_bibles::second } }) {
            desk.studio.program().setEditSet(set);
            desk.studio.verses().setSecond(id, u"KJV"_s);
            QCOMPARE(desk.studio.document().undoName(), u"Segunda Biblia"_s);
            desk.set(desk.placeOf(id), LayerField::Shows, shown);
            desk.studio.program().take();
        }
        QVERIFY(desk.onAir(desk.streams).text.startsWith(u"1 Blessed are the undefiled"));
        for (int page = 0; page < 4; ++page) {
            desk.step(Direction::On);
            const QString streams = desk.onAir(desk.streams).text;
            const QString hall = desk.onAir(desk.hall).text;
            const QRegularExpression verse(u"(?:^| )(\\d+) "_s); // its pages are the smaller ones
            const QString number = u' ' + verse.match(hall).captured(1) + u' ';
            QVERIFY2((u' ' + streams).contains(number), qPrintable(streams + u'|' + hall));
        }
        // Past the last page the next verse, in both; where the second Bible has none, that is
        // said.
        desk.studio.verses().setSecond(desk.streams, u"RV1909"_s);
        for (const auto &[typed, on, blank] : { std::tuple { "Jonah 1:16", "Jonah 1:17", true },
                 { "John 3:16", "John 3:17", false } }) {
            desk.show(QLatin1String(typed), u"en"_s);
            desk.studio.program().take();
            desk.step(Direction::On);
            const Layer onAir = *findLayer(*desk.studio.stage().program.streams(), desk.streams);
            QCOMPARE(desk.label(onAir), QLatin1String(on));
            QCOMPARE(onAir.secondText.isEmpty(), blank);
            QVERIFY(!desk.onAir(desk.streams).text.isEmpty());
            QCOMPARE(desk.statuses.last().contains(u"No está en Reina-Valera 1909"), blank);
        }
        desk.show(u"Job 38:38-39"_s, u"en"_s); // a part of it
        QVERIFY(desk.statuses.last().endsWith(
            u"Job 38:39. En esos versículos se muestra sola la primera Biblia."_s));
    }

    /// The program whose Bible has not the next verse stayed behind, and for good.
    void aBibleWithoutTheVerseLeavesNoProgramBehind()
    {
        PagedDesk desk(u"Jonás 1:16"_s);
        desk.show(u"Jonah 1:16"_s, u"en"_s);
        desk.studio.program().take();
        const auto shown = [&](LayerId id) { return desk.onAir(id).reference; };
        desk.step(Direction::On);
        const QString english = u"Jonah 1:17 · King James Version"_s;
        QCOMPARE(shown(desk.streams), english);
        QCOMPARE(shown(desk.hall), english);
        QCOMPARE(desk.onAir(desk.hall).text, desk.onAir(desk.streams).text);
        QCOMPARE(desk.prepared(desk.hall).text, desk.onAir(desk.hall).text);
        QVERIFY2(desk.statuses.last().endsWith(
                     u"No está en Reina-Valera 1909: se muestra en su lugar King James Version."_s),
            qPrintable(desk.statuses.last()));
        desk.step(Direction::On);
        QCOMPARE(shown(desk.hall), u"Jonás 2:1 · Reina-Valera 1909"_s); // its own again
        QCOMPARE(desk.statuses.last(), u"Versículo listo: Jonah 2:1"_s);
        desk.step(Direction::Back);
        QCOMPARE(shown(desk.hall), english);

        // Its own second Bible goes before that of the other program, and what only that one has is
        // not left out.
        desk.studio.program().setEditSet(1);
        desk.show(u"Jonás 1:16"_s, u"es"_s);
        desk.studio.verses().setSecond(desk.hall, u"KJV"_s);
        desk.set(desk.placeOf(desk.hall), LayerField::Box, Box { 0.1, 0.1, 0.8, 0.8 });
        desk.studio.program().take();
        desk.studio.verseSteps().step(desk.hall, Direction::On);
        QCOMPARE(shown(desk.hall), english);
        desk.studio.verseSteps().step(desk.hall, Direction::Back);
        desk.studio.program().setEditSet(0);
        const auto part = std::make_shared<bible::Bible>(bible::english());
        part->isImported = true;
        part->name = u"Los profetas"_s;
        part->id = u"LPR"_s;
        const auto tidy = qScopeGuard([] { bible::setImportedBibles({}); });
        for (qsizetype book = 32; book < part->books.size(); ++book) {
            part->books[book] = QJsonArray();
        }
        bible::setImportedBibles({ part });
        desk.show(u"Jonah 1:16"_s, u"bible:LPR"_s);
        desk.studio.program().take();
        desk.step(Direction::On);
        QCOMPARE(shown(desk.streams), u"Jonah 1:17 · Los profetas"_s);
        QCOMPARE(shown(desk.hall), english);
        // Behind its last verse neither goes on.
        desk.show(u"Jonah 4:11"_s, u"bible:LPR"_s);
        desk.studio.program().take();
        desk.step(Direction::On);
        QCOMPARE(desk.statuses.last(), u"Es el último versículo de Los profetas."_s);
        QCOMPARE(shown(desk.streams), u"Jonah 4:11 · Los profetas"_s);
    }

    /// A step painted the page in the frame that showed it.
    void whatAStepShowsIsPaintedBefore()
    {
        for (const StreamProfile profile : { StreamProfile::Landscape, StreamProfile::Portrait }) {
            PagedDesk desk(u"Salmos 119:1-40"_s);
            desk.studio.changeProfile(profile);
            desk.studio.program().take();
            desk.studio.program().setEditSet(1);
            desk.studio.verses().setSecond(desk.hall, u"KJV"_s);
            desk.studio.program().take();
            desk.studio.program().setEditSet(0);
            desk.restLong();
            for (const Direction direction : { Direction::On,
                     Direction::On,
                     Direction::Back,
                     Direction::Back,
                     Direction::Back, // to the verse before
                     Direction::On }) {
                desk.step(direction);
                QCOMPARE(desk.countUnpainted(), 0);
                desk.rest(FrameSchedule::periodUs);
            }
            desk.set(desk.placeOf(desk.streams), LayerField::Color, QColor(Qt::red));
            desk.step(Direction::On); // at once: PREVIEW alone looks otherwise
            QCOMPARE(desk.countUnpainted(), 1);
            desk.restLong();
            desk.step(Direction::On);
            QCOMPARE(desk.countUnpainted(), 0);
            desk.setLayers({}); // and nothing is kept of a verse that is gone
            const Layer gone = *findLayer(*desk.studio.stage().program.streams(), desk.streams);
            for (const int set : { 0, 1 }) {
                desk.studio.program().setEditSet(set);
                desk.setLayers({});
                desk.studio.program().offAir();
            }
            desk.restLong();
            const FrameSize frame = desk.studio.stage().streamFrame();
            QVERIFY(!desk.studio.stage().pager->painted(
                *textOfPage(gone, pagesOf(gone, frame), frame)));
        }
    }

    void newVersesTakeTheKeptStyle()
    {
        PagedDesk desk(u"Juan 3:16"_s);
        desk.set(desk.placeOf(desk.streams), LayerField::Size, std::int32_t { 90 });
        desk.studio.verses().setSecond(desk.streams, u"KJV"_s);
        desk.studio.verses().keepStyle(desk.streams);
        desk.setLayers({});
        const LayerId id = desk.show(u"Salmos 23:1"_s, u"es"_s);
        const Layer made = *findLayer(desk.scene(), id);
        QCOMPARE(made.size, 90);
        QVERIFY(made.secondText.startsWith(u"The LORD is my shepherd"));
        QCOMPARE(made.reference, u"Salmos 23:1 · Reina-Valera 1909"_s);
    }

    /// Each program in its own Bible; from behind, a verse is entered by its last page.
    void programsKeepTheirBibles()
    {
        PagedDesk desk(u"Ester 8:10"_s);
        desk.show(u"Esther 8:10"_s, u"en"_s);
        desk.studio.program().take();
        desk.step(Direction::Back);
        QCOMPARE(desk.label(desk.onAir(desk.streams)), u"Esther 8:9"_s);
        QCOMPARE(desk.label(desk.onAir(desk.hall)), u"Ester 8:9"_s);
        const Layer whole = *findLayer(*desk.studio.stage().program.hall(), desk.hall);
        const VersePages pages = pagesOf(whole, landscapeSize);
        QVERIFY(pages.pages.size() > 1);
        QCOMPARE(pages.shown(whole), pages.pages.size() - 1);
    }
};

NIMBARA_TEST(VerseStepsTest)
#include "verse_steps_test.moc"
