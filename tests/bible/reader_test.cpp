#include "bible/books.h"
#include "bible/canon.h"
#include "bible/reader.h"
#include "support/test_registry.h"

#include <QRandomGenerator>

using namespace Qt::StringLiterals;
using bible::Limit;
using bible::Passage;
using bible::Reading;
using Status = Reading::Status;

namespace {

const QStringList languages { u"es"_s, u"en"_s };

/// Typed texts and what is meant: a label in Spanish with the Bible behind it, "?" for a doubt, "-"
/// for nothing.
QList<std::pair<QString, QString>> corpus()
{
    QFile file(QStringLiteral(NIMBARA_BIBLE_TESTS) + u"/references.tsv"_s);
    QList<std::pair<QString, QString>> rows;
    if (file.open(QIODevice::ReadOnly)) {
        while (!file.atEnd()) {
            const QStringList row = QString::fromUtf8(file.readLine()).chopped(1).split(u'\t');
            rows.append({ row.at(0), row.at(1) });
        }
    }
    return rows;
}

QString meaning(const QString &typed)
{
    const Reading reading = bible::read(typed);
    switch (reading.status) {
    case Status::Found:
        return bible::label(reading.passages.first(), u"es"_s)
            + (reading.bible.isEmpty() ? QString() : u" @"_s + reading.bible);
    case Status::Doubtful:
        return u"?"_s;
    default:
        return u"-"_s;
    }
}

bool isInCanon(const Passage &passage)
{
    std::pair before { 0, 0 };
    for (const bible::Span &span : passage.spans) {
        const std::pair from { span.chapterFrom, span.verseFrom };
        const std::pair to { span.chapterTo, span.verseTo };
        const bool whole = span.verseFrom == 0 && span.verseTo == 0;
        if (from <= before || to < from || span.chapterFrom < 1
            || span.chapterTo > bible::canonChapters(passage.book)
            || !(whole || (span.verseFrom > 0 && span.verseTo > 0))
            || span.verseFrom > bible::canonVerses(passage.book, span.chapterFrom)
            || span.verseTo > bible::canonVerses(passage.book, span.chapterTo)) {
            return false;
        }
        before = to;
    }
    return !passage.spans.isEmpty();
}

bool readsBack(const Passage &passage)
{
    return std::all_of(languages.begin(), languages.end(), [&passage](const QString &lang) {
        const Reading again = bible::read(bible::label(passage, lang));
        return again.status == Status::Found && again.passages == QList { passage };
    });
}

/// Typed texts cut, doubled and mixed, always the same for a seed.
class Mangler {
public:
    explicit Mangler(quint32 seed)
        : m_random(seed)
    {
    }
    QString next()
    {
        QString text = any();
        for (auto times = m_random.bounded(1, 4); times > 0; --times) {
            mangle(text);
        }
        return text;
    }

private:
    const QString &any() { return m_rows.at(m_random.bounded(m_rows.size())).first; }
    qsizetype place(const QString &text) { return m_random.bounded(text.size() + 1); }
    void mangle(QString &text)
    {
        static const QString signs = u"0123456789:.,;-–ªº&ayvcs ()\"\u0301\U0001F600%\\"_s;
        const qsizetype at = place(text);
        switch (m_random.bounded(6)) {
        case 0:
            text.truncate(at);
            break;
        case 1:
            text = text.mid(at);
            break;
        case 2:
            text.remove(at, m_random.bounded(1, 4));
            break;
        case 3:
            text.insert(at, signs.at(m_random.bounded(signs.size())));
            break;
        case 4:
            text.insert(at, text.mid(place(text), m_random.bounded(1, 9)));
            break;
        default: {
            const QString &other = any();
            text = text.left(at) + other.mid(place(other));
        }
        }
    }

    QRandomGenerator m_random;
    QList<std::pair<QString, QString>> m_rows = corpus();
};

} // namespace

/// References as they are typed.
class ReaderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void canonIsThatOfBothBibles()
    {
        for (const bible::Bible *bible : { &bible::spanish(), &bible::english() }) {
            for (std::int32_t book = -1; book <= 66; ++book) {
                const std::int32_t chapters = bible::chapterCount(*bible, book);
                QCOMPARE(bible::canonChapters(book), chapters);
                QCOMPARE(bible::canonVerses(book, 0), 0);
                QCOMPARE(bible::canonVerses(book, chapters + 1), 0);
                for (std::int32_t chapter = 1; chapter <= chapters; ++chapter) {
                    QCOMPARE(bible::canonVerses(book, chapter),
                        bible->books.at(book).toArray().at(chapter - 1).toArray().size());
                }
            }
        }
    }

    void typedReferences()
    {
        const auto rows = corpus();
        QVERIFY(rows.size() >= 400);
        QStringList missed;
        for (const auto &[typed, wanted] : rows) {
            if (const QString got = meaning(typed); got != wanted) {
                missed << typed + u" → "_s + got + u", not "_s + wanted;
            }
        }
        QVERIFY2(missed.isEmpty(), qPrintable(missed.join(u'\n')));
    }

    void everyNameAndLabelReadsBack()
    {
        for (std::int32_t book = 0; book < 66; ++book) {
            const std::int32_t last = bible::canonChapters(book);
            const std::int32_t end = bible::canonVerses(book, last);
            QList<Passage> passages { { book, { { 1, 0, 1, 0 } } },
                { book, { { last, end, last, end } } },
                { book, { { 1, 2, 1, 3 }, { 1, 5, 1, 5 }, { last, end - 1, last, end } } } };
            if (last > 2) {
                passages << Passage { book, { { 1, 0, 2, 0 }, { last, 0, last, 0 } } }
                         << Passage { book, { { 1, 1, 2, 1 }, { 2, 3, last, 1 } } };
            }
            for (const Passage &passage : passages) {
                QVERIFY2(readsBack(passage), qPrintable(bible::label(passage, u"es"_s)));
            }
            const auto aliases = bible::books.at(static_cast<std::size_t>(book)).aliases;
            for (const QString &alias :
                QString::fromLatin1(aliases.data(), aliases.size()).split(u'|')) {
                QVERIFY2(bible::read(alias + u" 1:2"_s).passages
                        == (QList<Passage> { { book, { { 1, 2, 1, 2 } } } }),
                    qPrintable(alias));
            }
        }
    }

    void doubtsNameWhatMayBeMeant()
    {
        for (const auto &[typed, wanted] : { std::pair { "ju 3:16", "Jueces 3:16|Juan 3:16" },
                 { "Corintios 13", "1 Corintios 13|2 Corintios 13" },
                 { "Samuel 31", "1 Samuel 31" }, // the second has none
                 { "Hb 2:4", "Habacuc 2:4|Hebreos 2:4" },
                 { "Juan 3;16", "Juan 3; 16|Juan 3:16" },
                 { "Juan 3, 4 y 5", "Juan 3:4,5|Juan 3; 4; 5" },
                 { "Juan 3:16; 18", "Juan 3:16,18|Juan 3:16; 18:1-40" },
                 { "Judas 1,4", "Judas 1:4|Judas 1:1,4" } }) {
            QStringList labels;
            for (const Passage &passage : bible::read(QString::fromUtf8(typed)).passages) {
                labels << bible::label(passage, u"es"_s);
            }
            QCOMPARE(labels.join(u'|'), QString::fromUtf8(wanted));
        }
    }

    void textsOfSeveralSpans()
    {
        const auto text = [](const char *typed) {
            return bible::passageText(bible::english(),
                bible::read(QLatin1String(typed)).passages.first());
        };
        const auto verse = [](int chapter, int number) {
            return bible::verseText(bible::english(), { 42, chapter, number, number });
        };
        QCOMPARE(text("John 11:35"), verse(11, 35));
        QCOMPARE(text("John 3:16,18"), u"16 "_s + verse(3, 16) + u" 18 "_s + verse(3, 18));
        QCOMPARE(text("John 3:36-4:2"),
            u"36 "_s + verse(3, 36) + u" 4:1 "_s + verse(4, 1) + u" 2 "_s + verse(4, 2));
        for (const char *typed : { "Ps 119:176; 121:1", "Ps 120; 121" }) {
            QVERIFY(text(typed).contains(u" 121:1 I will lift up mine eyes"_s));
        }
    }

    void absentTellsWhatThereIs()
    {
        for (const auto &[typed, limit] : { std::pair { "Juan 3:99", Limit { 42, 3, 36 } },
                 { "Juan 3:16-99", Limit { 42, 3, 36 } },
                 { "Juan 22:1", Limit { 42, 0, 21 } },
                 { "Juan 3:16-22:1", Limit { 42, 0, 21 } },
                 { "Judas 2:1", Limit { 64, 0, 1 } },
                 { "Judas 26", Limit { 64, 1, 25 } },
                 { "Juan 3:0", Limit { 42, 3, 36 } }, // was not recognised
                 { "Juan 3:16-0", Limit { 42, 3, 36 } },
                 { "Juan 22 0", Limit { 42, 0, 21 } },
                 { "Judas 0", Limit { 64, 1, 25 } },
                 { "Corintios 99", Limit {} } }) {
            const Reading reading = bible::read(QString::fromUtf8(typed));
            QCOMPARE(reading.status, Status::Absent);
            QVERIFY2(reading.limit == limit, typed);
        }
    }

    /// NIMBARA_MANGLED_REFERENCES asks for more of them.
    void mangledReferencesStayWithinTheCanon()
    {
        const int asked = qEnvironmentVariableIntValue("NIMBARA_MANGLED_REFERENCES");
        Mangler mangler(20);
        int found = 0;
        for (int left = std::max(asked, 30'000); left > 0; --left) {
            const QString typed = mangler.next();
            const Reading reading = bible::read(typed);
            const bool shows
                = reading.status == Status::Found || reading.status == Status::Doubtful;
            QCOMPARE(reading.passages.isEmpty(), !shows);
            QVERIFY(reading.status != Status::Found || reading.passages.size() == 1);
            for (const Passage &passage : reading.passages) {
                QVERIFY2(isInCanon(passage) && readsBack(passage), qPrintable(typed));
                ++found;
            }
        }
        QVERIFY(found > 0);
    }
};

NIMBARA_TEST(ReaderTest)
#include "reader_test.moc"
