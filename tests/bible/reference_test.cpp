#include "bible/books.h"
#include "bible/reference.h"
#include "support/test_registry.h"

using namespace Qt::StringLiterals;
using bible::Ref;

namespace {

QString fromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// Everything that an operator may call a book.
QStringList namesOf(const bible::Book &book)
{
    QStringList names = fromUtf8(book.aliases).split(u'|');
    for (const auto name : { book.nameEs, book.nameEn }) {
        const QString shown = fromUtf8(name);
        names << shown << shown.toUpper() << bible::normalize(shown)
              << shown.normalized(QString::NormalizationForm_D);
    }
    return names;
}

} // namespace

class ReferenceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyNameFindsItsBook()
    {
        const QList<std::pair<const char *, Ref>> endings {
            { " 3", { -1, 3, 0, 0 } },
            { "3:16", { -1, 3, 16, 16 } },
            { " 3.16", { -1, 3, 16, 16 } },
            { "\t3 , 16 ", { -1, 3, 16, 16 } },
            { " 3:16-18", { -1, 3, 16, 18 } },
            { " 3.16–18", { -1, 3, 16, 18 } },
            { " 3,16 – 18", { -1, 3, 16, 18 } },
        };
        for (std::int32_t i = 0; i < 66; ++i) {
            for (const QString &name : namesOf(bible::books.at(static_cast<std::size_t>(i)))) {
                for (auto [ending, wanted] : endings) {
                    const QString typed = name + QString::fromUtf8(ending);
                    wanted.book = i;
                    QVERIFY2(bible::parse(typed) == wanted, qPrintable(typed));
                }
            }
        }
    }

    void examples()
    {
        const QList<std::pair<const char *, Ref>> examples {
            { "  juan   3 : 16 ", { 42, 3, 16, 16 } },
            { "1 Co 13:4-7", { 45, 13, 4, 7 } },
            { "1co13:4", { 45, 13, 4, 4 } },
            { "I Juan 1:9", { 61, 1, 9, 9 } },
            { "II Samuel 7", { 9, 7, 0, 0 } },
            { "iii juan 4", { 63, 4, 0, 0 } },
            { "ju 1", { 6, 1, 0, 0 } }, // beginnings: the longest name or alias
            { "ma 1", { 38, 1, 0, 0 } },
            { "jo 1", { 5, 1, 0, 0 } },
            { "sa 1", { 58, 1, 0, 0 } },
            { "es 1", { 14, 1, 0, 0 } },
            { "Juan 3:0", { 42, 3, 0, 0 } },
            { "Juan 3:18-16", { 42, 3, 18, 16 } },
            { "Juan 0:1", { 42, 0, 1, 1 } },
            { "Juan 2147483647", { 42, 2147483647, 0, 0 } },
            { "Juan 99999999999:1", { 42, 0, 1, 1 } },
            { "Juan 3:16-99999999999", { 42, 3, 16, 0 } },
        };
        for (const auto &[typed, wanted] : examples) {
            QVERIFY2(bible::parse(QString::fromUtf8(typed)) == wanted, typed);
        }
        const auto unknown
            = u"|Juan|3:16|j 1|xyz 3:16|\u0301|Juan ٣|%1 1|(|\\ 3|1 jn 1:9|1 sm 3|jn 3 16|Juan 3-4|Juan 3:16 y 17|Juan 3:16-"_s;
        for (const QString &typed : unknown.split(u'|')) {
            QVERIFY2(bible::parse(typed) == Ref {}, qPrintable(typed));
        }
    }

    void labelsParseBack()
    {
        for (const QString &lang : { u"es"_s, u"en"_s }) {
            for (std::int32_t i = 0; i < 66; ++i) {
                for (const Ref &ref : { Ref { i, 150, 0, 0 }, { i, 1, 7, 7 }, { i, 22, 3, 19 } }) {
                    const QString label = bible::label(ref, lang);
                    QVERIFY2(bible::parse(label) == ref, qPrintable(label));
                }
            }
        }
        QCOMPARE(bible::label({ 0, 13, 4, 7 }, u"es"_s), u"Génesis 13:4-7"_s);
        QCOMPARE(bible::label({ 0, 13, 4, 7 }, u"ES"_s), u"Genesis 13:4-7"_s);
        QCOMPARE(bible::label({ -1, 1, 1, 1 }, u"es"_s), QString());
    }
};

NIMBARA_TEST(ReferenceTest)
#include "reference_test.moc"
