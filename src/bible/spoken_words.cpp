#include "bible/spoken_words.h"

#include "bible/reference.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <optional>

namespace bible::spoken {

namespace {

using Table = QHash<QString, std::int32_t>;

/// Names of numbers, each with the number of its place, beginning with `first` and `step` apart.
void addRow(Table &table, const char *names, std::int32_t first, std::int32_t step = 1)
{
    for (const QString &name : QString::fromLatin1(names).split(QLatin1Char(' '))) {
        table.insert(name, first);
        first += step;
    }
}

struct Numerals {
    Table units; ///< 1 to 9
    Table whole; ///< those that take nothing behind them
    Table tens;
    Table ordinals; ///< 1 to 19 and the tens, as they are said of chapters, verses and psalms
    QStringList hundred;
};

Numerals makeSpanish()
{
    Numerals all;
    addRow(all.units, "uno dos tres cuatro cinco seis siete ocho nueve", 1);
    addRow(all.whole,
        "diez once doce trece catorce quince dieciseis diecisiete dieciocho diecinueve veinte "
        "veintiuno veintidos veintitres veinticuatro veinticinco veintiseis veintisiete veintiocho "
        "veintinueve",
        10);
    addRow(all.tens, "treinta cuarenta cincuenta sesenta setenta ochenta noventa", 30, 10);
    addRow(all.ordinals,
        "primero segundo tercero cuarto quinto sexto septimo octavo noveno decimo undecimo "
        "duodecimo",
        1);
    addRow(all.ordinals, "primer", 1);
    addRow(all.ordinals, "tercer", 3);
    all.hundred = { QStringLiteral("cien"), QStringLiteral("ciento") };
    return all;
}

Numerals makeEnglish()
{
    Numerals all;
    addRow(all.units, "one two three four five six seven eight nine", 1);
    addRow(all.whole,
        "ten eleven twelve thirteen fourteen fifteen sixteen seventeen eighteen nineteen",
        10);
    addRow(all.tens, "twenty thirty forty fifty sixty seventy eighty ninety", 20, 10);
    addRow(all.ordinals,
        "first second third fourth fifth sixth seventh eighth ninth tenth eleventh twelfth "
        "thirteenth "
        "fourteenth fifteenth sixteenth seventeenth eighteenth nineteenth",
        1);
    addRow(all.ordinals, "twentieth thirtieth fortieth fiftieth sixtieth", 20, 10);
    all.hundred = { QStringLiteral("hundred") };
    return all;
}

const Numerals &numeralsOf(Language language)
{
    static const Numerals spanish = makeSpanish();
    static const Numerals english = makeEnglish();
    return language == Language::Spanish ? spanish : english;
}

/// Reads the words of one transcript from left to right.
class Reader {
public:
    Reader(const Words &words, Language language, bool ordinals)
        : m_words(words)
        , m_numerals(numeralsOf(language))
        , m_spanish(language == Language::Spanish)
        , m_ordinals(ordinals)
    {
    }

    /// 1 to 99, as long as it goes.
    [[nodiscard]] std::optional<Number> upTo99(qsizetype at) const
    {
        if (const auto whole = m_numerals.whole.value(text(at)); whole != 0) {
            return Number { whole, at + 1 };
        }
        if (const auto tens = m_numerals.tens.value(text(at)); tens != 0) {
            return withUnits(tens, at + 1);
        }
        if (const auto unit = unitAt(at); unit != 0) {
            return Number { unit, at + 1 };
        }
        return std::nullopt;
    }

    /// "ciento tres", "a hundred and three", "one hundred three".
    [[nodiscard]] std::optional<Number> withHundred(qsizetype at) const
    {
        qsizetype next = at;
        if (!m_spanish && (text(at) == QLatin1String("one") || text(at) == QLatin1String("a"))) {
            ++next;
        }
        if (!m_numerals.hundred.contains(text(next))) {
            return std::nullopt;
        }
        ++next;
        const bool joined = !m_spanish && text(next) == QLatin1String("and");
        if (const auto rest = upTo99(joined ? next + 1 : next)) {
            return Number { 100 + rest->value, rest->end };
        }
        return Number { 100, next };
    }

    /// "one nineteen", "one oh three": the way that English says a psalm above 100.
    [[nodiscard]] std::optional<Number> shortHundred(qsizetype at) const
    {
        if (m_spanish || text(at) != QLatin1String("one")) {
            return std::nullopt;
        }
        if (isOh(at + 1)) {
            const auto unit = unitAt(at + 2);
            return unit == 0 ? std::nullopt : std::optional(Number { 100 + unit, at + 3 });
        }
        const auto rest = upTo99(at + 1);
        return rest && rest->value >= 10 ? std::optional(Number { 100 + rest->value, rest->end })
                                         : std::nullopt;
    }

    [[nodiscard]] bool isOh(qsizetype at) const
    {
        return text(at) == QLatin1String("oh") || text(at) == QLatin1String("o");
    }

    [[nodiscard]] QString text(qsizetype at) const
    {
        return at < m_words.size() ? m_words.at(at).text : QString();
    }

private:
    [[nodiscard]] std::int32_t unitAt(qsizetype at) const
    {
        const std::int32_t unit = m_numerals.units.value(text(at));
        return unit == 0 && m_ordinals ? m_numerals.ordinals.value(text(at)) : unit;
    }

    [[nodiscard]] Number withUnits(std::int32_t tens, qsizetype at) const
    {
        qsizetype next = at;
        if (m_spanish) {
            if (text(next) != QLatin1String("y")) {
                return { tens, at };
            }
            ++next;
        } else if (next < m_words.size() && m_words.at(next).isSign('-')) {
            ++next;
        }
        const std::int32_t unit = unitAt(next);
        return unit >= 1 && unit <= 9 ? Number { tens + unit, next + 1 } : Number { tens, at };
    }

    const Words &m_words;
    const Numerals &m_numerals;
    bool m_spanish;
    bool m_ordinals;
};

} // namespace

Words wordsOf(const QString &transcript)
{
    static const QRegularExpression pieces(
        QStringLiteral(R"((\d+)(ª|º|st\b|nd\b|rd\b|th\b)?|[\p{L}\p{M}']+|[.,:;!?\-–—])"),
        QRegularExpression::UseUnicodePropertiesOption);
    Words words;
    auto found = pieces.globalMatch(transcript);
    while (found.hasNext()) {
        const QRegularExpressionMatch match = found.next();
        Word word;
        const QString text = match.captured();
        word.from = match.capturedStart();
        word.to = match.capturedEnd();
        if (match.hasCaptured(1)) {
            word.value = match.capturedView(1).size() > 3 ? 1000 : match.capturedView(1).toInt();
            word.text = text.toLower();
        } else if (text.at(0).isLetter()) {
            word.capital = text.at(0).isUpper();
            word.text = normalize(text);
        } else {
            word.sign = text.at(0) == QChar(0x2013) || text.at(0) == QChar(0x2014)
                ? QLatin1Char('-')
                : text.at(0);
        }
        words.append(word);
    }
    return words;
}

QList<Number> numbersAt(const Words &words, qsizetype at, Language language, bool ordinals)
{
    if (at >= words.size()) {
        return {};
    }
    if (words.at(at).value >= 0) {
        return { { words.at(at).value, at + 1 } };
    }
    const Reader reader(words, language, ordinals);
    if (const auto number = reader.withHundred(at)) {
        return { *number };
    }
    QList<Number> numbers;
    const auto above = reader.shortHundred(at);
    if (above && reader.isOh(at + 1)) {
        return { *above };
    }
    if (const auto number = reader.upTo99(at)) {
        numbers.append(*number);
    }
    if (above) {
        numbers.append(*above);
    }
    return numbers;
}

std::int32_t bookOrdinal(const Word &word, Language language)
{
    static const Table spanish { { QStringLiteral("primera"), 1 },
        { QStringLiteral("primero"), 1 },
        { QStringLiteral("primer"), 1 },
        { QStringLiteral("segunda"), 2 },
        { QStringLiteral("segundo"), 2 },
        { QStringLiteral("tercera"), 3 },
        { QStringLiteral("tercero"), 3 },
        { QStringLiteral("tercer"), 3 } };
    static const Table english { { QStringLiteral("first"), 1 },
        { QStringLiteral("second"), 2 },
        { QStringLiteral("third"), 3 } };
    if (word.value >= 0) {
        return word.value <= 3 ? word.value : 0;
    }
    if (word.capital && !word.text.isEmpty() && QStringLiteral("iii").startsWith(word.text)) {
        return static_cast<std::int32_t>(word.text.size()); // in Roman numerals
    }
    return (language == Language::Spanish ? spanish : english).value(word.text);
}

} // namespace bible::spoken
