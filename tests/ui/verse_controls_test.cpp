#include "support/api_peer.h"
#include "support/test_registry.h"
#include "ui/desk.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QCompleter>
#include <QDoubleSpinBox>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollArea>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *key = "llave-que-nadie-ve";

struct VerseDeskWindow : Desk {
    explicit VerseDeskWindow(const ApiPeer &peer)
        : Desk(servicesAt(peer.endpoint()))
    {
        find<QComboBox>("target")->setCurrentText(u"Spanish"_s);
    }
    void type(const char *field, const QString &text)
    {
        auto *edit = find<QLineEdit>(field);
        edit->clear();
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Return);
    }
    void choose(int entry) { find<QComboBox>("bibleChoice")->setCurrentIndex(entry); }
    /// With a key and a Bible of the service.
    void lookUpOnline(const QString &typed)
    {
        settings().setValue(u"apibible_id"_s, u"b2"_s);
        enter("bibleKey", QLatin1String(key));
        choose(3);
        type("quickVerse", typed);
    }
};

} // namespace

/// Typed references in the real window, with both services played by a server of this machine.
class VerseControlsTest : public QObject {
    Q_OBJECT
    ApiPeer m_peer;

    QJsonObject awaitRequest(int count = 1)
    {
        if (!QTest::qWaitFor([&] { return m_peer.count("request") >= count; }, 60'000)) {
            qFatal("no request came");
        }
        return m_peer.of("request").back();
    }

private Q_SLOTS:
    void init()
    {
        settings().clear();
        QFile::remove(logFilePath());
        m_peer.events.clear();
        bible::prepare().waitForFinished();
    }
    void cleanup()
    {
        QVERIFY(!logText().isEmpty());
        QVERIFY2(!logText().contains(QLatin1String(key)), "the key is in the log");
    }

    void aQuickReferenceMakesItsLayer()
    {
        VerseDeskWindow desk(m_peer);
        for (const QString &slip : { u"Juna 3:16"_s, u"Judas 2:1"_s }) { // no hint is left behind
            desk.type("quickVerse", slip);
            QCOMPARE(desk.layers().size(), 1U);
            QCOMPARE(desk.dialogs->asked.last(), u"Ardenvale Vesperline: "_s + desk.status());
        }
        desk.type("quickVerse", u"Juan 3:16"_s);
        QCOMPARE(desk.layers().size(), 2U);
        QCOMPARE(desk.selected(), 1);
        desk.press("undo"); // in one step
        QCOMPARE(desk.layers().size(), 1U);
        desk.press("redo");
        const Layer layer = desk.layers().back();
        QCOMPARE(layer.reference, u"Juan 3:16 · Reina-Valera 1909"_s);
        QCOMPARE((std::array { layer.x, layer.y, layer.w, layer.h }),
            (std::array { 0.08, 0.62, 0.84, 0.3 }));
        QCOMPARE(layer.size, 48);
        QCOMPARE(desk.status(), u"Versículo listo: Juan 3:16"_s);
        QVERIFY(desk.find<QListWidget>("layers")->item(0)->text().contains(u"Juan 3:16"_s));
        QCOMPARE(desk.find<QPlainTextEdit>("layerText")->toPlainText(), layer.text);

        desk.choose(2); // King James, into the same layer
        desk.enter("quickVerse", u"Ps 23:1"_s);
        desk.press("showVerse");
        QCOMPARE(desk.layers().size(), 2U);
        QCOMPARE(desk.layers().back().reference, u"Psalms 23:1 · King James Version"_s);
        desk.choose(1); // Reina-Valera, whatever language was typed
        desk.press("showVerse");
        QCOMPARE(desk.layers().back().reference, u"Salmos 23:1 · Reina-Valera 1909"_s);

        desk.type("verseReference", u"Judas 1:2"_s); // builds the panel anew under the field
        QCOMPARE(desk.layers().back().name, u"Judas 1:2"_s);
        desk.enter("verseReference", u"Rut 1:1"_s);
        desk.press("findVerse");
        const Layer before = desk.layers().back();
        QCOMPARE(before.name, u"Rut 1:1"_s);
        desk.type("quickVerse", u"Judas 2:1"_s);
        QVERIFY(desk.layers().back() == before);
        QCOMPARE(desk.status(), u"Esa cita no existe en la Biblia. Judas tiene 1 capítulo."_s);
        QCOMPARE(desk.dialogs->asked.last(), u"Ardenvale Vesperline: "_s + desk.status());
        QCOMPARE(m_peer.count("request"), 0);
    }

    void keysAndButtonsStepThePages()
    {
        VerseDeskWindow desk(m_peer);
        QVERIFY(desk.isActive());
        desk.type("quickVerse", u"Salmos 119"_s);
        const auto page = [&] { return desk.layers().back().page; };
        QTest::keyClick(desk.find<QLineEdit>("quickVerse"), Qt::Key_PageDown);
        desk.press("pageOn");
        QTRY_COMPARE(page(), 2);
        QTest::keyClick(desk.find<QWidget>("canvas"), Qt::Key_PageUp);
        desk.press("pageBack");
        QTRY_COMPARE(page(), 0);
        QCOMPARE(desk.layers().back().name, u"Salmos 119"_s);
        desk.press("pageBack");
        QCOMPARE(desk.layers().back().name, u"Salmos 118:29"_s);
        QCOMPARE(desk.find<QLineEdit>("verseReference")->text(), u"Salmos 118:29"_s);
    }

    void referencesAndWordsAreCompleted()
    {
        VerseDeskWindow desk(m_peer);
        QVERIFY(desk.isActive());
        auto *edit = desk.find<QLineEdit>("quickVerse");
        QAbstractItemView *list = edit->findChild<QCompleter *>()->popup();
        for (const auto &[words, downs, shown] : { std::tuple { "juan 3:1", 2, "Juan 3:10" },
                 { "lord is my shepherd", 1, "Psalms 23:1" }, // in the words that were seen
                 { "ju 3:16", 0, "Psalms 23:1" } }) { // nothing was chosen: both are offered
            desk.window.activateWindow(); // some platforms activate the list before
            QVERIFY(desk.isActive());
            edit->setFocus();
            edit->clear();
            QTest::keyClicks(edit, QLatin1String(words));
            QTRY_VERIFY_WITH_TIMEOUT(list->isVisible(), 60'000); // words need their index
            for (int down = 0; down < downs; ++down) {
                QTest::keyClick(list, Qt::Key_Down);
            }
            QTest::keyClick(list, Qt::Key_Return);
            QTRY_COMPARE(desk.layers().back().name, QLatin1String(shown));
            QVERIFY(!list->isVisible());
        }
        desk.find<QMenu>("verseOffers")->close();
        QVERIFY(desk.dialogs->asked.isEmpty());
    }

    void theSecondBibleIsChosenInThePanel()
    {
        VerseDeskWindow desk(m_peer);
        desk.type("quickVerse", u"Juan 3:16"_s);
        const auto pick = [&](const char *name, int entry) {
            auto *list = desk.find<QComboBox>(name);
            list->setCurrentIndex(entry);
            Q_EMIT list->activated(entry); // as by the operator's hand
        };
        QVERIFY(!desk.find<QWidget>("arrangement")->isEnabled());
        pick("secondBible", 2);
        pick("arrangement", arrange::beside);
        pick("shownBibles", shown_bibles::second);
        pick("verseNumbers", verse_numbers::raised);
        pick("referencePlace", reference_place::before);
        const Layer layer = desk.layers().back();
        QVERIFY(layer.secondText.startsWith(u"For God so loved"));
        QCOMPARE(layer.secondReference, u"John 3:16 · King James Version"_s);
        QCOMPARE(layer.arrangement, arrange::beside);
        QCOMPARE(layer.shows, shown_bibles::second);
        QCOMPARE(layer.numbers, verse_numbers::raised);
        QCOMPARE(layer.referencePlace, reference_place::before);
        desk.press("keepVerseStyle");
        QVERIFY(desk.document().project().verseStyle == verseStyleOf(layer));
        pick("secondBible", 0);
        QVERIFY(desk.layers().back().secondText.isEmpty());
        desk.press("undo");
        QCOMPARE(desk.layers().back().secondText, layer.secondText);
        QCOMPARE(desk.find<QComboBox>("secondBible")->currentIndex(), 2);
    }

    /// Wherever Bibles are chosen, until it is removed.
    void anImportedBibleIsChosen()
    {
        const QTemporaryDir data;
        QFile file(data.filePath(u"juan.usfm"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("\\id JHN La Palabra\n\\rem Licencia libre\n\\c 3\n\\v 16 Tanto\n\\v 17 No\n");
        file.close();
        StudioServices services = servicesAt(m_peer.endpoint());
        services.dataFolder = data.path();
        Desk desk(std::move(services));
        auto *choice = desk.find<QComboBox>("bibleChoice");
        auto *second = desk.find<QComboBox>("secondBible");
        desk.dialogs->files = { u"/nowhere/a.xml"_s, file.fileName() };
        desk.press("importBible");
        QTRY_COMPARE(desk.status(), u"No se pudo leer a.xml"_s);
        desk.press("importBible");
        QTRY_COMPARE(desk.status(), u"Biblia importada: La Palabra"_s);
        QVERIFY(!desk.find<QPushButton>("removeBible")->isEnabled());
        choice->setCurrentIndex(choice->findText(u"La Palabra (importada)"_s));
        QVERIFY(desk.find<QLabel>("bibleDetails")->text().endsWith(u"Licencia libre"));
        desk.enter("quickVerse", u"Juan 3:16"_s);
        desk.press("showVerse");
        QCOMPARE(desk.layers().back().text, u"Tanto"_s);
        QCOMPARE(desk.layers().back().reference, u"Juan 3:16 · La Palabra"_s);
        desk.enter("quickVerse", u"Juan 3:16 KJV"_s);
        desk.press("showVerse");
        second->setCurrentIndex(second->findText(u"La Palabra"_s));
        Q_EMIT second->activated(second->currentIndex());
        QCOMPARE(desk.layers().back().secondText, u"Tanto"_s);

        desk.dialogs->answers = { true };
        desk.press("removeBible");
        QTRY_COMPARE(desk.status(), u"Biblia quitada."_s);
        QCOMPARE(choice->count(), 4);
        QCOMPARE(choice->currentIndex(), 0);
        QCOMPARE(second->currentText(), u"LP (no está en este equipo)"_s);
        QCOMPARE(desk.layers().back().secondText, u"Tanto"_s); // what is there stays
    }

    /// By the keyboard alone: opened, a passage added, cued, put in order.
    void passagesOfTheServiceAreCued()
    {
        VerseDeskWindow desk(m_peer);
        QVERIFY(desk.isActive());
        QTest::keyClick(&desk.window, Qt::Key_L, Qt::ControlModifier);
        auto *kept = desk.find<QListWidget>("keptPassages");
        QTRY_VERIFY(kept->isVisible());
        for (const QString &typed : { u"Salmo 23:1"_s, u"jn 3 16"_s, u"Juna 3"_s }) {
            desk.type("passageReference", typed);
        }
        QCOMPARE(desk.dialogs->asked.size(), 1); // the slip
        QCOMPARE(kept->count(), 2);
        QCOMPARE(kept->item(0)->text().section(u"   ·   "_s, 0, 0), u"Salmos 23:1"_s);
        QVERIFY(kept->item(1)->text().contains(u"Porque de tal manera"));
        kept->setCurrentRow(1);
        desk.press("passageUp");
        QCOMPARE(desk.document().project().passages.front().reference, u"Juan 3:16"_s);
        for (const auto &[row, name] : { std::pair { 0, "Juan 3:16" }, { 1, "Salmos 23:1" } }) {
            kept->setCurrentRow(row);
            QTest::keyClick(kept, Qt::Key_Return);
            QCOMPARE(desk.layers().back().name, QLatin1String(name));
        }
        auto *recent = desk.find<QListWidget>("recentPassages");
        QCOMPARE(recent->count(), 2); // the last one first
        QVERIFY(recent->item(0)->text().startsWith(u"Salmos 23:1"));
        for (int chapter = 1; chapter <= 60; ++chapter) {
            desk.type("quickVerse", u"Salmos %1:1"_s.arg(chapter));
        }
        QCOMPARE(recent->count(), 50);
        desk.press("removePassage");
        QCOMPARE(kept->count(), 1);
        VerseDeskWindow next(m_peer); // another run
        QCOMPARE(next.find<QListWidget>("recentPassages")->count(), 50);
    }

    /// A passage came back in whatever Bible was chosen by then.
    void theHistoryKeepsTheBibles()
    {
        VerseDeskWindow desk(m_peer);
        const auto recall = [](VerseDeskWindow &from, const char *line) {
            auto *recent = from.find<QListWidget>("recentPassages");
            const auto found = recent->findItems(QString::fromUtf8(line), Qt::MatchStartsWith);
            QCOMPARE(found.size(), 1);
            recent->setCurrentItem(found.first());
            QTest::keyClick(recent, Qt::Key_Return);
            QVERIFY(recent->currentItem()->text().startsWith(QString::fromUtf8(line)));
        };
        desk.choose(1);
        for (const char *typed : { "Juan 3:16 KJV", "Juan 3:16" }) {
            desk.type("quickVerse", QLatin1String(typed));
        }
        recall(desk, "John 3:16 · King James Version");
        QCOMPARE(desk.layers().back().reference, u"John 3:16 · King James Version"_s);
        desk.lookUpOnline(u"Juan 3:17"_s);
        m_peer.answer(awaitRequest(), R"({"data":{"content":"En línea"}})");
        QTRY_COMPARE(desk.layers().back().text, u"En línea"_s);
        QCOMPARE(desk.find<QListWidget>("recentPassages")->count(), 3); // no stand-in
        desk.lookUpOnline(u"Juan 3:16"_s); // which was shown as its stand-in, and in another Bible
        m_peer.answer(awaitRequest(2), R"({"data":{"content":"Otro"}})");
        QTRY_COMPARE(desk.layers().back().text, u"Otro"_s);
        QCOMPARE(desk.find<QListWidget>("recentPassages")->count(), 4); // both were lost
        VerseDeskWindow next(m_peer); // another run
        next.choose(2);
        recall(next, "Juan 3:16 · Reina-Valera 1909");
        QCOMPARE(next.layers().back().reference, u"Juan 3:16 · Reina-Valera 1909"_s);
        next.enter("bibleKey", QLatin1String(key));
        recall(next, "Juan 3:17 · ");
        QVERIFY(field(awaitRequest(3), "path").contains(u"bibles/b2/passages/JHN.3.17"));

        settings().clear(); // what was kept without its Bible is shown in the chosen one
        settings().setValue(u"recent_passages"_s, QStringList { u"Rut 1:1"_s, u"Y aconteció"_s });
        VerseDeskWindow old(m_peer);
        old.choose(2);
        recall(old, "Rut 1:1   ·   Y aconteció");
        QCOMPARE(old.layers().back().reference, u"Ruth 1:1 · King James Version"_s);
    }

    void whatMayBeMeantIsPicked()
    {
        VerseDeskWindow desk(m_peer);
        for (const auto &[field, place, shown] : { std::tuple { "quickVerse", 1, "Juan 3:16" },
                 { "verseReference", 0, "Jueces 3:16" } }) {
            desk.type(field, u"ju 3:16 rvr"_s);
            const Layer before = desk.layers().back();
            QCOMPARE(desk.status(), u"La cita puede ser: Jueces 3:16 RV1909 · Juan 3:16 RV1909"_s);
            auto *offers = desk.find<QMenu>("verseOffers");
            QTest::keyClick(offers, Qt::Key_Escape);
            QVERIFY(desk.layers().back() == before);
            desk.type(field, u"ju 3:16 rvr"_s);
            offers = desk.window.findChildren<QMenu *>(u"verseOffers"_s).last();
            QVERIFY(offers->isVisible());
            offers->actions().at(place)->trigger();
            QCOMPARE(desk.layers().back().name, QLatin1String(shown));
            offers->close();
        }
        desk.type("passageReference", u"ju 3:16"_s); // was refused in a warning box
        QCOMPARE(desk.status(), u"La cita puede ser: Jueces 3:16 · Juan 3:16"_s);
        auto *offers = desk.window.findChildren<QMenu *>(u"verseOffers"_s).last();
        offers->actions().at(1)->trigger();
        offers->close();
        QCOMPARE(desk.document().project().passages.back().reference, u"Juan 3:16"_s);
        QVERIFY(desk.find<QLineEdit>("passageReference")->text().isEmpty());
        QVERIFY(desk.dialogs->asked.isEmpty());
    }

    void listsBiblesAndTakesTheirText()
    {
        VerseDeskWindow desk(m_peer);
        desk.press("findBibles");
        QTRY_COMPARE(desk.status(), u"Escribe tu clave de API.Bible"_s);
        desk.enter("bibleKey", QLatin1String(key));
        desk.press("findBibles");
        QCOMPARE(desk.status(), u"Consultando API.Bible..."_s);
        m_peer.answer(awaitRequest(),
            R"({"data":[{"id":"b1","name":"Biblia del Oso","abbreviation":"BDO"},)"
            R"({"id":"b2","name":"Reina Valera 1960","abbreviation":"RVR60"}]})");
        QTRY_COMPARE(desk.status(), u"Biblias disponibles: 2"_s);
        QCOMPARE(desk.find<QComboBox>("bibles")->currentText(), u"Reina Valera 1960 (RVR60)"_s);
        QCOMPARE(settings().value(u"apibible_id"_s).toString(), u"b2"_s);

        desk.choose(3);
        QCOMPARE(settings().value(u"bible_choice"_s).toString(), u"api"_s);
        desk.type("quickVerse", u"Juan 3:16"_s);
        QVERIFY(desk.layers().back().text.startsWith(u"Porque de tal manera")); // at once
        const QJsonObject asked = awaitRequest(2);
        QVERIFY(field(asked, "path").contains(u"bibles/b2/passages/JHN.3.16"));
        m_peer.answer(asked, R"({"data":{"content":" En  línea "}})");
        QTRY_COMPARE(desk.status(), u"Versículo listo: Juan 3:16"_s);
        QCOMPARE(desk.layers().back().reference, u"Juan 3:16 · Reina Valera 1960"_s);
        QCOMPARE(desk.find<QPlainTextEdit>("layerText")->toPlainText(), u"En línea"_s);
    }

    /// It finds its layer wherever that is by then, and nothing else; what was selected, typed or
    /// being asked meanwhile stays.
    void aLateReplyFindsItsLayerOrNothing()
    {
        struct Row {
            const char *name;
            std::function<void(VerseDeskWindow &)> change;
            bool written = true;
        };
        const auto typePosition = [](VerseDeskWindow &desk) {
            auto *field = desk.find<QDoubleSpinBox>("positionX");
            field->setFocus();
            field->selectAll();
            QTest::keyClicks(field, u"4"_s); // not committed yet
        };
        const auto deleteScene = [](VerseDeskWindow &desk) {
            const SceneId scene = desk.document().currentScene()->id;
            desk.press("duplicateScene");
            desk.document().apply(DeleteScene { scene });
        };
        const std::initializer_list<Row> rows {
            { "hidden", [](auto &desk) { desk.set(1, LayerField::Visible, false); } },
            { "moved", [](auto &desk) { desk.press("layerDown"); } },
            { "a copy is in PREVIEW", [](auto &desk) { desk.press("duplicateScene"); } },
            { "the other set", [](auto &desk) { desk.press("editHall"); } },
            { "deleted", [](auto &desk) { desk.press("deleteLayer"); }, false },
            { "its scene deleted", deleteScene, false },
            { "undone", [](auto &desk) { desk.press("deleteLayer"), desk.press("undo"); } },
            { "typing a position", typePosition },
            { "another selected, typing", [&](auto &desk) { typePosition(desk), desk.select(0); } },
        };
        for (const Row &row : rows) {
            init();
            VerseDeskWindow desk(m_peer);
            QVERIFY(desk.isActive());
            desk.lookUpOnline(u"Juan 3:17"_s);
            const LayerId layer = desk.layers()[1].id;
            const QJsonObject late = awaitRequest();
            row.change(desk);
            std::vector<Scene> wanted = contents(desk.document().scenes().of(SceneSet::Streams));
            const auto place = placeOf(desk.document().scenes(), layer);
            QCOMPARE(place.has_value(), row.written);
            if (place) {
                Layer &answered = wanted[place->scene].layers[place->layer];
                answered.text = u"tarde"_s;
                answered.reference = u"Juan 3:17 · API.Bible"_s;
            }
            m_peer.answer(late, R"({"data":{"content":"tarde"}})");
            desk.press("findBibles"); // by its reply the late one has been read
            m_peer.answer(awaitRequest(2), "{}");
            QTRY_COMPARE(desk.status(), u"Biblias disponibles: 0"_s);
            if (QByteArray(row.name).contains("typ")) { // what was being typed is not lost
                wanted[0].layers[1].x = 0.04;
            }
            QVERIFY2(contents(desk.document().scenes().of(SceneSet::Streams)) == wanted, row.name);
        }
    }

    void aHandWrittenTextStaysAndTheReplyWaits()
    {
        VerseDeskWindow desk(m_peer);
        desk.lookUpOnline(u"Juan 3:17"_s);
        const QJsonObject late = awaitRequest();
        auto *text = desk.find<QPlainTextEdit>("layerText");
        text->selectAll();
        QTest::keyClicks(text, u"A mano"_s);
        m_peer.answer(late, R"({"data":{"content":"tarde"}})");
        QTRY_VERIFY(
            desk.find<QWidget>("verseWaiting")->isVisibleTo(desk.find<QWidget>("properties")));
        QCOMPARE(desk.layers()[1].text, u"A mano"_s);
        QTest::keyClicks(text, u" sigo"_s);
        QCOMPARE(desk.layers()[1].text, u"A mano sigo"_s);
        desk.press("useWaiting");
        QCOMPARE(desk.layers()[1].text, u"tarde"_s);
        QVERIFY(!desk.find<QWidget>("verseWaiting")->isVisibleTo(desk.find<QWidget>("properties")));
        desk.press("undo");
        QCOMPARE(desk.layers()[1].text, u"A mano sigo"_s);
    }

    /// Where the operator types, what is typed stays, and so does what is in sight.
    void aLateReplyLeavesThePanelInPlace()
    {
        for (const auto &[name, property] : { std::pair { "verseReference", "text" },
                 { "layerName", "text" },
                 { "layerText", "plainText" },
                 { "textSize", "cleanText" } }) {
            const RowName named(name);
            init();
            VerseDeskWindow desk(m_peer);
            QVERIFY(desk.isActive());
            desk.find<QComboBox>("target")->setCurrentText(u"Português"_s);
            desk.enter("apiKey", QLatin1String(key));
            desk.type("quickVerse", u"Juan 3:16"_s);
            auto *panel = desk.find<QScrollArea>("properties");
            auto *field = panel->findChild<QWidget *>(QLatin1String(name));
            field->setFocus();
            panel->ensureWidgetVisible(field);
            QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(field, u"12"_s);
            const int place = field->mapTo(panel, QPoint()).y();
            m_peer.answer(awaitRequest(),
                R"({"output":[{"content":[{"type":"output_text","text":"Porque Deus"}]}]})");
            QTRY_COMPARE(desk.status(), u"Versículo listo: John 3:16"_s);
            QCOMPARE(field->property(property).toString(), u"12"_s);
            QCoreApplication::processEvents(); // lays out what came
            QCOMPARE(field->mapTo(panel, QPoint()).y(), place);
        }
    }

    /// The colour box, a warning and a file box stay open while an answer or a project arrives.
    void boxesOutliveWhatOpenedThem()
    {
        VerseDeskWindow desk(m_peer);
        desk.lookUpOnline(u"Juan 3:17"_s);
        const QJsonObject late = awaitRequest();
        const LayerId layer = desk.layers()[1].id;
        desk.dialogs->colors = { QColor(10, 20, 30) };
        desk.dialogs->meanwhile = [&] {
            m_peer.answer(late, R"({"data":{"content":"tarde"}})");
            QTRY_COMPARE(findLayer(desk.document().scenes(), layer)->text, u"tarde"_s);
            desk.select(0); // the panel is another layer's now
        };
        desk.press("textColor");
        QTRY_COMPARE(desk.layers()[1].color, QColor(10, 20, 30));
        QVERIFY(desk.layers()[0].color != QColor(10, 20, 30));

        desk.dialogs->meanwhile = [&] { desk.document().open(newProject()); };
        desk.select(1);
        desk.dialogs->colors = { QColor(Qt::red) };
        desk.press("backgroundColor");
        QTRY_VERIFY(findLayer(desk.document().scenes(), layer) == nullptr);
        QCoreApplication::processEvents();
        desk.choose(1);
        desk.type("quickVerse", u"Juan 3:16"_s);
        desk.type("verseReference", u"xyz"_s); // its warning meets another project, too
        QCOMPARE(desk.layers().size(), 2U);
    }

    void translatesForOtherLanguages()
    {
        VerseDeskWindow desk(m_peer);
        desk.find<QComboBox>("target")->setCurrentText(u"Português"_s);
        desk.type("quickVerse", u"Juan 3:16"_s);
        QTRY_VERIFY(desk.status().startsWith(u"Versículo en español; para traducirlo"));
        desk.enter("apiKey", QLatin1String(key));
        desk.type("quickVerse", u"Juan 3:16"_s);
        m_peer.answer(awaitRequest(),
            R"({"output":[{"content":[{"type":"output_text","text":"Porque Deus"}]}]})");
        QTRY_COMPARE(desk.layers().back().text, u"Porque Deus"_s);
    }
};

NIMBARA_TEST(VerseControlsTest)
#include "verse_controls_test.moc"
