#include "bible/builtin.h"
#include "studio/studio_fixture.h"
#include "support/test_registry.h"

#include <QSignalSpy>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// A studio that translates from Spanish into English.
struct SermonDesk : StudioFixture {
    SpokenVerses &verses;

    SermonDesk()
        : verses(studio.spokenVerses())
    {
        bible::prepare().waitForFinished();
        studio.settings().setValue(u"bible_choice"_s, u"es"_s);
        studio.translation().chooseTarget(u"English"_s);
        Q_EMIT studio.translation().began();
        studio.stage().program.setFadeEnabled(false);
        verses.setGoesOnAir(false);
    }
    void hear(const QString &text, bool isGrowing = false)
    {
        Q_EMIT studio.translation().understood(text, isGrowing);
    }
    /// The verses of a scene; none is none.
    static QString versesIn(const ScenePtr &scene)
    {
        QStringList references;
        for (const Layer &layer : scene ? scene->layers : std::vector<Layer>()) {
            if (layer.kind == LayerKind::Verse) {
                references.append(layer.name);
            }
        }
        return references.join(u'|');
    }
    [[nodiscard]] QString onPreview() { return versesIn(studio.document().currentScene()); }
    [[nodiscard]] QString onAir() { return versesIn(studio.stage().program.streams()); }
};

} // namespace

class SpokenVersesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { QSettings(u"Halvenmoor"_s, u"NimbaraStudio"_s).clear(); }

    /// One key for PREVIEW, another one for the air; nothing by itself.
    void theOperatorShowsWhatIsNamed()
    {
        SermonDesk desk;
        desk.hear(u"abramos en Juan tres"_s, true);
        QCOMPARE(desk.verses.offered(), QString());
        desk.hear(u"abramos en Juan tres dieciséis"_s, true);
        QCOMPARE(desk.verses.offered(), u"Juan 3:16"_s);
        QCOMPARE(desk.onPreview() + desk.onAir(), QString());
        desk.verses.takeOnAir();
        QVERIFY(desk.told("prepáralo primero") && desk.onAir().isEmpty());
        QVERIFY(desk.verses.prepare());
        QCOMPARE(desk.onPreview(), u"Juan 3:16"_s);
        desk.hear(u"abramos en Juan tres dieciséis."_s); // the same, now it is finished
        QVERIFY(desk.verses.isPrepared() && desk.onAir().isEmpty());
        desk.verses.takeOnAir();
        QVERIFY(desk.runUntil([&] { return desk.onAir() == u"Juan 3:16"_s; }));
        QCOMPARE(desk.verses.offered(), QString());
        desk.hear(u"Y en Romanos ocho uno"_s);
        QCOMPARE(desk.verses.offered(), u"Romanos 8:1"_s);
        desk.verses.dismiss();
        desk.hear(u"Sí, en Romanos ocho uno"_s); // it was dismissed
        QCOMPARE(desk.verses.offered(), QString());
        QCOMPARE(desk.onAir(), u"Juan 3:16"_s);
    }

    void joinsWhatAPhraseHasCut()
    {
        for (const auto &[afterMs, offered] :
            { std::pair(2000, u"1 Corintios 13:4-7"_s), std::pair(20'000, QString()) }) {
            SermonDesk desk;
            desk.hear(u"primera de Corintios trece,"_s);
            desk.verses.dismiss();
            desk.clock.advanceUs(afterMs * 1000);
            desk.hear(u"del cuatro al siete"_s);
            QCOMPARE(desk.verses.offered(), offered);
        }
    }

    void goesOnAirByItselfWhenWanted()
    {
        SermonDesk desk;
        desk.verses.setGoesOnAir(true);
        desk.hear(u"leamos Juan tres dieciséis"_s); // PREVIEW is not what is on air
        QVERIFY(desk.onPreview().isEmpty() && desk.told("El versículo espera"));
        desk.verses.dismiss();
        desk.studio.program().take();
        desk.hear(u"leamos Romanos ocho uno"_s, true); // more may come
        QVERIFY(desk.onPreview().isEmpty());
        desk.hear(u"leamos Romanos ocho uno"_s);
        QVERIFY(desk.runUntil([&] { return desk.onAir() == u"Romanos 8:1"_s; }));
        desk.hear(u"y ahora Juan tres dieciséis"_s); // another verse in the same layer
        QVERIFY(desk.runUntil([&] { return desk.onAir() == u"Juan 3:16"_s; }));
        // Half an edit does not go with it, and a layer that nobody sees takes no verse.
        const std::size_t verse = desk.scene().layers.size() - 1;
        const auto waits = [&desk](const QString &said) {
            desk.statuses.clear();
            desk.hear(said);
            return desk.told("El versículo espera: en PREVIEW hay cambios")
                && desk.onAir() == u"Juan 3:16"_s;
        };
        desk.studio.document().setTitle(u"Pastor Al"_s);
        QVERIFY(waits(u"y en Romanos ocho dos"_s));
        desk.studio.document().setTitle({});
        desk.set(verse, LayerField::Visible, false);
        QVERIFY(waits(u"y en Salmos veintitrés uno"_s));
        addLayer(desk.studio.document(), newLayer(LayerKind::Verse));
        desk.set(verse, LayerField::Visible, true);
        desk.set(verse + 1, LayerField::Visible, false);
        desk.verses.prepare();
        QCOMPARE(desk.layer(verse).name, u"Salmos 23:1"_s);
    }

    /// What is chosen meanwhile is for the next run.
    void hearsTheLanguageOfTheRun()
    {
        SermonDesk desk;
        desk.studio.translation().chooseTarget(u"Spanish"_s);
        desk.hear(u"leamos Juan tres dieciséis"_s);
        QCOMPARE(desk.verses.offered(), u"Juan 3:16"_s);
    }

    /// The key for the air sends what the card said and PREVIEW shows, or nothing.
    void sendsNothingElse()
    {
        SermonDesk desk;
        desk.hear(u"dice Segunda de Corintios trece catorce"_s); // not in this Bible
        QCOMPARE(desk.verses.offered(), QString());
        desk.hear(u"leamos Juan tres dieciséis"_s);
        const LayerId layer = *desk.verses.prepare();
        desk.hear(u"Y en Romanos ocho uno"_s); // another card by now
        desk.verses.takeOnAir();
        QVERIFY(desk.onAir().isEmpty());
        desk.verses.prepare();
        desk.studio.verses().lookupVerse(layer, u"Salmos 23:1"_s, { u"es"_s, {}, {} });
        desk.verses.takeOnAir(); // typed in its place
        QVERIFY(desk.onAir().isEmpty());
    }

    /// Nobody has named it: the card names it, and the caption of the next phrase is the verse's.
    void offersWhatIsQuoted()
    {
        SermonDesk desk;
        const QString quote
            = u"porque de tal manera amó Dios al mundo que ha dado a su Hijo unigénito"_s;
        desk.hear(u"y eso me recuerda que de tal manera amó Dios al mundo que ha dado"_s, true);
        QTRY_COMPARE(desk.verses.offered(), u"Juan 3:16"_s);
        QCOMPARE(desk.verses.captionFor(quote, u"x"_s, u"English"_s),
            u"x"_s); // more words may come
        desk.verses.dismiss();
        desk.hear(quote + u"."_s);
        QTRY_VERIFY(desk.verses.captionFor(quote, u"x"_s, u"English"_s) != u"x"_s);
        QCOMPARE(desk.verses.offered(), QString()); // it was dismissed
        QVERIFY(desk.onPreview().isEmpty() && desk.onAir().isEmpty());
    }

    /// The card would go from one to the other with each word.
    void whatIsReadDoesNotReplaceWhatWasNamed()
    {
        SermonDesk desk;
        QSignalSpy found(&desk.studio.quotations(), &QuotationFinder::found);
        desk.hear(
            u"Juan tres dieciséis al dieciocho: porque de tal manera amó Dios al mundo que ha "
            u"dado a su Hijo unigénito"_s,
            true);
        QTRY_VERIFY(!found.isEmpty());
        QCOMPARE(desk.verses.offered(), u"Juan 3:16-18"_s);
    }

    /// Each verse once, in the Bible of the screens; all else as it is translated.
    void captionsCarryTheVerse()
    {
        SermonDesk desk;
        const auto captionFor = [&](const QString &original,
                                    const QString &translation,
                                    const QString &language = u"English"_s) {
            return desk.verses.captionFor(original, translation, language);
        };
        const QString quote
            = u"porque de tal manera amó Dios al mundo que ha dado a su Hijo unigénito"_s;
        QCOMPARE(captionFor(quote, u"x"_s), u"x"_s); // nobody has named it
        desk.hear(u"Juan tres dieciséis."_s);
        const QString caption = captionFor(quote, u"x"_s);
        QVERIFY2(caption.startsWith(u"For God so loved the world"_s), qPrintable(caption));
        QVERIFY(caption.endsWith(u" (John 3:16)"_s));
        QCOMPARE(
            captionFor(u"para que todo aquel que en él cree no se pierda, mas tenga vida eterna"_s,
                u"x"_s),
            QString());
        QCOMPARE(captionFor(u"Hermanos, ese amor cambia la vida."_s, u"y"_s), u"y"_s);
        desk.clock.advanceUs((SpokenVerses::shownMs + 1) * 1000);
        QCOMPARE(captionFor(quote, u"x"_s), caption); // read again
        QCOMPARE(captionFor(quote, u"x"_s, u"Portuguese"_s), u"x"_s); // no such Bible is built in
    }

    /// Each language has it, also where its name is the same in both.
    void everyLanguageHasTheVerse()
    {
        SermonDesk desk;
        desk.hear(u"Job diecinueve veinticinco."_s);
        for (const auto &[language, begin] : { std::pair(u"English"_s, u"For I know"_s),
                 std::pair(u"Spanish"_s, u"Yo sé que mi Redentor vive"_s) }) {
            const QString caption
                = desk.verses.captionFor(u"yo sé que mi Redentor vive, y al fin se levantará"_s,
                    u"x"_s,
                    language);
            QVERIFY2(caption.startsWith(begin), qPrintable(caption));
            QVERIFY(caption.endsWith(u" (Job 19:25)"_s));
        }
    }
};

NIMBARA_TEST(SpokenVersesTest)
#include "spoken_verses_test.moc"
