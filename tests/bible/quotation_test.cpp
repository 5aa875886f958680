#include "bible/quotation.h"
#include "bible/reader.h"
#include "support/test_registry.h"

#include <QFile>

#include <random>

using namespace Qt::StringLiterals;

namespace {

bible::Passage passageOf(const QString &typed)
{
    return bible::read(typed).passages.first();
}

QString readIn(const QString &said, const QString &announced)
{
    QStringList labels;
    for (const auto &verse : bible::versesRead(said, bible::spanish(), passageOf(announced))) {
        labels.append(bible::label(verse, u"es"_s));
    }
    return labels.join(u'|');
}

} // namespace

class QuotationTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { bible::prepare().waitForFinished(); }

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
            const auto read = bible::versesRead(words.join(u' '), bible::spanish(), verse);
            found += read.contains(verse) ? 1 : 0;
        }
        QVERIFY(tried > 90);
        QVERIFY2(found * 100 >= tried * 97, qPrintable(u"%1 of %2"_s.arg(found).arg(tried)));
    }

    void findsNothingInPreaching()
    {
        QFile file(QStringLiteral(NIMBARA_BIBLE_TESTS) + u"/preaching_es.txt"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QStringList wrong;
        for (const QString &sentence : QString::fromUtf8(file.readAll()).split(u'.')) {
            for (const auto &announced : { u"Juan 3:16"_s, u"Salmos 23"_s, u"Mateo 5"_s }) {
                if (!readIn(sentence, announced).isEmpty()) {
                    wrong.append(sentence);
                }
            }
        }
        QCOMPARE(wrong, QStringList());
    }
};

NIMBARA_TEST(QuotationTest)
#include "quotation_test.moc"
