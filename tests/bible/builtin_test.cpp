#include "bible/builtin.h"
#include "support/test_registry.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QResource>

#include <limits>
#include <numeric>

using namespace Qt::StringLiterals;
using bible::Bible;

namespace {

constexpr std::int32_t farBeyond = std::numeric_limits<std::int32_t>::max();

/// Chapters of each book of the Protestant canon.
const QStringList chapterCounts
    = u"50 40 27 36 34 24 21 4 31 24 22 25 29 36 10 13 10 42 150 31 12 8 66 52 5 48 12 14 3 9 1 "
      "4 7 3 3 3 2 14 4 28 16 24 21 28 16 16 13 6 6 4 4 5 3 6 4 3 1 13 5 5 3 5 1 1 1 22"_s.split(
          u' ');

const Bible &bibleOf(const QString &lang)
{
    return lang == "en"_L1 ? bible::english() : bible::spanish();
}

QString read(const Bible &bible, const char *reference)
{
    return bible::verseText(bible, bible::parse(QString::fromUtf8(reference)));
}

QByteArray packed(int bookCount)
{
    QJsonArray books;
    for (int i = 0; i < bookCount; ++i) {
        books.append(QJsonArray { QJsonArray { u"one"_s, u"two"_s } });
    }
    return qCompress(QJsonDocument(QJsonObject { { u"books"_s, books } }).toJson());
}

} // namespace

class BuiltInTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        bible::prepare().waitForFinished();
        const Bible &es = bible::spanish();
        const Bible &en = bible::english();
        QCOMPARE(&es, &bible::spanish());
        QCOMPARE(es.id + es.name + es.lang, u"RV1909Reina-Valera 1909es"_s);
        QCOMPARE(en.id + en.name + en.lang, u"KJVKing James Versionen"_s);
        for (const char *path : { ":/bible-es-rv1909.qz", ":/bible-en-kjv.qz" }) {
            QCOMPARE(QResource(QLatin1String(path)).compressionAlgorithm(),
                QResource::NoCompression);
        }
    }

    void everyVerse()
    {
        // Letters, one blank between words, and the punctuation of a printed Bible.
        static const QRegularExpression plain(
            u"^(?! )(?:[\\p{L},.;:!?¡¿()’—\\[\\]-]| (?! ))+(?<! )$"_s);
        std::array<QList<qsizetype>, 2> counts; // verses of each chapter
        std::array<qsizetype, 2> empty {};
        for (const std::size_t which : { 0U, 1U }) {
            const Bible &bible = which == 0 ? bible::spanish() : bible::english();
            for (std::int32_t book = 0; book < 66; ++book) {
                const int chapters = chapterCounts.at(book).toInt();
                QCOMPARE(bible::chapterCount(bible, book), chapters);
                for (std::int32_t chapter = 1; chapter <= chapters; ++chapter) {
                    QStringList verses;
                    QStringList numbered;
                    for (const auto &verse :
                        bible.books.at(book).toArray().at(chapter - 1).toArray()) {
                        verses << verse.toString();
                        numbered << u"%1 "_s.arg(verses.size()) + verses.last();
                        QVERIFY2(verses.last().isEmpty() || plain.match(verses.last()).hasMatch(),
                            qPrintable(verses.last()));
                    }
                    const auto count = static_cast<int>(verses.size());
                    counts.at(which) << count;
                    empty.at(which) += verses.count(QString());

                    const auto text = [&](int from, int to) {
                        return bible::verseText(bible, { book, chapter, from, to });
                    };
                    QCOMPARE(text(0, 0), numbered.join(u' '));
                    QCOMPARE(text(1, farBeyond), text(0, 0));
                    QCOMPARE(text(1, 1), verses.first());
                    QCOMPARE(text(count, count + 9), verses.last());
                    QCOMPARE(text(count - 1, count), numbered.mid(count - 2).join(u' '));
                    QCOMPARE(text(count + 1, count + 1), QString());
                    QCOMPARE(text(2, 1), QString());
                }
            }
        }
        QCOMPARE(std::accumulate(counts[0].begin(), counts[0].end(), qsizetype { 0 }), 31102);
        QCOMPARE(counts[0], counts[1]);
        QCOMPARE(empty, (std::array<qsizetype, 2> { 18, 0 }));
    }

    void knownVerses()
    {
        QFile file(QStringLiteral(NIMBARA_BIBLE_TESTS) + u"/known_verses.tsv"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QHash<QString, int> checked;
        while (!file.atEnd()) {
            const QStringList row = QString::fromUtf8(file.readLine()).chopped(1).split(u'\t');
            QCOMPARE(bible::verseText(bibleOf(row.at(0)), bible::parse(row.at(1))), row.at(2));
            ++checked[row.at(0)];
        }
        QVERIFY(checked[u"es"_s] >= 20 && checked[u"en"_s] >= 20);
    }

    void whatIsNotThere()
    {
        for (const bible::Ref &ref : { bible::Ref { -1, 1, 1, 1 },
                 { 66, 1, 1, 1 },
                 { 42, 0, 1, 1 },
                 { 42, 22, 1, 1 },
                 { 42, farBeyond, 0, 0 },
                 { 42, 3, 16, 0 },
                 { 42, 3, farBeyond, farBeyond } }) {
            QCOMPARE(bible::verseText(bible::spanish(), ref), QString());
        }
        // Reina-Valera ends Jonah 1 with verse 16: the fish comes in 2:1.
        QCOMPARE(read(bible::spanish(), "Jonás 1:17"), QString());
        const QString range = read(bible::spanish(), "Jonás 1:16-17");
        QVERIFY(range.startsWith("16 "_L1) && range.endsWith(" 17 "_L1));
    }

    void filesThatAreNoBible()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath(u"b.qz"_s));
        QVERIFY(!bible::load(file.fileName()).valid);
        const auto loaded = [&file](const QByteArray &contents) {
            const bool open = file.open(QIODevice::WriteOnly);
            file.write(contents);
            file.close();
            return open ? bible::load(file.fileName()) : Bible {};
        };
        QCOMPARE(read(loaded(packed(66)), "Gn 1:2"), u"two"_s);
        for (const QByteArray &contents : { packed(65),
                 packed(67),
                 packed(66).chopped(20),
                 qCompress("[1, 2", 5),
                 QByteArray() }) {
            const Bible bible = loaded(contents);
            QVERIFY(!bible.valid);
            QCOMPARE(read(bible, "Gn 1:2"), QString());
        }
    }
};

NIMBARA_TEST(BuiltInTest)
#include "builtin_test.moc"
