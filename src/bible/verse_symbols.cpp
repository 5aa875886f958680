#include "bible/verse_symbols.h"

#include "bible/book_names.h"

#include <QRegularExpression>
#include <QStringList>

#include <utility>

namespace bible {

namespace {

using Kind = Symbol::Kind;

std::optional<Kind> signKind(const Token &token)
{
    switch (token.text.at(0).unicode()) {
    case ':':
        return Kind::Colon;
    case '.':
        return Kind::Point;
    case ',':
        return Kind::Comma;
    case ';':
        return Kind::Semicolon;
    case '&':
        return Kind::And;
    case '-':
        return Kind::To;
    default:
        return std::nullopt;
    }
}

/// Words that mean the same wherever they stand.
std::optional<Kind> plainKind(const QString &word)
{
    static constexpr std::pair<const char *, Kind> kinds[] {
        { "y", Kind::And },
        { "e", Kind::And },
        { "and", Kind::And },
        { "a", Kind::To },
        { "al", Kind::To },
        { "to", Kind::To },
        { "hasta", Kind::To },
        { "through", Kind::To },
        { "thru", Kind::To },
        { "until", Kind::To },
        { "s", Kind::Next },
        { "f", Kind::Next },
        { "sig", Kind::Next },
        { "siguiente", Kind::Next },
        { "ss", Kind::NextAll },
        { "ff", Kind::NextAll },
        { "sgs", Kind::NextAll },
        { "sigs", Kind::NextAll },
        { "sgts", Kind::NextAll },
        { "sgtes", Kind::NextAll },
        { "sigtes", Kind::NextAll },
        { "sqq", Kind::NextAll },
        { "siguientes", Kind::NextAll },
        { "following", Kind::NextAll },
        { "onward", Kind::NextAll },
        { "onwards", Kind::NextAll },
        { "adelante", Kind::NextAll },
    };
    for (const auto &[each, kind] : kinds) {
        if (word == QLatin1String(each)) {
            return kind;
        }
    }
    return std::nullopt;
}

bool isFollowing(const QString &word)
{
    const auto kind = plainKind(word);
    return kind == Kind::Next || kind == Kind::NextAll;
}

/// "capítulos 1, 2" are two chapters, "capítulo 1, 2" is a verse.
bool isChapters(const QString &word)
{
    return word == QLatin1String("capitulos") || word == QLatin1String("caps")
        || word == QLatin1String("chapters") || word == QLatin1String("chaps");
}

/// The "a" of "16a", the "ab" of "16ab".
bool isPart(const QString &word)
{
    for (qsizetype at = 0; at < word.size(); ++at) {
        const QChar least = at == 0 ? QLatin1Char('a') : QChar(word.at(at - 1).unicode() + 1);
        if (word.at(at) < least || word.at(at) > QLatin1Char('e')) {
            return false;
        }
    }
    return word.size() <= 3;
}

/// "Salmo 23 completo".
bool isWhole(const QString &word)
{
    return word == QLatin1String("completo") || word == QLatin1String("entero")
        || word == QLatin1String("complete") || word == QLatin1String("entire");
}

/// "16 al final", "16 hasta el fin del capítulo", "16 to the end".
bool isToTheEnd(const QString &words)
{
    static const QRegularExpression form(QStringLiteral(
        "^(?:(?:al|hasta el) fin(?:al)?(?: del capitulo)?|to the end(?: of the chapter)?)$"));
    return form.match(words).hasMatch();
}

/// Turns tokens into symbols, one by one.
class Converter {
public:
    Converter(const QList<Token> &tokens, qsizetype begin)
        : m_tokens(tokens)
        , m_at(begin)
    {
    }

    std::optional<QList<Symbol>> convert()
    {
        for (; m_at < m_tokens.size(); ++m_at) {
            const Token &token = m_tokens.at(m_at);
            if (token.isNumber()) {
                m_symbols.append({ Kind::Number, token.value, token.glued });
            } else if (!(token.isWord() ? addWord(token) : addSign(token))) {
                return std::nullopt;
            }
        }
        return m_symbols;
    }

private:
    [[nodiscard]] bool isLast(Kind kind) const
    {
        return !m_symbols.isEmpty() && m_symbols.last().kind == kind;
    }
    [[nodiscard]] const Token *next() const
    {
        return m_at + 1 < m_tokens.size() ? &m_tokens.at(m_at + 1) : nullptr;
    }
    [[nodiscard]] bool isNumberNext() const { return next() != nullptr && next()->isNumber(); }

    [[nodiscard]] QString wordsFromHere() const
    {
        QStringList words;
        for (const Token &token : m_tokens.sliced(m_at)) {
            words << token.text;
        }
        return words.join(QLatin1Char(' '));
    }

    bool add(Kind kind)
    {
        m_symbols.append({ kind, 0, m_tokens.at(m_at).glued });
        return true;
    }

    bool addSign(const Token &token)
    {
        const bool stop = token.isSign('.')
            && (isLast(Kind::Chapter) || isLast(Kind::Verse) || isLast(Kind::Next)
                || isLast(Kind::NextAll));
        if (stop) {
            return true; // the full stop of an abbreviation
        }
        const auto kind = signKind(token);
        return kind && add(*kind);
    }

    bool addWord(const Token &token)
    {
        const QString &word = token.text;
        const bool behindNumber = token.glued && isLast(Kind::Number);
        if (behindNumber && isPart(word) && !isNumberNext()) {
            return add(Kind::Part);
        }
        if (isChapterWord(word)) {
            m_symbols.append({ Kind::Chapter, isChapters(word) ? 2 : 1, token.glued });
            return true;
        }
        if (isVerseWord(word)) {
            return isLast(Kind::NextAll) || add(Kind::Verse); // "and following verses"
        }
        if (isWhole(word) && isLast(Kind::Number) && next() == nullptr) {
            return true;
        }
        if (isToTheEnd(wordsFromHere())) {
            const bool added = addPlain(Kind::NextAll, word);
            m_at = m_tokens.size() - 1;
            return added;
        }
        if (const auto kind = plainKind(word)) {
            return addPlain(*kind, word);
        }
        const auto isBefore = [&](const char *first, const char *second) {
            return word == QLatin1String(first) && next() != nullptr
                && next()->text == QLatin1String(second);
        };
        return isBefore("en", "adelante") || isBefore("up", "to")
            || (isFiller(word) && addFiller(word));
    }

    bool addPlain(Kind kind, const QString &word)
    {
        const bool follows = kind == Kind::Next || kind == Kind::NextAll;
        if (follows && isLast(Kind::And)) {
            m_symbols.removeLast(); // "y siguientes"
        }
        if (follows && !isLast(Kind::Number) && !isLast(Kind::Part)) {
            return false;
        }
        if (word == QLatin1String("adelante")
            && m_tokens.at(m_at - 1).text != QLatin1String("en")) {
            return false;
        }
        return add(kind);
    }

    /// "del" before verses begins them; an article beside words of the list says nothing.
    bool addFiller(const QString &word)
    {
        const bool begins = word == QLatin1String("del") || word == QLatin1String("de")
            || word == QLatin1String("desde") || word == QLatin1String("from");
        if (next() == nullptr) {
            return false;
        }
        const bool beforeWord = next()->isWord()
            && (isFiller(next()->text) || isChapterWord(next()->text) || isVerseWord(next()->text)
                || isFollowing(next()->text));
        const bool beforeArticle = beforeWord && isFiller(next()->text)
            && m_at + 2 < m_tokens.size() && m_tokens.at(m_at + 2).isNumber();
        if (begins && beforeArticle && isLast(Kind::Number)) {
            return add(Kind::Verse); // "3 desde el 16"
        }
        if (begins && isNumberNext() && m_symbols.isEmpty()) {
            return true; // "Salmos del 120 al 134"
        }
        if (beforeWord || (isNumberNext() && (isLast(Kind::Verse) || isLast(Kind::Chapter)))) {
            return true;
        }
        if (begins && isNumberNext() && (isLast(Kind::Number) || isLast(Kind::Comma))) {
            return add(Kind::Verse);
        }
        return isNumberNext() && (isLast(Kind::To) || isLast(Kind::And));
    }

    const QList<Token> &m_tokens;
    qsizetype m_at;
    QList<Symbol> m_symbols;
};

} // namespace

std::optional<QList<Symbol>> symbols(const QList<Token> &tokens, qsizetype begin)
{
    return Converter(tokens, begin).convert();
}

} // namespace bible
