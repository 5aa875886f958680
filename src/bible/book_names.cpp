#include "bible/book_names.h"

#include "bible/book_forms.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <optional>
#include <utility>

namespace bible {

namespace {

using Words = QSet<QString>;

Words words(const char *blankSeparated)
{
    const QStringList list = QString::fromLatin1(blankSeparated).split(QLatin1Char(' '));
    return { list.begin(), list.end() };
}

/// Which books a word before the name leaves.
struct Range {
    std::int32_t first = 0;
    std::int32_t last = 65;
};

constexpr Range gospels { 39, 42 };
constexpr Range letters { 44, 64 };
constexpr Range lettersOfPaul { 44, 57 };
constexpr Range prophets { 22, 38 };
constexpr Range newTestament { 39, 65 };

bool isSaint(const QString &word)
{
    static const Words saint = words("san santo sn s saint st");
    return saint.contains(word);
}

/// No gospel or letter of a saint: Acts, the letters of Paul, which are called after who got them,
/// and Revelation.
bool isSaintless(std::int32_t book)
{
    return (book >= 43 && book <= lettersOfPaul.last) || book == newTestament.last;
}

/// A reading of the service, which may be the first or the second one: no ordinal of a book.
bool isReading(const QString &word)
{
    static const Words all = words("lectura texto cita read reading text");
    return all.contains(word);
}

/// Words that may stand before the name of a book, and what they say of it.
std::optional<Range> leadIn(const QString &word)
{
    static const Words plain
        = words("el la los las the de del of a to al segun according libro libros book books "
                "universal general catolica cf cfr ver vease see leer lee lease todo biblico "
                "biblica jesucristo cristo");
    static const std::pair<Words, Range> kinds[] {
        { plain, {} },
        { words("evangelio evangelios evang ev gospel"), gospels },
        { words("carta cartas epistola epistolas letter epistle"), letters },
        { words("profeta prophet"), prophets },
        { words("apostol apostle"), newTestament },
    };
    for (const auto &[set, range] : kinds) {
        if (set.contains(word)) {
            return range;
        }
    }
    if (isReading(word)) {
        return Range {};
    }
    return isSaint(word) ? std::optional(newTestament) : std::nullopt;
}

std::int32_t ordinalWord(const QString &word)
{
    static const QHash<QString, std::int32_t> ordinals = [] {
        QHash<QString, std::int32_t> all;
        const char *const lists[] { "primera primero primer first i ia",
            "segunda segundo second ii iia",
            "tercera tercero tercer third iii iiia" };
        for (std::int32_t number = 1; number <= 3; ++number) {
            for (const QString &each : words(lists[number - 1])) {
                all.insert(each, number);
            }
        }
        return all;
    }();
    return ordinals.value(word);
}

/// "ra" behind "1".
bool isOrdinalEnding(const QString &word)
{
    static const Words endings = words("a o ra ro era er ero st da do nd nda ndo d rd");
    return endings.contains(word);
}

/// Reads the words before the numbers.
class BookReader {
public:
    explicit BookReader(const QList<Token> &tokens)
        : m_tokens(tokens)
    {
    }

    BookRead read()
    {
        while (m_at < m_tokens.size()) {
            if (m_ordinal == 0 && readOrdinal()) {
                continue;
            }
            if (BookRead found = named(); !found.books.isEmpty()) {
                return found;
            }
            if (!readLeadIn()) {
                return beginning();
            }
        }
        return {};
    }

private:
    [[nodiscard]] bool isWordAt(qsizetype at) const
    {
        return at < m_tokens.size() && m_tokens.at(at).isWord();
    }
    [[nodiscard]] bool isSignAt(qsizetype at, char sign) const
    {
        return at < m_tokens.size() && m_tokens.at(at).isSign(sign);
    }

    /// The place of the word behind full stops, and behind a hyphen or the sign of an ordinal; -1
    /// when no word follows.
    [[nodiscard]] qsizetype wordBehindOrdinal(qsizetype at) const
    {
        while (isSignAt(at, '.') || isSignAt(at, '-')
            || (at < m_tokens.size() && m_tokens.at(at).isOrdinalSign())) {
            ++at;
        }
        return isWordAt(at) ? at : -1;
    }

    bool readOrdinal()
    {
        const Token &token = m_tokens.at(m_at);
        if (token.isNumber()) {
            return token.value >= 1 && token.value <= 3 && takeOrdinal(token.value, endOfNumber());
        }
        if (const std::int32_t number = token.isWord() ? ordinalWord(token.text) : 0; number > 0) {
            return takeOrdinal(number, wordBehindOrdinal(m_at + 1));
        }
        return token.isWord() && readJoinedRoman(token.text);
    }

    /// Behind "1", "1ª", "1ra.", "1.º".
    [[nodiscard]] qsizetype endOfNumber() const
    {
        qsizetype at = wordBehindOrdinal(m_at + 1);
        const bool ending = at > 0 && isOrdinalEnding(m_tokens.at(at).text)
            && (m_tokens.at(at).glued || m_tokens.at(at).text.size() > 1);
        if (ending) {
            at = wordBehindOrdinal(at + 1);
        }
        return at;
    }

    bool takeOrdinal(std::int32_t number, qsizetype next)
    {
        if (next < 0) {
            return false;
        }
        m_ordinal = number;
        m_at = next;
        return true;
    }

    /// "IICorintios".
    bool readJoinedRoman(const QString &word)
    {
        if (!booksNamed(word, 0).isEmpty()) {
            return false;
        }
        for (std::int32_t number = 3; number >= 1; --number) {
            const QString roman(number, QLatin1Char('i'));
            const QString rest = word.mid(number);
            if (word.startsWith(roman) && rest.size() >= 2 && !booksNamed(rest, number).isEmpty()) {
                m_joined = rest;
                m_ordinal = number;
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] QString wordAt(qsizetype at) const
    {
        return m_joined.isEmpty() || at != m_at ? m_tokens.at(at).text : m_joined;
    }

    /// The longest run of words from here that is a name.
    [[nodiscard]] BookRead named() const
    {
        BookRead best;
        QString name;
        for (qsizetype at = m_at; isWordAt(at); ++at) {
            name += (name.isEmpty() ? QString() : QStringLiteral(" ")) + wordAt(at);
            const qsizetype next = isSignAt(at + 1, '.') ? at + 2 : at + 1;
            if (endsName(next)) {
                const auto found = allowed(booksNamed(name, m_ordinal));
                if (!found.isEmpty()) {
                    best = { found, isAuthor(next) ? next + 1 : at + 1 };
                }
            }
            if (isSignAt(at + 1, '.')) {
                ++at;
            }
        }
        return best;
    }

    [[nodiscard]] bool isApostle(qsizetype at) const
    {
        static const Words authors = words("apostol evangelista apostle evangelist");
        return isWordAt(at) && authors.contains(m_tokens.at(at).text);
    }
    /// "San Juan Apóstol".
    [[nodiscard]] bool isAuthor(qsizetype at) const { return m_person && isApostle(at); }

    /// What may stand behind a name: the numbers, or the words before them.
    [[nodiscard]] bool endsName(qsizetype at) const
    {
        if (!isWordAt(at) || isAuthor(at)) {
            return true;
        }
        const QString &word = m_tokens.at(at).text;
        return isChapterWord(word) || isVerseWord(word) || isFiller(word);
    }

    [[nodiscard]] BookRead beginning() const
    {
        if (!isWordAt(m_at) || !endsName(isSignAt(m_at + 1, '.') ? m_at + 2 : m_at + 1)) {
            return {};
        }
        const QString word = wordAt(m_at);
        const auto begun = allowed(booksBeginning(word, m_ordinal));
        return { begun.isEmpty() ? allowed(booksMisspelt(word, m_ordinal)) : begun, m_at + 1 };
    }

    bool readLeadIn()
    {
        if (!isWordAt(m_at)) {
            return false;
        }
        const QString word = wordAt(m_at);
        const bool paul = word == QLatin1String("pablo") || word == QLatin1String("paul");
        const std::optional<Range> range = paul ? lettersOfPaul : leadIn(word);
        qsizetype next = m_at + 1;
        while (isSignAt(next, '.') || isSignAt(next, ':')) {
            ++next;
        }
        if (paul && isApostle(next)) {
            ++next;
        }
        static const Words behindPaul = words("a to letter");
        const bool toWhom = isWordAt(next) && behindPaul.contains(m_tokens.at(next).text);
        if (!range || (paul && !toWhom) || next >= m_tokens.size()) {
            return false;
        }
        if (isReading(word)) {
            m_ordinal = 0; // "Primera lectura: Juan 3"
        }
        // "San Pablo a los Romanos": the saint wrote it, the book is not called after him.
        m_person = isSaint(word) || (m_person && !paul);
        m_range = { std::max(m_range.first, range->first), std::min(m_range.last, range->last) };
        m_at = next;
        return true;
    }

    [[nodiscard]] QList<std::int32_t> allowed(QList<std::int32_t> books) const
    {
        books.removeIf([this](std::int32_t book) {
            return book < m_range.first || book > m_range.last || (m_person && isSaintless(book));
        });
        return books;
    }

    const QList<Token> &m_tokens;
    qsizetype m_at = 0;
    std::int32_t m_ordinal = 0;
    QString m_joined; ///< what follows a Roman numeral in its word
    Range m_range;
    bool m_person = false; ///< a saint was named before the book
};

} // namespace

BookRead readBook(const QList<Token> &tokens)
{
    return BookReader(tokens).read();
}

bool isChapterWord(const QString &word)
{
    static const Words all
        = words("capitulo capitulos cap caps capit c cp chapter chapters chap chaps chp ch");
    return all.contains(word);
}

bool isVerseWord(const QString &word)
{
    static const Words all = words("versiculo versiculos versic vers verso versos verse verses "
                                   "ver vr vrs vs vv v vss");
    return all.contains(word);
}

bool isFiller(const QString &word)
{
    static const Words all = words("el la los las the de del desde from en");
    return all.contains(word);
}

} // namespace bible
