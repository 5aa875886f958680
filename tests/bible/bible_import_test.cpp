#include "bible/bible_folder.h"
#include "bible/bible_import.h"
#include "bible/canon.h"
#include "bible/reader.h"
#include "bible/sword_reader.h"
#include "bible/verse_flow.h"
#include "support/test_registry.h"

#include <QDir>
#include <QTemporaryDir>

#include <random>

using namespace bible;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *osis
    = R"(<?xml version="1.0" encoding="UTF-8"?><osis><osisText osisIDWork="LB" xml:lang="es"><header>
<work osisWork="LB"><title>La Biblia</title><rights>De todos</rights></work>
<work osisWork="x"><title>Otra</title></work></header>
<div type="book" osisID="John"><title>Juan</title><chapter osisID="John.3">
<verse osisID="John.3.16">De <w lemma="x">tal</w> manera<note>nota</note> am&#243;</verse>
<verse sID="a" osisID="LB:John.3.17!a John.3.18"/><lg><l>No</l><l>envió</l></lg><verse eID="a"/> fuera
</chapter></div><div osisID="Tob"><verse osisID="Tob.1.1">Tobit</verse></div></osisText></osis>)";
constexpr const char *zefania
    = R"(<XMLBIBLE biblename="La Biblia"><INFORMATION><identifier>LB</identifier>
<language>SPA</language><rights>De todos</rights></INFORMATION><BIBLEBOOK bnumber="43"><CHAPTER cnumber="3">
<CAPTION>Juan</CAPTION><VERS vnumber="16">De tal <STYLE>manera</STYLE><NOTE>nota</NOTE> amó</VERS>
<VERS vnumber="17">No<BR/>envió</VERS></CHAPTER></BIBLEBOOK>
<BIBLEBOOK bnumber="67"><CHAPTER cnumber="1"><VERS vnumber="1">x</VERS></CHAPTER></BIBLEBOOK></XMLBIBLE>)";
constexpr const char *usfm = R"(\id JHN - La Biblia
\rem Copyright: De todos
\ide UTF-8
\mt1 Juan
\c 3
\s Un título
\p
\v 16 De \w tal|lemma="x"\w* manera\f + \ft nota\f* \wj a\wj*mó
\q1
\v 17-18 No~\zaln-s |x="1"\*envió\zaln-e\*
\s Otro
)";

/// A book whose chapters have so many verses, each named by its number.
RawBible withChapters(std::int32_t book, const QList<int> &counts, int firstChapter = 1)
{
    RawBible raw;
    raw.name = u"Biblia"_s;
    for (qsizetype place = 0; place < counts.size(); ++place) {
        const auto chapter = static_cast<std::int32_t>(place) + firstChapter;
        for (std::int32_t verse = 1; verse <= counts.at(place); ++verse) {
            raw.add(book, chapter, verse, u"%1:%2"_s.arg(chapter).arg(verse));
        }
    }
    return raw;
}

} // namespace

/// The operator's own Bibles.
class BibleImportTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_folder;

    QString written(const QByteArray &contents, const QString &name = u"biblia.txt"_s)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
            qFatal("cannot write");
        }
        return file.fileName();
    }
    /// What importing the file fails with; empty when it does not.
    QString faultOf(const QByteArray &contents)
    {
        try {
            static_cast<void>(inCanon(readBibleFiles({ written(contents) }), {}));
            return {};
        } catch (const nimbara::Error &error) {
            return error.text();
        }
    }

private Q_SLOTS:
    void initTestCase() { prepare().waitForFinished(); }
    void cleanup() { setImportedBibles({}); }

    void readsEachFormat()
    {
        for (const auto &[contents, code] :
            { std::pair { osis, "LB" }, { zefania, "LB" }, { usfm, "LB" } }) {
            const Bible bible = inCanon(readBibleFiles({ written(contents) }), {});
            QCOMPARE(bible.name, u"La Biblia"_s);
            QCOMPARE(bible.id, QLatin1String(code));
            QCOMPARE(bible.lang, u"es"_s);
            QVERIFY2(bible.license.endsWith(u"De todos"_s), qPrintable(bible.license));
            QCOMPARE(verseText(bible, { 42, 3, 16, 16 }), u"De tal manera amó"_s);
            QCOMPARE(verseText(bible, { 42, 3, 17, 17 }), u"No envió"_s);
            QCOMPARE(verseText(bible, { 42, 3, 18, 18 }), QString());
            QCOMPARE(chapterCount(bible, 0), 0);
        }
        const RawBible both = readBibleFiles({ written(usfm, u"1.usfm"_s),
            written("\\id RUT\n\\c 1\n\\p\n\\v 1 Rut", u"2.usfm"_s) });
        QCOMPARE(both.books.size(), std::size_t { 2 });
    }

    /// A title that is numbered 0 made the whole file be refused.
    void titlesStandBeforeTheFirstVerse()
    {
        constexpr int psalms = 18;
        for (const char *contents :
            { "<osis><osisText><verse osisID='Ps.0.0'>Intro</verse><verse osisID='Ps.3.0'>De David."
              "</verse><verse osisID='Ps.3.1'>Jehová</verse><verse osisID='Ps.4.0 Ps.4.1'>Al músico"
              "</verse><verse osisID='Ps.5.0'>Otro</verse></osisText></osis>",
                "<XMLBIBLE><BIBLEBOOK bnumber='19'><CHAPTER cnumber='0'><VERS "
                "vnumber='1'>Intro</VERS>"
                "</CHAPTER><CHAPTER cnumber='3'><VERS vnumber='0'>De David.</VERS>"
                "<VERS vnumber='1'>Jehová</VERS></CHAPTER><CHAPTER cnumber='4'>"
                "<VERS vnumber='1'>Al músico</VERS></CHAPTER></BIBLEBOOK></XMLBIBLE>",
                "\\id PSA\n\\c 0\n\\v 1 Intro\n\\c 3\n\\v 0 De David.\n\\v 1 Jehová\n"
                "\\c 4\n\\v 0-1 Al músico\n\\c 5\n\\v 0 Otro" }) {
            const Bible bible = inCanon(readBibleFiles({ written(contents) }), {});
            QCOMPARE(verseText(bible, { psalms, 3, 1, 1 }), u"De David. Jehová"_s);
            QCOMPARE(verseText(bible, { psalms, 3, 0, 0 }), u"De David. Jehová"_s);
            QCOMPARE(verseText(bible, { psalms, 4, 1, 1 }), u"Al músico"_s);
            QCOMPARE(verseText(bible, { psalms, 1, 0, 0 }) + verseText(bible, { psalms, 5, 0, 0 }),
                QString());
        }
    }

    void readsInstalledModules()
    {
        const QString folder = m_folder.filePath(u"sword"_s);
        QVERIFY(QDir().mkpath(folder + u"/mods.d"_s) && QDir().mkpath(folder + u"/m"_s));
        const QByteArray verse
            = "De <w>tal</w> <note n='0'/>manera<note n='1'>nota</note> am&#243; <H157>";
        const QByteArray begin = "Nada. ";
        const auto record = [](std::initializer_list<quint32> numbers, quint16 size) {
            QByteArray bytes;
            for (const quint32 number : numbers) {
                bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
            }
            return bytes.append(reinterpret_cast<const char *>(&size), sizeof size);
        };
        // Two headings, those of four books and of their chapters up to John 3, and John 3:1-15.
        qsizetype before = 2 + 4 + (28 + 16 + 24 + 3) + 15;
        for (int book = 39; book < 43; ++book) {
            for (int chapter = 1; chapter <= (book == 42 ? 2 : canonChapters(book)); ++chapter) {
                before += canonVerses(book, chapter);
            }
        }
        const auto indexOf = [&](const QByteArray &entry) {
            return QByteArray(before * entry.size(), '\0') + entry
                + QByteArray((8246 - before - 1) * entry.size(), '\0');
        };
        const QByteArray packed = qCompress(begin + verse).mid(4);
        const auto size = static_cast<quint16>(verse.size());
        const auto from = static_cast<quint32>(begin.size());
        QByteArray block = record({ 0, static_cast<quint32>(packed.size()) }, 0).chopped(2);
        block += record({ static_cast<quint32>((begin + verse).size()) }, 0).chopped(2);
        for (const auto &[name, contents] :
            { std::pair { "m/nt.bzv", indexOf(record({ 0, from }, size)) },
                { "m/nt.bzs", block },
                { "m/nt.bzz", packed },
                { "m/nt.vss", indexOf(record({ from }, size)) },
                { "m/nt", begin + verse } }) {
            written(contents, u"sword/"_s + QLatin1String(name));
        }
        for (const auto &[settings, fault] : { std::pair { "ModDrv=zText\nCompressType=ZIP\n", "" },
                 { "ModDrv=RawText\n", "" },
                 { "ModDrv=zText\n", "La Biblia: no se lee su compresión, LZSS" },
                 { "ModDrv=RawText\nCipherKey=\n", "La Biblia: el módulo está cifrado" },
                 { "ModDrv=RawText\nVersification=Vulg\n",
                     "La Biblia: no se lee su numeración, Vulg" },
                 { "ModDrv=RawText4\n", "La Biblia: el módulo está dañado" } }) {
            written(QByteArray("[LB]\nDescription=La Biblia\nLang=es\nEncoding=UTF-8\n"
                               "DistributionLicense=De todos\nDataPath=./m/\n")
                    + settings,
                u"sword/mods.d/lb.conf"_s);
            const QList<SwordModule> modules = swordModules({ folder, u"/nowhere"_s });
            QCOMPARE(modules.size(), 1);
            try {
                const Bible bible = inCanon(readSword(modules.first()), {});
                QVERIFY2(*fault == '\0', fault);
                QCOMPARE(bible.id, u"LB"_s);
                QCOMPARE(bible.license, u"De todos"_s);
                QCOMPARE(verseText(bible, { 42, 3, 16, 16 }), u"De tal manera amó"_s);
                QCOMPARE(verseText(bible, { 42, 3, 17, 17 }), QString());
            } catch (const nimbara::Error &error) {
                QCOMPARE(error.text(), QString::fromUtf8(fault));
            }
        }
    }

    void tellsWhatIsWrongAndWhere()
    {
        const QByteArray whole = osis;
        for (const auto &[contents, fault] : {
                 std::pair { QByteArray("Hola"),
                     "biblia.txt, línea 1: no es OSIS, USFM ni Zefania" },
                 { "\n<html/>", "biblia.txt, línea 2: no es OSIS ni Zefania" },
                 { whole.chopped(10), "biblia.txt, línea 7: XML dañado: " },
                 { "<osis>\n<verse osisID='John.3'/></osis>",
                     "biblia.txt, línea 2: versículo mal nombrado: “John.3”" },
                 { "<osis>\n\n<verse osisID='John.x.1'/></osis>",
                     "biblia.txt, línea 3: “x” no es un número de capítulo o versículo" },
                 { "<XMLBIBLE>\n<BIBLEBOOK bnumber='1'><VERS vnumber='1'>a</VERS>",
                     "biblia.txt, línea 2: un versículo sin capítulo" },
                 { "\\id JHN\n\\c tres\n", "biblia.txt, línea 2: “tres” no es un número" },
                 { "\\id JHN\n\\v 1 a", "biblia.txt, línea 2: un versículo sin capítulo" },
                 { "\\c 1\n\\v 1 a", "biblia.txt, línea 2: un versículo sin libro" },
                 { "\\id JHN\n\\c 1\n\\v 1 a \\f + b\n\\v 2 c",
                     "biblia.txt, línea 4: una nota no termina: \\f" },
                 { "\\id JHN\n\\c 1\n\\v 1 a \\ b",
                     "biblia.txt, línea 3: una barra “\\” sin marca" },
                 { "\\id JHN\n\\c 1\n\\v 1 a\n\\id JHN",
                     "biblia.txt, línea 4: el libro JHN está dos veces" },
                 { "\\id JHN\n\\c 1\n\\v 1 a\xff", "biblia.txt, línea 3: no es texto UTF-8" },
                 { "\\id TOB\n\\c 1\n\\v 1 a", "biblia.txt no tiene ningún versículo" },
             }) {
            const QString told = faultOf(contents);
            QVERIFY2(told.startsWith(QString::fromUtf8(fault)), qPrintable(told));
        }
        QVERIFY_THROWS_EXCEPTION(nimbara::Error, readBibleFiles({ u"/nowhere/a.xml"_s }));
        const QString one = written(osis);
        QVERIFY_THROWS_EXCEPTION(nimbara::Error, readBibleFiles({ one, one }));
    }

    /// Whatever is in a file, it is a Bible or a fault.
    void survivesMangledFiles()
    {
        std::mt19937 random(3);
        int read = 0;
        for (int turn = 0; turn < 300; ++turn) {
            QByteArray bytes(std::array { osis, zefania, usfm }.at(static_cast<size_t>(turn) % 3));
            for (int change = 0; change < 1 + turn % 4; ++change) {
                const auto at = static_cast<qsizetype>(random() % bytes.size());
                switch (random() % 3) {
                case 0:
                    bytes[at] = static_cast<char>(random());
                    break;
                case 1:
                    bytes.truncate(at + 1);
                    break;
                default:
                    bytes.insert(at,
                        bytes.mid(static_cast<qsizetype>(random() % bytes.size()), 40));
                }
            }
            read += faultOf(bytes).isEmpty() ? 1 : 0;
        }
        QVERIFY(read > 0 && read < 300);
    }

    /// What has another number than in the canon is not shown under that of another verse.
    void otherNumberingIsWithheldAndNamed()
    {
        constexpr int psalms = 18;
        constexpr int joel = 28;
        constexpr int malachi = 38;
        QList<int> hebrew;
        QList<int> greek;
        for (int psalm = 1; psalm <= 150; ++psalm) {
            hebrew << canonVerses(psalms, psalm) + (psalm == 3 ? 1 : 0);
            greek << canonVerses(psalms, psalm >= 10 && psalm < 147 ? psalm + 1 : psalm);
        }
        greek[8] = 39;
        const QList<int> corinthians { 24, 17, 18, 18, 21, 18, 16, 24, 15, 18, 33, 21, 13 };
        const QList<int> daniel { 21, 49, 100, 37, 31, 28, 28, 27, 27, 21, 45, 13, 64, 42 };
        struct Row {
            std::int32_t book;
            QList<int> counts;
            const char *typed, *shown, *missing;
        };
        const QString otherwise = u" Esa Biblia numera allí de otra forma."_s;
        const std::initializer_list<Row> rows {
            { joel, { 20, 27, 5, 21 }, "Joel 2:26-29", "26 2:26 27 2:27", "Joel 2:28-29.+" },
            { joel, { 20, 27, 5, 21 }, "Joel 3:1", "", "Joel 3:1.+" },
            { joel, { 20, 27, 5, 21 }, "Joel 1:20", "1:20", "" },
            { joel, { 20, 32, 20 }, "Joel 3:21", "", "Joel 3:21." },
            { malachi, { 14, 17, 24 }, "Malaquías 3:18", "3:18", "" },
            { malachi, { 14, 17, 24 }, "Malaquías 4:2", "", "Malaquías 4:2.+" },
            { 31, { 16, 11, 10, 11 }, "Jonás 2:1", "", "Jonás 2:1.+" },
            { 31, { 16, 11, 10, 11 }, "Jonás 3:1", "3:1", "" },
            { 7, { 22, 24, 18, 22 }, "Rut 2:1", "", "Rut 2:1.+" }, // nothing explains the 24th
            { psalms, hebrew, "Salmo 3:1", "", "Salmos 3:1.+" },
            { psalms, hebrew, "Salmo 23:1", "23:1", "" },
            { psalms, greek, "Salmo 23:1", "", "Salmos 23:1.+" },
            { psalms, greek, "Salmo 148:1", "148:1", "" },
            { 0, { 31, 25, 24 }, "Génesis 4:1", "", "Génesis 4:1." },
            { 0, { 31, 25 }, "Génesis 1:31", "1:31", "" },
            { 63, { 15 }, "3 Juan 14", "1:14", "" },
            { 42, { 51, 25, 36, 54, 47, 72 }, "Juan 6:60", "", "Juan 6:60.+" }, // parted before
            { 46, corinthians, "2 Corintios 13:11", "13:11", "" },
            { 46, corinthians, "2 Corintios 13:13", "", "2 Corintios 13:13.+" }, // two are one
            { 26, daniel, "Daniel 4:1", "4:1", "" }, // with what others append
        };
        for (const Row &row : rows) {
            RawBible raw = withChapters(row.book, row.counts);
            raw.lang = u"spa"_s;
            const Bible bible = inCanon(raw, {});
            const Passage passage = read(QString::fromUtf8(row.typed)).passages.value(0);
            QString missing = missingText(bible, passage).spanish();
            missing.replace(otherwise, u"+"_s).remove(u"No está en Biblia: "_s);
            QCOMPARE(missing, QString::fromUtf8(row.missing));
            QString shown;
            try {
                shown = builtInVerse(bible, passage, u"es"_s).text;
            } catch (const nimbara::Error &error) {
                QVERIFY(!missing.isEmpty());
                QVERIFY2(error.text().startsWith(u"No está en Biblia: "_s), row.typed);
            }
            QCOMPARE(shown, QLatin1String(row.shown));
        }
    }

    void isChosenByItsNameBehindAReference()
    {
        RawBible raw = withChapters(42, { 51 });
        raw.name = u"Reina Valera 1960"_s;
        const auto first = std::make_shared<const Bible>(inCanon(raw, {}));
        QCOMPARE(first->id, u"RV1960"_s);
        raw.name = u"La Palabra"_s;
        raw.code = u"RV1960"_s;
        const auto second = std::make_shared<const Bible>(inCanon(raw, { first }));
        QCOMPARE(second->id, u"RV1960-2"_s);
        QCOMPARE(inCanon(raw, { first, second }).id, second->id); // the same one anew
        setImportedBibles({ first, second });
        for (const auto &[typed, choice] : { std::pair { "Juan 1:1 RV1960", "bible:RV1960" },
                 { "Juan 1:1 rvr60", "bible:RV1960" },
                 { "Juan 1:1 (Reina-Valera 1960)", "bible:RV1960" },
                 { "Juan 1:1, La Palabra", "bible:RV1960-2" },
                 { "Juan 1:1 KJV", "en" },
                 { "Juan 1:1", "es" } }) {
            const Asked asked = requireReference(QString::fromUtf8(typed), u"es"_s);
            QCOMPARE(choiceFor(asked.bible, u"es"_s, {}), QLatin1String(choice));
        }
        QVERIFY(firstBible(u"bible:RV1960"_s) == first);
        QVERIFY(firstBible(u"bible:XYZ"_s) == nullptr);
        QCOMPARE(bibleWithName(u"King James Version"_s)->id, u"KJV"_s);
    }

    void isKeptInItsFolder()
    {
        const QString folder = m_folder.filePath(u"bibles"_s);
        const Bible bible = inCanon(readBibleFiles({ written(osis) }), {});
        storeImported(folder, bible);
        storeImported(folder, bible); // in its own place
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList(u"LB.bible"_s));
        for (const QString &name : { u"bad.bible"_s, u"LB.bible.abcdef"_s }) {
            QFile file(folder + u'/' + name);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("half");
            file.flush();
            file.setFileTime(QDateTime::currentDateTime().addDays(-2),
                QFileDevice::FileModificationTime);
        }
        const QList<BiblePtr> loaded = loadImported(folder);
        QCOMPARE(loaded.size(), 1);
        QCOMPARE(loaded.first()->books, bible.books);
        QCOMPARE(loaded.first()->license, bible.license);
        QCOMPARE(QDir(folder).entryList(QDir::Files),
            (QStringList { u"bad.bible"_s, u"LB.bible"_s }));
        QVERIFY(removeImported(folder, bible.id));
        QVERIFY(loadImported(folder).isEmpty());
        QVERIFY_THROWS_EXCEPTION(nimbara::Error, storeImported(u"/proc/nowhere"_s, bible));
    }
};

NIMBARA_TEST(BibleImportTest)
#include "bible_import_test.moc"
