#include "bible/book_forms.h"

#include "bible/books.h"
#include "bible/reference.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace bible {

namespace {

struct Forms {
    std::int32_t book;
    const char *names; ///< as in `Book::aliases`, of a numbered book without the number
};

// clang-format off
/// What churches write besides the table of books, and how they often misspell it. A numbered book
/// stands for all of its name.
constexpr auto moreForms = std::to_array<Forms>({
    { 0, "ge|gns|gene|genecis" },
    { 1, "exod|exd|exodus" },
    { 2, "lev|le|leviticus|levi" },
    { 3, "nu|nb|numb|nums|numero|numbers" },
    { 4, "deu|dtr|deuteronomy|deuteronimio" },
    { 5, "josh|jsh" },
    { 6, "jdgs|jgs|judg|juec|jueses|jc" },
    { 7, "ru|rth" },
    { 8, "s|sm|sam|saml" },
    { 10, "r|re|rey|rs|k|ki|kgs|kin|king|rg|rgs" },
    { 12, "cr|cro|crn|cron|ch|chr|chro|chron|cro|par|paralipomenos" },
    { 14, "esdr" },
    { 15, "nh|nehem" },
    { 16, "esth|estr" },
    { 17, "jb" },
    { 18, "salm|psalmo|pslam|palsm|slm|sl|psm|pss|pslm|psal|libro de los salmos" },
    { 19, "pro|prv|pv|proverbio|proverb|proverbios de salomon" },
    { 20, "ecc|eccl|eccles|qo|qoh|qohelet|predicador|eclesiastes o predicador" },
    { 21, "ct|cnt|ss|cantar|cantar de cantares|cantar de salomon|cantar de los cantares de salomon|cantares de salomon|el cantar de los cantares|cantico de los canticos"
          "|song of songs|song of sol|songs|sng|sg|sos|canticles|canticle of canticles" },
    { 22, "isai|isaia|ysaias|isayas|isiah" },
    { 23, "jr|jerem|jere" },
    { 24, "lam|lament|lamentacion|lamentaciones de jeremias|lamentations of jeremiah" },
    { 25, "ezek|ezk|ezq|ezeq|esequiel" },
    { 26, "dnl|danl" },
    { 27, "ho" },
    { 28, "joe" },
    { 30, "ab|ob|obd|obad" },
    { 31, "jnh|jns" },
    { 32, "mq|mch" },
    { 33, "na|naum" },
    { 34, "hb|haba|habbakuk|habacuq|habakuk|habacuk" },
    { 35, "sf|zp|zeph|sofo" },
    { 36, "hg|ag|ageo" },
    { 37, "za|zc|zech|zacharias|zacarias" },
    { 38, "ml|mlq|malaq|malachias" },
    { 39, "matt|mateos|mattew|mathew|matheo" },
    { 40, "mrk|mrc|marc|marco" },
    { 41, "luk|lucs|lukas" },
    { 42, "jhn|joh|jn|jua|jhon" },
    { 43, "hc|hechs|echos|hechos de los apostoles|hechos de apostoles|hechos de los santos apostoles|hechos apostoles|los hechos de los apostoles|ac|acts of the apostles"
          "|acts of apostles" },
    { 44, "rm|rmns|roman|romano" },
    { 45, "co|cor|corinthian|corint|corinto|corintio|corintos" },
    { 47, "gl|gala" },
    { 48, "efe|efes|ephes|efecios|ephesian" },
    { 49, "phil|fp|pp|filip|filp|filipences|philipenses|phillipians|philipians|phillippians" },
    { 50, "cl|colos|coloss|colocenses|colossenses|collosians" },
    { 51, "t|ts|te|th|tes|tess|thes|thess|tesal|tesalonisenses|tesalonicences|thessalonian|thesalonians" },
    { 53, "t|tm|ti|tim|timo|timot" },
    { 55, "tt" },
    { 56, "fm|pm|film|phlm|philem|phlmn" },
    { 57, "hb|hbr|hebr|ebreos|hebreo|hebrew" },
    { 58, "st|snt|sgo|stgo|sant|jm|jam|jms" },
    { 59, "p|pe|pt|ped|pdr|pet|ptr" },
    { 61, "j|jn|jua|jo|joh|jhn|jhon" },
    { 64, "jd|jds" },
    { 65, "apo|apc|apoca|apocal|rv|revelations|revelacion|apocalipcis|apocalypse|apocalipsis de juan"
          "|apocalipsis de san juan|revelation of john|revelation to john|revelation of st john"
          "|revelation of saint john" },
    { 49, "phl" }, // in use for both letters
    { 56, "phl" },
});
// clang-format on

struct Names {
    QString stem; ///< what is common to the numbered books of a name; else empty
    std::int32_t ordinal = 0;
    QStringList forms;
    QStringList proper; ///< of them those that are spelt right
};

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

Names tableNames(const Book &book)
{
    Names names;
    const QString spanish = normalize(text(book.nameEs));
    names.forms = text(book.aliases).split(QLatin1Char('|'))
        << spanish << normalize(text(book.nameEn)) << normalize(text(book.code));
    if (spanish.at(0).isDigit()) {
        names.ordinal = spanish.at(0).digitValue();
        names.stem = spanish.mid(2);
        for (QString &form : names.forms) {
            form = form.mid(1).trimmed();
        }
    }
    names.proper = names.forms;
    return names;
}

std::array<Names, books.size()> makeNames()
{
    std::array<Names, books.size()> all;
    for (std::size_t i = 0; i < books.size(); ++i) {
        all.at(i) = tableNames(books.at(i));
    }
    for (const Forms &more : moreForms) {
        const QStringList forms = QString::fromLatin1(more.names).split(QLatin1Char('|'));
        const QString stem = all.at(static_cast<std::size_t>(more.book)).stem;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const bool same = stem.isEmpty() ? i == static_cast<std::size_t>(more.book)
                                             : all.at(i).stem == stem;
            if (same) {
                all.at(i).forms << forms;
            }
        }
    }
    return all;
}

const std::array<Names, books.size()> &allNames()
{
    static const auto names = makeNames();
    return names;
}

template <typename Matches>
QList<std::int32_t> booksWhere(std::int32_t ordinal,
    bool numberless,
    Matches matches,
    QStringList Names::*list = &Names::forms)
{
    // "Juan" alone is the gospel, never one of the letters.
    static const QString letters = allNames().at(61).stem;
    QList<std::int32_t> found;
    for (std::size_t i = 0; i < books.size(); ++i) {
        const Names &names = allNames().at(i);
        const bool open = numberless && ordinal == 0 && names.stem != letters;
        if ((names.ordinal == ordinal || open)
            && std::any_of((names.*list).begin(), (names.*list).end(), matches)) {
            found.append(static_cast<std::int32_t>(i));
        }
    }
    return found;
}

} // namespace

QList<std::int32_t> booksNamed(const QString &name, std::int32_t ordinal)
{
    return booksWhere(ordinal, false, [&name](const QString &form) { return form == name; });
}

QList<std::int32_t> booksBeginning(const QString &name, std::int32_t ordinal)
{
    if (name.isEmpty() || (ordinal == 0 && name.size() < 2)) {
        return {};
    }
    return booksWhere(ordinal, true, [&name](const QString &form) {
        return form.startsWith(name);
    });
}

namespace {

/// How many letters were put in, left out, changed or swapped with their neighbour between two
/// words (the optimal string alignment distance of Damerau and Levenshtein).
qsizetype slips(const QString &typed, const QString &meant)
{
    const qsizetype width = meant.size() + 1;
    QList<qsizetype> all((typed.size() + 1) * width);
    const auto at
        = [&](qsizetype row, qsizetype column) -> qsizetype & { return all[row * width + column]; };
    for (qsizetype row = 0; row <= typed.size(); ++row) {
        for (qsizetype column = 0; column < width; ++column) {
            if (row == 0 || column == 0) {
                at(row, column) = row + column;
                continue;
            }
            const bool same = typed.at(row - 1) == meant.at(column - 1);
            qsizetype least = std::min({ at(row - 1, column) + 1,
                at(row, column - 1) + 1,
                at(row - 1, column - 1) + (same ? 0 : 1) });
            if (row > 1 && column > 1 && typed.at(row - 1) == meant.at(column - 2)
                && typed.at(row - 2) == meant.at(column - 1)) {
                least = std::min(least, at(row - 2, column - 2) + 1);
            }
            at(row, column) = least;
        }
    }
    return all.last();
}

} // namespace

QList<std::int32_t> booksMisspelt(const QString &name, std::int32_t ordinal)
{
    // Shorter names are too near to other words: "jueves", "Judit".
    constexpr qsizetype shortest = 7;
    constexpr qsizetype longer = 11;
    if (name.size() < shortest - 1) {
        return {};
    }
    const auto isNear = [&name](const QString &form) {
        const qsizetype most = form.size() >= longer ? 2 : 1;
        return form.size() >= shortest && std::abs(form.size() - name.size()) <= most
            && slips(name, form) <= most;
    };
    // From what is spelt wrong already, as "corintos", another slip leads to "coritos", which are
    // songs.
    return booksWhere(ordinal, true, isNear, &Names::proper);
}

} // namespace bible
