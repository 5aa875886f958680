#include "bible/suggestions.h"
#include "bible/verse_flow.h"
#include "bible/verse_order.h"
#include "bible/verse_search.h"
#include "support/test_registry.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QLockFile>
#include <QTemporaryDir>

#include <random>

using namespace bible;
using namespace Qt::StringLiterals;

namespace {

struct KnownVerse {
    QString bible;
    Ref verse;
    QStringList words;
};

/// Of the built-in Bible of a language.
QString idOf(const QString &lang)
{
    return lang == u"es" ? spanish().id : english().id;
}

QList<KnownVerse> versesOf(const QString &file)
{
    QList<KnownVerse> verses;
    QFile lines(QStringLiteral(NIMBARA_BIBLE_TESTS "/") + file);
    if (!lines.open(QIODevice::ReadOnly)) {
        qFatal("no %s", qPrintable(file));
    }
    for (const QByteArray &line : lines.readAll().trimmed().split('\n')) {
        const QStringList parts = QString::fromUtf8(line).split(u'\t');
        verses.append({ idOf(parts[0]), parse(parts[1]), searchWords(parts[2]) });
    }
    return verses;
}

/// Two to five words of a verse: in a row, or of four letters and more in their order.
QString queryOf(const QStringList &all, std::mt19937 &random)
{
    const auto below
        = [&random](qsizetype bound) { return static_cast<qsizetype>(random()) % bound; };
    QStringList words = all;
    const bool inRow = below(2) == 0;
    const qsizetype count = 2 + below(4);
    if (!inRow) {
        words.removeIf([](const QString &word) { return word.size() < 4; });
    }
    if (words.size() < 2) {
        words = all;
    }
    if (inRow) {
        const qsizetype first = below(std::max(words.size() - count, qsizetype { 0 }) + 1);
        return words.mid(first, count).join(u' ');
    }
    while (words.size() > count) {
        words.removeAt(below(words.size()));
    }
    return words.join(u' ');
}

/// With one verse, so that its index is soon made.
BiblePtr shortBible(const QString &text = u"Un xilófono"_s)
{
    auto own = std::make_shared<Bible>();
    own->id = u"LP"_s;
    own->lang = u"es"_s;
    own->books = QJsonArray { QJsonArray { QJsonArray { text } } };
    while (own->books.size() < 66) {
        own->books.append(QJsonArray());
    }
    own->valid = true;
    return own;
}

QString labels(const QList<Suggestion> &suggestions)
{
    QStringList list;
    for (const Suggestion &suggestion : suggestions) {
        list << suggestion.reference;
    }
    return list.join(u" | "_s);
}

} // namespace

/// Verses found by their words, and references completed while they are typed.
class VerseSearchTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_folder;

    QList<FoundVerse> find(VerseSearch &search, const QString &words, qsizetype most = 5)
    {
        QList<FoundVerse> result;
        bool done = false;
        search.find(words, most, [&](const QList<FoundVerse> &found) {
            result = found;
            done = true;
        });
        return QTest::qWaitFor([&] { return done; }, 120'000) ? result : QList<FoundVerse>();
    }
    [[nodiscard]] QString path() const { return m_folder.filePath(u"cache/verses.sqlite"_s); }

private Q_SLOTS:
    void initTestCase() { prepare().waitForFinished(); }

    void everyVerseHasItsNumber()
    {
        QCOMPARE(verseTotal(), 31'102);
        for (std::int32_t number = 0; number < verseTotal(); number += 7) {
            QCOMPARE(verseNumber(verseAt(number)), number);
        }
        QCOMPARE(verseAt(31'101), parse(u"Apocalipsis 22:21"_s));
        QCOMPARE(verseNumber(parse(u"Juan 3:99"_s)), -1);
        QCOMPARE(verseNumber(parse(u"Juan 3:16-17"_s)), -1);
    }

    void knownVersesAreAmongTheFirstFive()
    {
        VerseSearch search(m_folder.filePath(u"cache"_s));
        for (const auto &[words, lang, first] :
            { std::tuple { "amó Dios mundo", "es", "Juan 3:16" },
                { "THE LORD IS MY SHEPHERD", "en", "Salmos 23:1" },
                { "jehova pastor", "es", "Salmos 23:1" },
                { "lord is my sheph", "en", "Salmos 23:1" },
                { "\"todo lo puedo\" OR NOT (", "es", "Filipenses 4:13" },
                { "jesus wept", "en", "Juan 11:35" } }) {
            const QList<FoundVerse> found = find(search, QString::fromUtf8(words));
            QVERIFY2(!found.isEmpty(), words);
            QCOMPARE(found.first().bible + u' ' + label(found.first().verse, u"es"_s),
                idOf(QLatin1String(lang)) + u' ' + QString::fromUtf8(first));
        }
        QVERIFY(find(search, u"xyzzy qwertz"_s).isEmpty());
        QVERIFY(find(search, u" ,.! "_s).isEmpty());

        const QList<KnownVerse> verses = versesOf(u"known_verses.tsv"_s);
        std::mt19937 random(1);
        int missed = 0;
        constexpr int queries = 1000;
        for (int query = 0; query < queries; ++query) {
            const KnownVerse &verse = verses.at(query % verses.size());
            const QString words = queryOf(verse.words, random);
            if (!find(search, words).contains(FoundVerse { verse.bible, verse.verse })) {
                ++missed;
            }
        }
        QVERIFY2(missed <= queries * 5 / 100, QByteArray::number(missed));
    }

    void aDamagedIndexIsMadeAnew()
    {
        const auto shepherd = [this] {
            VerseSearch search(m_folder.filePath(u"cache"_s));
            return find(search, u"lord is my shepherd"_s).value(0).verse == parse(u"Salmos 23:1"_s);
        };
        QVERIFY(shepherd());
        const qint64 size = QFileInfo(path()).size();
        QFile file(path());
        QVERIFY(file.open(QIODevice::ReadWrite));
        for (qint64 at = 4096; at < size; at += 8192) { // every other page of it
            file.seek(at);
            file.write(QByteArray(4096, '\xa5'));
        }
        file.close();
        QVERIFY(shepherd());
        QVERIFY(file.resize(size / 2));
        QVERIFY(shepherd());
        QVERIFY(file.resize(0));
        QVERIFY(shepherd());
        QCOMPARE(QFileInfo(path()).size(), size);
        VerseSearch nowhere(u"/proc/nowhere"_s); // cannot be written
        QVERIFY(!find(nowhere, u"lord is my shepherd"_s).isEmpty());
    }

    void whatACrashHasLeftIsRemoved()
    {
        const QTemporaryDir folder;
        const QString index = folder.filePath(u"verses.sqlite"_s);
        QFile unfinished(index + u".99999999"_s); // of a process that there is not
        const auto never = [] { return false; };
        for (const bool isBeingMade : { true, false }) {
            QVERIFY(unfinished.open(QIODevice::WriteOnly));
            unfinished.close();
            QLockFile lock(index + u".lock"_s); // of another instance that is at it
            QVERIFY(!isBeingMade || lock.tryLock());
            VerseIndex::make(index, never, { shortBible() });
            QCOMPARE(unfinished.exists(), isBeingMade);
        }
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList(u"verses.sqlite"_s));
    }

    void importedVersesAreFound()
    {
        const BiblePtr own = shortBible();
        const QString index = m_folder.filePath(u"own.sqlite"_s);
        VerseIndex::make(index, [] { return false; }, { own });
        QVERIFY_THROWS_EXCEPTION(SqliteError, VerseIndex(index, {})); // of other Bibles
        // Imported anew under its name, with another word of the same length.
        const BiblePtr anew = shortBible(u"Un monóculo"_s);
        QVERIFY_THROWS_EXCEPTION(SqliteError, VerseIndex(index, { anew }));
        const QList<FoundVerse> found = VerseIndex(index, { own }).find(u"XILOFONO"_s, 5);
        QVERIFY((found == QList<FoundVerse> { { u"LP"_s, { 0, 1, 1, 1 } } }));
        setImportedBibles({ own });
        QCOMPARE(suggestionOf(found.first(), firstBible(u"es"_s)).reference, u"Génesis 1:1 LP"_s);
        setImportedBibles({});
        QVERIFY(suggestionOf(found.first(), nullptr).reference.isEmpty()); // it has gone
    }

    void onlyTheNewestSearchAnswers()
    {
        VerseSearch search(m_folder.filePath(u"cache"_s));
        int answers = 0;
        for (int key = 0; key < 50; ++key) {
            search.find(u"en el principio"_s, 5, [&](const auto &) { ++answers; });
        }
        QVERIFY(!find(search, u"in the beginning god"_s).isEmpty());
        QCOMPARE(answers, 0);
    }

    void referencesAreCompleted()
    {
        struct Row {
            const char *typed, *labels;
        };
        const std::initializer_list<Row> rows {
            { "", "" },
            { "ju", "Jueces | Juan | Judas" },
            { "juan", "Juan 1 | Juan 2 | Juan 3 | Juan 4" },
            { "1 cor", "1 Corintios 1 | 1 Corintios 2 | 1 Corintios 3 | 1 Corintios 4" },
            { "juan 3", "Juan 3 | Juan 3:1 | Juan 3:2 | Juan 3:3" },
            { "jn 3:", "Juan 3 | Juan 3:1 | Juan 3:2 | Juan 3:3" },
            { "John 3:3", "Juan 3:3 | Juan 3:30 | Juan 3:31 | Juan 3:32" },
            { "juan 3 16", "Juan 3:16" },
            { "ju 3:16", "Jueces 3:16 | Juan 3:16" },
            { "juan 3:16-18", "Juan 3:16-18" },
            { "juan 3:16 kjv", "Juan 3:16 KJV" },
            { "judas 2", "Judas 1:2 | Judas 1:20 | Judas 1:21 | Judas 1:22" },
            { "filemon 25", "Filemón 1:25" },
            { "juan 3:99", "" },
            { "amó Dios", "" },
        };
        for (const Row &row : rows) {
            QCOMPARE(labels(completions(QString::fromUtf8(row.typed), spanish(), 4)),
                QString::fromUtf8(row.labels));
        }
        const QList<Suggestion> one = completions(u"gn 1:1"_s, english(), 1);
        QCOMPARE(one.value(0).reference, u"Genesis 1:1"_s);
        QCOMPARE(one.value(0).words, u"In the beginning God created the heaven and the earth."_s);
        QVERIFY(completions(u"ester 8:9"_s, spanish(), 1).value(0).words.size() <= 61);
        QVERIFY(!mayBeWords(u"juan 3"_s) && !mayBeWords(u"ju"_s) && mayBeWords(u"amor"_s));
    }
};

NIMBARA_TEST(VerseSearchTest)
#include "verse_search_test.moc"
