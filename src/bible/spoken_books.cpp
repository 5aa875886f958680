#include "bible/spoken_books.h"

#include "bible/books.h"
#include "bible/reference.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <array>

namespace bible::spoken {

namespace {

constexpr std::int32_t psalms = 18;
constexpr qsizetype maxLeading = 8; ///< "carta del apóstol Pablo a los santos en …"

struct Name {
    QStringList words;
    std::array<std::int32_t, 4> books { -1, -1, -1, -1 }; ///< without a number, and by its number
};
/// By the first word of the names, the longest name first.
using Names = QHash<QString, QList<Name>>;

struct MoreName {
    const char *name;
    std::int32_t book;
};
constexpr auto moreSpanish = std::to_array<MoreName>({
    { "salmo", psalms },
    { "proverbio", 19 },
    { "cantar de los cantares", 21 },
    { "lamentaciones de jeremias", 24 },
    { "hechos de los apostoles", 43 },
});
constexpr auto moreEnglish = std::to_array<MoreName>({
    { "psalm", psalms },
    { "proverb", 19 },
    { "song of songs", 21 },
    { "acts of the apostles", 43 },
    { "revelations", 65 },
});

QSet<QString> setOf(const char *words)
{
    const QStringList list = QString::fromLatin1(words).split(QLatin1Char(' '));
    return { list.begin(), list.end() };
}

void addName(Names &names, const QString &normalized, std::int32_t book)
{
    QStringList words = normalized.split(QLatin1Char(' '));
    std::size_t ordinal = 0;
    if (words.first().at(0).isDigit()) {
        ordinal = static_cast<std::size_t>(words.takeFirst().toInt());
    }
    QList<Name> &list = names[words.first()];
    auto found = std::find_if(list.begin(), list.end(), [&](const Name &name) {
        return name.words == words;
    });
    if (found == list.end()) {
        found = list.insert(list.end(), Name { words, { -1, -1, -1, -1 } });
    }
    found->books.at(ordinal) = book;
    std::stable_sort(list.begin(), list.end(), [](const Name &a, const Name &b) {
        return a.words.size() > b.words.size();
    });
}

template <typename More> Names makeNames(bool spanish, const More &more)
{
    Names names;
    for (std::size_t i = 0; i < books.size(); ++i) {
        const std::string_view name = spanish ? books[i].nameEs : books[i].nameEn;
        addName(names,
            normalize(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()))),
            static_cast<std::int32_t>(i));
    }
    for (const MoreName &each : more) {
        addName(names, QString::fromLatin1(each.name), each.book);
    }
    return names;
}

const Names &namesOf(Language language)
{
    static const Names spanish = makeNames(true, moreSpanish);
    static const Names english = makeNames(false, moreEnglish);
    return language == Language::Spanish ? spanish : english;
}

bool isCommon(const QString &word)
{
    static const QSet<QString> common = setOf(
        "numeros jueces reyes hechos proverbios proverbio romanos hebreos galatas lamentaciones "
        "cronicas cantares job santiago "
        "numbers judges kings acts proverbs proverb romans hebrews lamentations chronicles mark "
        "revelation revelations song job");
    return common.contains(word);
}

bool isLeading(const QString &word, Language language)
{
    static const QSet<QString> spanish = setOf("de del a al la el los las en carta cartas epistola "
                                               "libro evangelio segun san santo apostol pablo");
    static const QSet<QString> english = setOf("of in to the from letter epistle book gospel "
                                               "according saint st apostle paul paul's");
    return (language == Language::Spanish ? spanish : english).contains(word);
}

std::optional<BookName>
nameAt(const Words &words, qsizetype at, std::size_t ordinal, Language language)
{
    for (const Name &name : namesOf(language).value(words.at(at).text)) {
        if (name.books.at(ordinal) < 0 || at + name.words.size() > words.size()) {
            continue;
        }
        bool same = true;
        for (qsizetype i = 0; i < name.words.size(); ++i) {
            same = same && words.at(at + i).text == name.words.at(i);
        }
        if (same) {
            const std::int32_t book = name.books.at(ordinal);
            const bool common = ordinal == 0 && name.words.size() == 1
                && isCommon(name.words.first()) && !words.at(at).capital;
            return BookName { book, at + name.words.size(), common, book == psalms };
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<BookName> bookAt(const Words &words, qsizetype at, Language language)
{
    const std::int32_t ordinal = bookOrdinal(words.at(at), language);
    if (ordinal == 0) {
        return nameAt(words, at, 0, language);
    }
    const qsizetype last = std::min(at + 1 + maxLeading, words.size() - 1);
    for (qsizetype next = at + 1; next <= last; ++next) {
        if (auto name = nameAt(words, next, static_cast<std::size_t>(ordinal), language)) {
            return name;
        }
        if (!isLeading(words.at(next).text, language)) {
            break;
        }
    }
    return std::nullopt;
}

std::optional<BookName> bookBehind(const Words &words, qsizetype at, Language language)
{
    const qsizetype last = std::min(at + maxLeading, words.size() - 1);
    for (qsizetype next = at; next <= last; ++next) {
        if (auto name = bookAt(words, next, language)) {
            name->isCommon = name->isCommon && next == at;
            return name;
        }
        if (!isLeading(words.at(next).text, language)) {
            break;
        }
    }
    return std::nullopt;
}

} // namespace bible::spoken
