#include "bible/quotation.h"
#include "bible/quoted_verse.h"
#include "bible/reader.h"
#include "bible/verse_order.h"
#include "support/test_registry.h"

#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <random>

using namespace Qt::StringLiterals;

namespace {

bible::Passage passageOf(const QString &typed)
{
    return bible::read(typed).passages.first();
}

QList<bible::Passage> versesIn(const QString &said, const bible::Passage &announced)
{
    return bible::versesRead(said, bible::writtenVerses(bible::spanish(), announced));
}

QString readIn(const QString &said, const QString &announced)
{
    QStringList labels;
    for (const auto &verse : versesIn(said, passageOf(announced))) {
        labels.append(bible::label(verse, u"es"_s));
    }
    return labels.join(u'|');
}

/// The index of both Bibles, and what it finds quoted without a reference.
class Quotations {
public:
    Quotations()
    {
        bible::VerseIndex::make(path(), [] { return false; });
        m_index = std::make_unique<bible::VerseIndex>(path());
    }
    [[nodiscard]] std::optional<bible::Ref> in(const QString &said)
    {
        return bible::verseQuoted(said, m_index->find(said + u' ', 6));
    }

private:
    [[nodiscard]] QString path() const { return m_folder.filePath(u"verses.sqlite"_s); }

    QTemporaryDir m_folder;
    std::unique_ptr<bible::VerseIndex> m_index;
};

QString contentsOf(const QString &name)
{
    QFile file(QStringLiteral(NIMBARA_BIBLE_TESTS) + u'/' + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The first words of a text, up to 15 % of them another; as a recogniser writes them.
QString spoken(const QString &text, qsizetype most, std::mt19937 &random)
{
    QStringList words = bible::searchWords(text).mid(0, most);
    for (qsizetype changes = words.size() * 15 / 100; changes > 0; --changes) {
        words[static_cast<qsizetype>(random()) % words.size()] = u"pues"_s;
    }
    return words.join(u' ');
}

} // namespace

class QuotationTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        bible::prepare().waitForFinished();
        m_quotations = std::make_unique<Quotations>();
    }
    void cleanupTestCase() { m_quotations.reset(); }

    void findsWhatIsRead()
    {
        const std::tuple<QString, QString, QString> rows[] {
            // Of another translation, with the reference before it, and of a verse or two behind.
            { u"porque de tal manera amó Dios al mundo que ha dado a su Hijo unigénito"_s,
                u"Juan 3:16"_s,
                u"Juan 3:16"_s },
            { u"Juan 3:16 dice porque de tal manera amó Dios al mundo que dio a su Hijo"_s,
                u"Juan 3:16"_s,
                u"Juan 3:16"_s },
            { u"porque no envió Dios a su Hijo al mundo para condenar al mundo"_s,
                u"Juan 3:16"_s,
                u"Juan 3:17"_s },
            { u"mas tenga vida eterna. Porque no envió Dios a su Hijo al mundo"_s,
                u"Juan 3"_s,
                u"Juan 3:16|Juan 3:17"_s },
            { u"Jehová es mi pastor; nada me faltará"_s, u"Salmos 23"_s, u"Salmos 23:1"_s },
            // Preaching about it is no reading.
            { u"el mundo necesita saber que hay un Dios que ama, y que dio todo por ti"_s,
                u"Juan 3:16"_s,
                {} },
            { u"hermanos, abramos la Biblia"_s, u"Juan 3:16"_s, {} },
            { u"amó Dios"_s, u"Juan 3:16"_s, {} },
        };
        for (const auto &[said, announced, verses] : rows) {
            QCOMPARE(readIn(said, announced), verses);
        }
    }

    /// A hundred verses, of each up to 15 % of the words another.
    void standsOtherWords()
    {
        std::mt19937 random(7);
        int tried = 0;
        int found = 0;
        for (std::int32_t psalm = 1; psalm <= 100; ++psalm) {
            const bible::Passage verse { 18, { { psalm, 2, psalm, 2 } } };
            QStringList words
                = bible::passageText(bible::spanish(), verse).split(u' ', Qt::SkipEmptyParts);
            if (words.size() < 5) {
                continue;
            }
            for (qsizetype changes = words.size() * 15 / 100; changes > 0; --changes) {
                words[static_cast<qsizetype>(random()) % words.size()] = u"otra"_s;
            }
            ++tried;
            const auto read = versesIn(words.join(u' '), verse);
            found += read.contains(verse) ? 1 : 0;
        }
        QVERIFY(tried > 90);
        QVERIFY2(found * 100 >= tried * 97, qPrintable(u"%1 of %2"_s.arg(found).arg(tried)));
    }

    void findsNothingInPreaching()
    {
        QStringList wrong;
        for (const QString &sentence : contentsOf(u"preaching_es.txt"_s).split(u'.')) {
            for (const auto &announced : { u"Juan 3:16"_s, u"Salmos 23"_s, u"Mateo 5"_s }) {
                if (!readIn(sentence, announced).isEmpty()) {
                    wrong.append(sentence);
                }
            }
        }
        QCOMPARE(wrong, QStringList());
    }

    /// Verses of each Bible that nobody has named, said nearly word for word.
    void findsWhatIsQuotedWithoutAReference()
    {
        std::mt19937 random(11);
        for (const auto *bible : { &bible::spanish(), &bible::english() }) {
            int found = 0;
            QStringList missed;
            for (int tried = 0; tried < 40;) {
                const auto number = static_cast<std::int32_t>(random() % 31'102);
                const QString text = bible::verseText(*bible, bible::verseAt(number));
                if (bible::searchWords(text).size() < 8) {
                    continue;
                }
                ++tried;
                const QString said = spoken(text, 16, random);
                const auto verse = m_quotations->in(said);
                const bool isFound
                    = verse && bible::verseText(*bible, *verse).left(40) == text.left(40);
                found += isFound ? 1 : 0;
                missed += isFound ? QStringList() : QStringList { said };
            }
            QVERIFY2(found >= 36, qPrintable(missed.join(u'\n')));
        }
    }

    void takesNoPreachingForAQuotation()
    {
        for (const auto &name : { u"preaching_es.txt"_s, u"preaching_en.txt"_s }) {
            const QStringList words = bible::searchWords(contentsOf(name));
            QStringList wrong;
            for (qsizetype from = 0; from + 16 <= words.size(); from += 12) {
                const QString said = words.mid(from, 16).join(u' ');
                if (m_quotations->in(said)) {
                    wrong.append(said);
                }
            }
            QVERIFY2(words.size() > 500 && wrong.isEmpty(), qPrintable(wrong.join(u'\n')));
        }
    }

    /// Nor a sermon of twenty minutes, but for what it quotes, which nobody has to name.
    void findsInASermonWhatItQuotes()
    {
        const std::pair<QString, QString> rows[] {
            { u"es"_s,
                u"Lucas 15:18|Lucas 15:19|Lucas 15:20|Lucas 15:21|Lucas 15:29|Efesios 2:8|Efesios "
                u"2:9|"
                u"Juan 3:16|1 Corintios 13:4|1 Corintios 13:5|1 Corintios 13:7|Isaías 40:31|"
                u"Romanos 8:28|Mateo 11:28|Salmos 23:1|Salmos 23:4"_s },
            { u"en"_s,
                u"Psalms 23:1|Psalms 23:2|Psalms 23:3|Psalms 23:4|Isaiah 40:31|Matthew "
                u"11:28|Romans 5:8|"
                u"John 3:16|Romans 8:38|Romans 8:39|Psalms 119:105|Numbers 6:24"_s },
        };
        for (const auto &[code, quoted] : rows) {
            const QStringList all = quoted.split(u'|');
            const QStringList words = bible::searchWords(contentsOf(u"sermon_%1.txt"_s.arg(code)));
            QSet<QString> found;
            QStringList wrong;
            for (qsizetype from = 0; from + 16 <= words.size(); from += 16) {
                const QString said = words.mid(from, 16).join(u' ');
                const auto verse = m_quotations->in(said);
                const QString label = verse ? bible::label(*verse, code) : QString();
                if (all.contains(label)) {
                    found.insert(label);
                } else if (verse) {
                    wrong.append(label + u": "_s + said);
                }
            }
            QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(u'\n')));
            QVERIFY2(found.size() >= 4, qPrintable(found.values().join(u'|')));
        }
    }

private:
    std::unique_ptr<Quotations> m_quotations;
};

NIMBARA_TEST(QuotationTest)
#include "quotation_test.moc"
