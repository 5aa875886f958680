#include "support/test_registry.h"
#include "translation/pipeline/glossary.h"

using namespace nimbara;
using namespace Qt::StringLiterals;

namespace {

const Terms terms {
    { u"Halvenmoor"_s, {}, {} },
    { u"Santa Cena"_s, u"the Lord's Supper"_s, u"English"_s },
    { u"Tomás"_s, u"Thomas"_s, u"English"_s },
    { u"culto joven"_s, u"youth night"_s, u"english"_s },
    { u"Santa Cena"_s, u"Santa Ceia"_s, u"Portuguese"_s },
};

Glossary toEnglish()
{
    return { terms, u"es"_s, u"English"_s };
}

/// A name that no dictionary has.
QString inventedName(int number)
{
    static const QStringList parts { u"Vel"_s, u"mor"_s, u"dan"_s, u"keth"_s, u"ral"_s };
    QString name = u"Ar"_s;
    for (int rest = number + 5; rest > 0; rest /= 5) {
        name += parts.at(rest % 5).toLower();
    }
    return name + u"holm"_s;
}

} // namespace

class GlossaryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void mendsTranscripts()
    {
        const std::pair<QString, QString> rows[] {
            { u"Bienvenidos a Halven Moor."_s, u"Bienvenidos a Halvenmoor."_s },
            { u"la iglesia Halvenmor, sí"_s, u"la iglesia Halvenmoor, sí"_s },
            { u"HALVEN MOOR"_s, u"HALVENMOOR"_s },
            { u"tomas el pan"_s, u"tomas el pan"_s }, // a verb
            { u"Tomas dijo"_s, u"Tomás dijo"_s },
            { u"la santa cena"_s, u"la santa cena"_s }, // the case stays
            { u"la santacena"_s, u"la Santa Cena"_s },
            { u"Halvenmoorense"_s, u"Halvenmoorense"_s }, // another word
        };
        for (const auto &[transcript, mended] : rows) {
            QCOMPARE(toEnglish().mended(transcript), mended);
        }
    }

    void holdsTranslations()
    {
        const std::tuple<QString, QString, QString> rows[] {
            { u"La Santa Cena es hoy."_s,
                u"The Santa Cena is today."_s,
                u"The Lord's Supper is today."_s },
            { u"tomamos la santa cena"_s,
                u"we take the Lords Supper"_s,
                u"we take the Lord's Supper"_s },
            { u"Santa Cena hoy"_s, u"Santa Cena today"_s, u"The Lord's Supper today"_s },
            { u"Santa Cena"_s, u"Holy Communion"_s, u"Holy Communion"_s }, // not safe
            { u"En Halvenmoor"_s, u"In Halvenmore's hall"_s, u"In Halvenmore's hall"_s },
            { u"En Halvenmoor"_s, u"In Halvenmor's hall"_s, u"In Halvenmoor's hall"_s },
            { u"En Halvenmoor"_s, u"In Halven moor"_s, u"In Halvenmoor"_s },
            { u"En Halvenmoor"_s, u"In Halvenmor, too"_s, u"In Halvenmoor, too"_s },
            { u"Tomás vino"_s, u"Tomás came"_s, u"Thomas came"_s },
            { u"el culto joven"_s, u"THE CULTO JOVEN"_s, u"THE YOUTH NIGHT"_s },
            { u"hoy"_s, u"in Halven Moor"_s, u"in Halven Moor"_s }, // nobody said it
            { u"Tomás y Tomás"_s, u"Thomas and Tomás"_s, u"Thomas and Thomas"_s }, // said twice
            { u"En Halvenmoor, Halvenmoor"_s,
                u"In Halvenmoor, Halvenmor"_s,
                u"In Halvenmoor, Halvenmoor"_s },
        };
        for (const auto &[original, translation, held] : rows) {
            QCOMPARE(toEnglish().held(original, translation), held);
        }
    }

    /// The other way round, for another language, and not for one that has none.
    void followsTheLanguages()
    {
        const Glossary toSpanish(terms, u"en"_s, u"Spanish"_s);
        QCOMPARE(toSpanish.held(u"the Lord's Supper"_s, u"la Lord's Supper"_s),
            u"la Lord's Supper"_s);
        QCOMPARE(toSpanish.held(u"come to youth night"_s, u"vengan a youth night"_s),
            u"vengan a culto joven"_s);
        const Glossary toPortuguese(terms, u""_s, u"Portuguese"_s);
        QCOMPARE(toPortuguese.held(u"la Santa Cena"_s, u"a Santa Cena"_s), u"a Santa Ceia"_s);
        QCOMPARE(toPortuguese.prompt(), u"Halvenmoor, Santa Cena"_s);
        const Glossary toChinese({ { u"Halvenmoor"_s, u"哈尔文"_s, {} } }, u"es"_s, u"Chinese"_s);
        QCOMPARE(toChinese.held(u"en Halvenmoor"_s, u"在Halvenmoor教会"_s), u"在哈尔文教会"_s);
    }

    void tellsWithinTheLimits()
    {
        QCOMPARE(toEnglish().toldFor(u"la Santa Cena"_s), u"Santa Cena → the Lord's Supper"_s);
        QCOMPARE(toEnglish().toldFor(u"nada"_s), QString());
        QCOMPARE(Glossary().prompt(), QString());
        Terms many;
        for (int i = 0; i < 200; ++i) {
            many.append({ inventedName(i), {}, {} });
        }
        const Glossary glossary(many, u"es"_s, u"English"_s);
        QVERIFY(glossary.prompt().size() <= Glossary::maxPrompt);
        QVERIFY(glossary.prompt().size() > Glossary::maxPrompt - 30);
    }

    /// Fifty terms, each come back in another way.
    void holdsFiftyTerms()
    {
        Terms fifty;
        for (int i = 0; i < 50; ++i) {
            fifty.append(
                { inventedName(i), i % 2 == 0 ? QString() : u"the "_s + inventedName(i + 60), {} });
        }
        const Glossary glossary(fifty, u"es"_s, u"English"_s);
        for (int i = 0; i < 50; ++i) {
            const QString &said = fifty.at(i).said;
            const QString shown = fifty.at(i).shown.isEmpty() ? said : fifty.at(i).shown;
            const QString parted = shown.left(7) + u' ' + shown.mid(7);
            const QString back = i % 2 == 0 || i % 4 == 1 ? parted : said;
            QCOMPARE(glossary.held(u"Hoy en "_s + said + u" cantamos."_s,
                         u"Today at "_s + back + u" we sing."_s),
                u"Today at "_s + shown + u" we sing."_s);
        }
    }
};

NIMBARA_TEST(GlossaryTest)
#include "glossary_test.moc"
