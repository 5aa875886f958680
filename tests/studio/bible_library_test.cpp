#include "bible/shelf.h"
#include "studio/studio_fixture.h"
#include "support/test_registry.h"

#include <QDir>
#include <QTemporaryDir>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *john
    = "\\id JHN La Palabra\n\\c 3\n\\p\n\\v 16 Tanto\n\\v 17 No vino\n\\v 18 Quien";

/// With a data folder of its own, and the Bibles of the computer loaded.
struct LibraryDesk : StudioFixture {
    explicit LibraryDesk(const QString &folder)
        : StudioFixture(StudioPeers { .permission = nullptr, .dataFolder = folder })
    {
        studio.bibleLibrary().ready().waitForFinished();
        studio.settings().setValue(u"bible_choice"_s, u"es"_s);
    }
    /// What is told of the import.
    QString import(const QString &path)
    {
        QString failure;
        const auto listening = QObject::connect(&studio.bibleLibrary(),
            &BibleLibrary::failed,
            &studio,
            [&failure](const Message &reason) { failure = reason.spanish(); });
        studio.bibleLibrary().importFiles({ path });
        const bool ends
            = QTest::qWaitFor([this] { return !studio.bibleLibrary().isImporting(); }, 60'000);
        QObject::disconnect(listening);
        return ends ? failure : u"it does not end"_s;
    }
    [[nodiscard]] Layer layer(LayerId id) { return *findLayer(studio.document().scenes(), id); }
    Layer lookUp(const QString &typed)
    {
        const LayerId id = studio.verses().quickVerseLayer();
        studio.bibles().lookUp(id, typed);
        return layer(id);
    }
};

} // namespace

/// Imported Bibles in the studio.
class BibleLibraryTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_folder;

    QString written(const QByteArray &contents)
    {
        QFile file(m_folder.filePath(u"juan.usfm"_s));
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
            qFatal("cannot write");
        }
        return file.fileName();
    }
    QStringList kept() { return QDir(m_folder.filePath(u"data/bibles"_s)).entryList(QDir::Files); }

private Q_SLOTS:
    void cleanup() { bible::setImportedBibles({}); }

    void isUsedLikeTheOthers()
    {
        const QString data = m_folder.filePath(u"data"_s);
        {
            LibraryDesk desk(data);
            QCOMPARE(desk.import(written(john)), QString());
            QCOMPARE(kept(), QStringList(u"LP.bible"_s));
            QCOMPARE(desk.import(written("\\id JHN La Palabra\n\\c 3\n\\v x")),
                u"juan.usfm, línea 3: “x” no es un número de capítulo o versículo"_s);
            QCOMPARE(kept(), QStringList(u"LP.bible"_s)); // and the one before is whole
        }
        LibraryDesk desk(data); // another run
        const Layer layer = desk.lookUp(u"Juan 3:16-18 la palabra"_s);
        QCOMPARE(layer.text, u"16 Tanto 17 No vino 18 Quien"_s);
        QCOMPARE(layer.reference, u"Juan 3:16-18 · La Palabra"_s);
        desk.studio.bibles().chooseImported(u"LP"_s);
        QCOMPARE(desk.lookUp(u"Juan 3:16"_s).text, u"Tanto"_s);
        desk.studio.verseSteps().step(layer.id, VerseSteps::Direction::On); // its own next verse
        QCOMPARE(desk.layer(layer.id).reference, u"Juan 3:17 · La Palabra"_s);
        QCOMPARE(desk.lookUp(u"Juan 3:17-19"_s).text, u"17 No vino 18 Quien"_s);
        QVERIFY(desk.told("No está en La Palabra: Juan 3:19."));
        QVERIFY_THROWS_EXCEPTION(Error, desk.lookUp(u"Juan 4:1"_s));
        desk.studio.verses().setSecond(layer.id, u"KJV"_s);
        desk.studio.verses().setSecond(layer.id, u"LP"_s);
        QCOMPARE(desk.lookUp(u"Juan 3:16 RV1909"_s).secondReference, u"Juan 3:16 · La Palabra"_s);
    }

    void aBibleThatIsNotThereIsTold()
    {
        LibraryDesk desk(m_folder.filePath(u"other"_s));
        const LayerId id = desk.lookUp(u"Juan 3:16"_s).id;
        desk.studio.document().apply(SetField { id, LayerField::Second, u"LP"_s });
        QCOMPARE(absentBibles(desk.studio.document().scenes()), QStringList(u"LP"_s));
        const Layer before = desk.lookUp(u"Juan 3:17"_s);
        QVERIFY(before.secondText.isEmpty());
        QVERIFY(desk.told("La Biblia LP no está en este equipo: se muestra sola la primera."));
        desk.studio.bibles().chooseImported(u"LP"_s);
        QVERIFY_THROWS_EXCEPTION(Error, desk.lookUp(u"Juan 3:18"_s));
        QVERIFY(desk.lookUp(u"Juan 3:17 RV1909"_s) == before);
        Q_EMIT desk.studio.projects().opened({});
        QTRY_VERIFY(desk.told("El proyecto usa Biblias que no están en este equipo: LP"));
    }
};

NIMBARA_TEST(BibleLibraryTest)
#include "bible_library_test.moc"
