#include "bible/spoken_references.h"
#include "support/test_registry.h"

#include <QFile>

using namespace Qt::StringLiterals;
using bible::spoken::Language;

namespace {

QString contents(const QString &name)
{
    QFile file(QStringLiteral(NIMBARA_BIBLE_TESTS) + u'/' + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The references in what was said, as labels.
QString found(const QString &said, Language language, bool isGrowing = false)
{
    QStringList labels;
    for (const auto &each : bible::findSpoken(said, language, isGrowing)) {
        labels.append(
            bible::label(each.passage, language == Language::Spanish ? u"es"_s : u"en"_s));
    }
    return labels.join(u'|');
}

const std::pair<Language, QString> languages[] {
    { Language::Spanish, u"es"_s },
    { Language::English, u"en"_s },
};

} // namespace

class SpokenReferencesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void findsWhatIsSpoken()
    {
        for (const auto &[language, code] : languages) {
            QStringList wrong;
            qsizetype rows = 0;
            for (const QString &line :
                contents(u"spoken_%1.tsv"_s.arg(code)).split(u'\n', Qt::SkipEmptyParts)) {
                const QString said = line.section(u'\t', 0, 0);
                // As a recogniser writes it, alone and in a sentence.
                const QString lead = code == u"es" ? u"Vamos a leer en "_s : u"We read in "_s;
                for (const QString &form : { said, lead + said + u'.' }) {
                    const QString got = found(form, language);
                    if (got != line.section(u'\t', 1)) {
                        wrong.append(form + u" → "_s + got);
                    }
                    ++rows;
                }
            }
            QVERIFY(rows >= 200);
            QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(u'\n')));
        }
    }

    void findsNothingInPreaching()
    {
        for (const auto &[language, code] : languages) {
            const QString sermon = contents(u"preaching_%1.txt"_s.arg(code));
            QVERIFY(sermon.size() > 3000);
            QCOMPARE(found(sermon, language), QString());
            QCOMPARE(found(sermon.toLower(), language), QString()); // names are words then
        }
    }

    /// Twenty minutes with names, dates and amounts among them: no card that nobody has named.
    void findsInASermonWhatItNames()
    {
        const std::tuple<Language, QString, QString> rows[] {
            { Language::Spanish,
                u"es"_s,
                u"Lucas 15:20|Lucas 15:20|Efesios 2:8-9|1 Corintios 13:4-7|Isaías 40:31|"
                u"Romanos 8:28|Salmos 23"_s },
            { Language::English, u"en"_s, u"Psalms 23|Isaiah 40:31|Romans 5:8|Romans 8:38-39"_s },
        };
        for (const auto &[language, code, references] : rows) {
            const QString sermon = contents(u"sermon_%1.txt"_s.arg(code));
            QVERIFY(sermon.size() > 14'000);
            QCOMPARE(found(sermon, language), references);
        }
    }

    void offersOnlyWhatThereIs()
    {
        const std::tuple<Language, QString, QString> rows[] {
            { Language::Spanish, u"Juan capítulo tres versículo cincuenta"_s, {} },
            { Language::Spanish, u"Juan treinta dos"_s, {} },
            { Language::Spanish, u"primera de Juan nueve uno"_s, {} },
            { Language::Spanish, u"Corintios trece cuatro"_s, {} },
            { Language::Spanish, u"versículo cuarenta de Juan tres"_s, {} },
            { Language::Spanish, u"Salmo ciento cincuenta y uno"_s, {} },
            { Language::English, u"John chapter three verse fifty"_s, {} },
            { Language::English, u"Psalm one fifty one"_s, {} },
            { Language::English, u"Second Corinthians fourteen one"_s, {} },
            // Names of people, and numbers of other things.
            { Language::Spanish, u"Como dice Juan en el versículo dieciséis"_s, {} },
            { Language::English, u"What John, in verse sixteen, is saying"_s, {} },
            { Language::Spanish, u"En los salmos uno descubre quién es Dios"_s, {} },
            { Language::English, u"In the Psalms one finds comfort"_s, {} },
            { Language::English, u"In the Psalms one reads of joy"_s, {} },
            { Language::Spanish, u"Le di a Marcos tres, a Lucas dos y a Juan uno."_s, {} },
            { Language::English, u"I gave to Mark two, to Luke one."_s, {} },
            { Language::English, u"Ruth two, four others"_s, {} },
            { Language::Spanish, u"Pedro y Juan, en el capítulo tres de Hechos"_s, u"Hechos 3"_s },
            { Language::English, u"Peter and John, in chapter three of Acts"_s, u"Acts 3"_s },
            { Language::Spanish, u"Vamos a Juan tres."_s, u"Juan 3"_s },
            { Language::English, u"Turn to John three."_s, u"John 3"_s },
            // Several, and their places.
            { Language::Spanish,
                u"Juan tres dieciséis, y también Romanos ocho uno."_s,
                u"Juan 3:16|Romanos 8:1"_s },
        };
        for (const auto &[language, said, expected] : rows) {
            QVERIFY2(found(said, language) == expected, qPrintable(said + found(said, language)));
        }
        const QString said = u"Dice Juan tres dieciséis así"_s;
        const auto reference = bible::findSpoken(said, Language::Spanish).value(0);
        QCOMPARE(said.mid(reference.from, reference.to - reference.from), u"Juan tres dieciséis"_s);
    }

    /// While the reference is still being said, nothing that it does not say is offered.
    void growsWithThePartialText()
    {
        QVERIFY(found(u"Leemos en Marcos tres"_s, Language::Spanish, true).isEmpty());
        QCOMPARE(found(u"Leemos en Marcos tres"_s, Language::Spanish), u"Marcos 3"_s);
        const QStringList words
            = u"vamos a leer en primera de Corintios capítulo trece versículos cuatro al siete"_s
                  .split(u' ');
        QStringList steps;
        for (qsizetype count = 1; count <= words.size(); ++count) {
            const QString step = found(words.mid(0, count).join(u' '), Language::Spanish, true);
            if (steps.isEmpty() || steps.last() != step) {
                steps.append(step);
            }
        }
        QCOMPARE(steps,
            (QStringList { {},
                u"1 Corintios 13"_s,
                u"1 Corintios 13:4"_s,
                u"1 Corintios 13:4-7"_s }));
    }
};

NIMBARA_TEST(SpokenReferencesTest)
#include "spoken_references_test.moc"
