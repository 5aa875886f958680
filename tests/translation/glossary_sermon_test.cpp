#include "translation/engine_fixture.h"
#include "translation/sermon_text.h"

#include <array>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// Names, said as they are.
const QStringList names = u"Halvenmoor Betelmarán Ruanthalia Corveliana Tessalinos Queremíades "
                          "Barzolette Nefraelino Jacarandal Eufrosinia Palmerston Villarreales "
                          "Monterrosas Wintergreen Calatravas Ondurabia Zacapalcos Silverdale "
                          "Brookhaven Fuentesaúco Lagarteras Peñarandas Marabunta Kirkwallen "
                          "Oldenburgo"_s.split(u' ');

/// Expressions, and what the congregation calls them.
const std::array<std::pair<const char *, const char *>, 25> expressions { {
    { "Santa Cena", "the Lord's Supper" },
    { "culto joven", "youth night" },
    { "hora feliz", "kids' hour" },
    { "escuela dominical", "Sunday school" },
    { "sala grande", "main hall" },
    { "mesa de bienvenida", "welcome desk" },
    { "grupo de hogar", "home group" },
    { "ofrenda de amor", "love offering" },
    { "noche de vigilia", "night watch" },
    { "copa de bendición", "cup of blessing" },
    { "pan sin levadura", "unleavened bread" },
    { "cuerpo de diáconos", "board of deacons" },
    { "libro de vida", "book of life" },
    { "casa de paz", "house of peace" },
    { "retiro de varones", "men's retreat" },
    { "té de damas", "ladies' tea" },
    { "coro de niños", "children's choir" },
    { "puerta estrecha", "narrow gate" },
    { "viejo hombre", "old self" },
    { "nueva criatura", "new creation" },
    { "buen pastor", "good shepherd" },
    { "arras del Espíritu", "earnest of the Spirit" },
    { "aposento alto", "upper room" },
    { "siervo fiel", "faithful servant" },
    { "lavatorio de pies", "washing of feet" },
} };

Terms fiftyTerms()
{
    Terms terms;
    for (qsizetype i = 0; i < 25; ++i) {
        const auto &[said, shown] = expressions.at(static_cast<std::size_t>(i));
        terms.append({ names.at(i), {}, {} });
        terms.append({ QString::fromUtf8(said), QString::fromUtf8(shown), u"English"_s });
    }
    return terms;
}

/// A name as a service hears or writes it that does not know it.
QString misspelt(const QString &name, qsizetype way)
{
    const std::array forms { name.left(4) + u' ' + name.mid(4),
        name.left(3) + u'x' + name.mid(4),
        name };
    return forms.at(static_cast<std::size_t>(way % 3));
}

/// A term as it comes back: left as it was said, run together, or right.
QString translated(const Term &term, qsizetype way)
{
    const std::array forms { term.said, QString(term.shown).remove(u' '), term.shown };
    return term.shown.isEmpty() ? misspelt(term.said, way)
                                : forms.at(static_cast<std::size_t>(way % 3));
}

} // namespace

/// Fifty terms of a congregation in a whole sermon.
class GlossarySermonTest : public EngineFixture {
    Q_OBJECT
private Q_SLOTS:
    void init() { restart(); }
    void cleanup() { restart(); } // and looks for the key

    /// Each phrase has one, misheard and written in every way, and nothing else of it is changed.
    void holdsFiftyTerms()
    {
        m_peer.onEvent = [this](const QJsonObject &event) {
            if (field(event, "path") == QLatin1String(responses)) {
                translate(event, mistranslated(inputOf(event).section(u"New text: "_s, 1)));
            }
        };
        m_engine->setTerms(m_terms);
        startLive();
        QStringList expected;
        for (const QString &phrase : phrasesOf(u"sermon_es.txt"_s)) {
            const QString begin = phrase.section(u' ', 0, 0);
            if (!begin.back().isLetter()) {
                continue; // the term would begin a sentence
            }
            if (expected.size() == 3 * m_terms.size()) {
                break;
            }
            const Term &term = m_terms.at(expected.size() % m_terms.size());
            const QString rest = u' ' + phrase.section(u' ', 1);
            const qsizetype way = expected.size() / m_terms.size();
            const QString said = term.shown.isEmpty() ? misspelt(term.said, way + 1) : term.said;
            const QString &shown = term.shown.isEmpty() ? term.said : term.shown;
            turn(begin + u' ' + said + rest);
            expected.append(begin + u' ' + shown + rest);
            if (expected.size() % 10 == 0) { // no faster than they are answered
                QVERIFY(
                    QTest::qWaitFor([&] { return m_captions.size() == expected.size(); }, 30'000));
            }
        }
        QTRY_COMPARE(m_captions.size(), expected.size());
        QCOMPARE(expected.size(), 3 * m_terms.size());
        for (qsizetype i = 0; i < expected.size(); ++i) {
            QCOMPARE(m_captions.at(i), expected.at(i));
        }
    }

private:
    /// The text with its term as it comes back; what has none is a fault of the transcript.
    QString mistranslated(const QString &text)
    {
        for (const Term &term : m_terms) {
            if (text.contains(u' ' + term.said + u' ')) {
                return QString(text).replace(term.said, translated(term, ++m_translated / 50));
            }
        }
        return u"misheard: "_s + text;
    }

    const Terms m_terms = fiftyTerms();
    qsizetype m_translated = 0;
};

NIMBARA_TEST(GlossarySermonTest)
#include "glossary_sermon_test.moc"
