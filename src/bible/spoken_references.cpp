#include "bible/spoken_references.h"

#include "bible/books.h"
#include "bible/canon.h"
#include "bible/reader.h"
#include "bible/spoken_books.h"

#include <QSet>
#include <QStringList>

#include <algorithm>
#include <optional>
#include <utility>

namespace bible {

using namespace spoken;

namespace {

QSet<QString> setOf(const char *words)
{
    const QStringList list = QString::fromLatin1(words).split(QLatin1Char(' '));
    return { list.begin(), list.end() };
}

/// The words of references, by language.
struct Vocabulary {
    QSet<QString> chapter;
    QSet<QString> verse;
    QSet<QString> verses;
    QSet<QString> between; ///< may stand between book, chapter and verse when these are named
    QSet<QString> from; ///< may stand before a verse that is not named so
    QSet<QString> range;
    QSet<QString> and_;
    QSet<QString> of;
    QSet<QString> intro; ///< stands before a book whose chapter is not named so
    QSet<QString> says; ///< may stand behind such a chapter
    QSet<QString> counted; ///< a number before it is none of a verse
};

const Vocabulary &vocabularyOf(Language language)
{
    static const Vocabulary spanish { setOf("capitulo capitulos cap"),
        setOf("versiculo verso vers versiculos versos"),
        setOf("versiculos versos"),
        setOf("y en el la los las su desde del de empezando comenzando por a partir"),
        setOf("del desde el"),
        setOf("al a hasta"),
        setOf("y"),
        setOf("de del en"),
        setOf("en leamos leemos leer lee lean abramos abran vamos vayamos busquemos busquen biblia "
              "biblias llegamos lleguemos pasamos pasemos"),
        setOf("dice dicen nos leemos habla encontramos vemos donde pablo jesus el la"),
        setOf(
            "veces anos dias horas minutos semanas meses hijos hijas hermanos hermanas personas "
            "hombres mujeres mil millones cosas pesos dolares euros por familias puntos discipulos "
            "panes peces amigos iglesias jovenes ninos otros otras de") };
    static const Vocabulary english { setOf("chapter chapters"),
        setOf("verse verses"),
        setOf("verses"),
        setOf("and at in the from starting beginning with colon its number"),
        setOf("from the colon"),
        setOf("through thru to until till"),
        setOf("and"),
        setOf("of in from"),
        setOf("in read reading turn turning at open from bible bibles"),
        setOf("says tells we where paul jesus the he it reads and"),
        setOf("times years days hours minutes weeks months sons daughters brothers sisters people "
              "men "
              "women hundred thousand million things dollars percent families points disciples "
              "loaves "
              "friends churches kids children boxes other others of") };
    return language == Language::Spanish ? spanish : english;
}

class Finder {
public:
    Finder(const Words &words, Language language, bool isGrowing)
        : m_words(words)
        , m_language(language)
        , m_vocabulary(vocabularyOf(language))
        , m_isGrowing(isGrowing)
    {
    }

    /// A reference, or the end of what looks like one and is none.
    struct Result {
        std::optional<Passage> passage;
        qsizetype end = 0;
    };

    /// Begins at `at`; nothing when no reference does.
    [[nodiscard]] std::optional<Result> referenceAt(qsizetype at) const
    {
        if (auto found = chapterFirst(at)) {
            return found;
        }
        if (auto found = verseFirst(at)) {
            return found;
        }
        if (auto found = psalmBehindNumber(at)) {
            return found;
        }
        if (const auto book = bookAt(m_words, at, m_language)) {
            return bookFirst(*book, at);
        }
        return std::nullopt;
    }

private:
    /// The numbers of a reference, as they are typed, and the first word behind them.
    struct Numbers {
        QString typed;
        qsizetype end = 0;
    };

    [[nodiscard]] bool is(const QSet<QString> &words, qsizetype at) const
    {
        return at < m_words.size() && words.contains(m_words.at(at).text)
            && !m_words.at(at).text.isEmpty();
    }
    [[nodiscard]] bool isSign(qsizetype at, char sign) const
    {
        return at < m_words.size() && m_words.at(at).isSign(sign);
    }
    [[nodiscard]] bool isCounted(qsizetype at) const { return is(m_vocabulary.counted, at); }

    [[nodiscard]] Result result(const BookName &book, const Numbers &numbers) const
    {
        const std::string_view name = books.at(static_cast<std::size_t>(book.book)).nameEs;
        const Reading reading
            = read(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()))
                + QLatin1Char(' ') + numbers.typed);
        if (reading.status != Reading::Status::Found || reading.passages.size() != 1) {
            return { std::nullopt, numbers.end };
        }
        return { reading.passages.first(), numbers.end };
    }

    /// The first of the readings that the Bible has; else the end of the longest.
    [[nodiscard]] Result firstThatIs(const BookName &book, const QList<Numbers> &readings) const
    {
        Result none { std::nullopt, book.end };
        for (const Numbers &numbers : readings) {
            Result each = result(book, numbers);
            if (each.passage) {
                return each;
            }
            none.end = std::max(none.end, each.end);
        }
        return none;
    }

    /// Behind `at`, over signs and words that lead on, the first word of `named`; -1 without one.
    [[nodiscard]] qsizetype behindNamed(const QSet<QString> &named, qsizetype at) const
    {
        for (qsizetype next = at; next < std::min(at + 6, m_words.size()); ++next) {
            if (is(named, next)) {
                return next + 1;
            }
            if (!isSign(next, ',') && !isSign(next, ':') && !is(m_vocabulary.between, next)) {
                break;
            }
        }
        return -1;
    }

    /// Over "el", "del", "the" before a number.
    [[nodiscard]] qsizetype behindArticles(qsizetype at) const
    {
        return is(m_vocabulary.from, at) ? behindArticles(at + 1) : at;
    }

    [[nodiscard]] QList<Number> numbers(qsizetype at, bool ordinals = false) const
    {
        return numbersAt(m_words, at, m_language, ordinals);
    }

    /// "del cuatro al siete", "four through seven", "4-7", "hasta el capítulo dos versículo tres":
    /// what follows the verse `first`.
    [[nodiscard]] QList<Numbers>
    rangesBehind(const QString &typed, std::int32_t first, qsizetype at) const
    {
        if (!is(m_vocabulary.range, at) && !isSign(at, '-')) {
            return {};
        }
        QList<Numbers> found;
        if (const qsizetype chapter = behindNamed(m_vocabulary.chapter, at + 1); chapter > 0) {
            for (const Number &last : numbers(chapter, true)) {
                const QString until = typed + QLatin1Char('-') + QString::number(last.value);
                for (const Numbers &verse : versesBehind(until, last.end)) {
                    found.append(verse);
                }
            }
            return found;
        }
        qsizetype next = behindArticles(at + 1);
        next = behindArticles(is(m_vocabulary.verse, next) ? next + 1 : next);
        for (const Number &last : numbers(next)) {
            const QString until = typed + QLatin1Char('-') + QString::number(last.value);
            if (isSign(last.end, ':') && last.end + 1 < m_words.size()
                && m_words.at(last.end + 1).value > 0) {
                const std::int32_t verse = m_words.at(last.end + 1).value;
                found.append({ until + QLatin1Char(':') + QString::number(verse), last.end + 2 });
            } else if (last.value > first
                && (is(m_vocabulary.of, last.end) || !isCounted(last.end))) {
                found.append({ until, last.end });
            }
        }
        return found;
    }

    /// "versículos cuatro, seis y ocho": those behind the first. Of one verse only "y cinco", the
    /// next.
    [[nodiscard]] Numbers listBehind(Numbers list, std::int32_t last, bool plural) const
    {
        bool isPair = false;
        for (;;) {
            const bool comma = plural && isSign(list.end, ',');
            qsizetype next = list.end + (comma ? 1 : 0);
            next += is(m_vocabulary.and_, next) ? 1 : 0;
            const QList<Number> more
                = next > list.end ? numbers(behindArticles(next)) : QList<Number> {};
            if (more.isEmpty() || more.first().value <= last || isCounted(more.first().end)) {
                return list;
            }
            const bool follows = more.first().value == last + 1 && !isPair;
            if (!plural && !follows) {
                return list;
            }
            isPair = follows;
            last = more.first().value;
            list = { list.typed + QLatin1Char(follows ? '-' : ',') + QString::number(last),
                more.first().end };
        }
    }

    /// The verses that begin at `at`, behind what is typed so far.
    [[nodiscard]] QList<Numbers>
    versesAt(const QString &typed, qsizetype at, bool named, bool plural) const
    {
        QList<Numbers> found;
        for (const Number &verse : numbers(at, named)) {
            if (!named && isCounted(verse.end)) {
                continue;
            }
            const QString first = typed + QString::number(verse.value);
            const QList<Numbers> ranges = rangesBehind(first, verse.value, verse.end);
            if (!ranges.isEmpty()) {
                found += ranges;
            } else {
                found.append(listBehind({ first, verse.end }, verse.value, plural));
            }
        }
        return found;
    }

    /// The verses said behind a chapter, which ends at `at`. None when no verse is said.
    [[nodiscard]] QList<Numbers> versesBehind(const QString &chapter, qsizetype at) const
    {
        const QString typed = chapter + QLatin1Char(':');
        if (const qsizetype named = behindNamed(m_vocabulary.verse, at); named > 0) {
            const bool plural = is(m_vocabulary.verses, named - 1);
            return versesAt(typed, behindArticles(named), true, plural);
        }
        if (isSign(at, ':')) {
            return versesAt(typed, at + 1, true, false);
        }
        qsizetype next = at;
        const bool point = isSign(at, '.') && at + 1 < m_words.size()
            && m_words.at(at + 1).value > 0 && m_words.at(at + 1).from == m_words.at(at).to;
        if (point || isSign(at, ',')) {
            ++next;
        } else if (m_language == Language::Spanish && next + 1 < m_words.size()
            && m_words.at(next).text == QLatin1String("dos")
            && m_words.at(next + 1).text == QLatin1String("puntos")) {
            next += 2;
        }
        return versesAt(typed, behindArticles(next), false, false);
    }

    /// A chapter is enough where it is named so, or of a psalm. Elsewhere a name and a number may
    /// be anything: something must lead to them, and they must stand for themselves.
    [[nodiscard]] bool isChapterEnough(const BookName &book, qsizetype from, qsizetype end) const
    {
        if (book.isPsalm && isPronoun(end - 1)) {
            return end < m_words.size() && !m_words.at(end).sign.isNull();
        }
        if (book.isPsalm) {
            return !isCounted(end);
        }
        const bool closed = end < m_words.size()
            ? m_words.at(end).text.isEmpty() || is(m_vocabulary.says, end)
            : !m_isGrowing;
        return closed && isLedTo(from);
    }

    /// "En los salmos uno descubre", "in the Psalms one finds".
    [[nodiscard]] bool isPronoun(qsizetype at) const
    {
        const QString &book = m_words.at(at - 1).text;
        return m_words.at(at).text
            == (m_language == Language::Spanish ? QLatin1String("uno") : QLatin1String("one"))
            && (book == QLatin1String("salmos") || book == QLatin1String("psalms"));
    }

    [[nodiscard]] bool isLedTo(qsizetype from) const
    {
        static const QSet<QString> writings
            = setOf("libro evangelio carta epistola san book gospel letter epistle");
        static const QSet<QString> small = setOf("de del segun la los a of the to according");
        for (qsizetype before = from - 1; before >= 0; --before) {
            if (is(writings, before) || is(m_vocabulary.intro, before)) {
                return true;
            }
            if (!is(small, before)) {
                break;
            }
        }
        return false;
    }

    /// Whole chapters: "capítulos cinco al siete".
    [[nodiscard]] QList<Numbers> chaptersAt(const Number &chapter) const
    {
        const QString typed = QString::number(chapter.value);
        const QList<Numbers> ranges = rangesBehind(typed, chapter.value, chapter.end);
        return ranges.isEmpty() ? QList<Numbers> { { typed, chapter.end } } : ranges;
    }

    /// "Juan capítulo tres versículo dieciséis", "Juan tres dieciséis", "Judas versículo nueve".
    [[nodiscard]] std::optional<Result> bookFirst(const BookName &book, qsizetype from) const
    {
        const qsizetype named = behindNamed(m_vocabulary.chapter, book.end);
        QList<Numbers> readings;
        for (const Number &chapter : numbers(named > 0 ? named : book.end, named > 0)) {
            if (named < 0 && (book.isCommon || isCounted(chapter.end))) {
                continue;
            }
            if (named > 0 && is(m_vocabulary.of, chapter.end)
                && bookBehind(m_words, chapter.end, m_language)) {
                return std::nullopt; // the chapter is of that book
            }
            const QList<Numbers> verses = versesBehind(QString::number(chapter.value), chapter.end);
            if (!verses.isEmpty()) {
                readings += verses;
            } else if (named > 0 || isChapterEnough(book, from, chapter.end)) {
                readings += chaptersAt(chapter);
            }
        }
        if (readings.isEmpty()) {
            readings = versesOfOnlyChapter(book);
        }
        if (readings.isEmpty()) {
            return Result { std::nullopt, book.end };
        }
        return firstThatIs(book, readings);
    }

    [[nodiscard]] QList<Numbers> versesOfOnlyChapter(const BookName &book) const
    {
        const qsizetype named = behindNamed(m_vocabulary.verse, book.end);
        if (named < 0 || canonChapters(book.book) != 1) {
            return {};
        }
        QList<Numbers> found
            = versesAt({}, behindArticles(named), true, is(m_vocabulary.verses, named - 1));
        for (Numbers &numbers : found) {
            numbers.typed.prepend(QStringLiteral("1:"));
        }
        return found;
    }

    /// The number of "capítulo tres", "tercer capítulo", "the third chapter", and what is behind.
    [[nodiscard]] QList<Number> namedChapter(qsizetype at) const
    {
        if (is(m_vocabulary.chapter, at)) {
            return numbers(at + 1, true);
        }
        QList<Number> found = numbers(at, true);
        found.removeIf([this](const Number &each) { return !is(m_vocabulary.chapter, each.end); });
        for (Number &each : found) {
            ++each.end;
        }
        return found;
    }

    /// "el capítulo tres de Juan, versículo dieciséis".
    [[nodiscard]] std::optional<Result> chapterFirst(qsizetype at) const
    {
        for (const Number &chapter : namedChapter(at)) {
            if (!is(m_vocabulary.of, chapter.end)) {
                continue;
            }
            if (const auto book = bookBehind(m_words, chapter.end, m_language)) {
                const QString typed = QString::number(chapter.value);
                QList<Numbers> readings = versesBehind(typed, book->end);
                if (readings.isEmpty()) {
                    readings.append({ typed, book->end });
                }
                return firstThatIs(*book, readings);
            }
        }
        return std::nullopt;
    }

    /// "versículo dieciséis del capítulo tres de Juan", "verse sixteen of John three".
    [[nodiscard]] std::optional<Result> verseFirst(qsizetype at) const
    {
        if (!is(m_vocabulary.verse, at)) {
            return std::nullopt;
        }
        for (const Numbers &verses :
            versesAt({}, behindArticles(at + 1), true, is(m_vocabulary.verses, at))) {
            if (!is(m_vocabulary.of, verses.end)) {
                continue;
            }
            if (auto found = chapterOfVerses(verses)) {
                return found;
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] std::optional<Result> chapterOfVerses(const Numbers &verses) const
    {
        QList<Numbers> readings;
        std::optional<BookName> book;
        const qsizetype next = behindArticles(verses.end + 1);
        for (const Number &chapter : namedChapter(next)) {
            book = is(m_vocabulary.of, chapter.end) ? bookBehind(m_words, chapter.end, m_language)
                                                    : std::nullopt;
            if (book) {
                readings.append({ withVerses(chapter, verses), book->end });
            }
        }
        if (!book && (book = bookBehind(m_words, verses.end, m_language))) {
            const qsizetype named = behindNamed(m_vocabulary.chapter, book->end);
            for (const Number &chapter : numbers(named > 0 ? named : book->end, named > 0)) {
                readings.append({ withVerses(chapter, verses), chapter.end });
            }
        }
        return book && !readings.isEmpty() ? std::optional(firstThatIs(*book, readings))
                                           : std::nullopt;
    }

    static QString withVerses(const Number &chapter, const Numbers &verses)
    {
        return QString::number(chapter.value) + QLatin1Char(':') + verses.typed;
    }

    /// "the twenty-third Psalm".
    [[nodiscard]] std::optional<Result> psalmBehindNumber(qsizetype at) const
    {
        for (const Number &number : numbers(at, true)) {
            if (number.end >= m_words.size()) {
                continue;
            }
            const auto book = bookAt(m_words, number.end, m_language);
            const QString last = m_words.at(number.end - 1).text;
            const bool ordinal = last.endsWith(QLatin1String("th"))
                || last.endsWith(QLatin1String("rd")) || last.endsWith(QLatin1String("nd"))
                || last.endsWith(QLatin1String("st"));
            if (book && book->isPsalm && ordinal) {
                const QString typed = QString::number(number.value);
                QList<Numbers> readings = versesBehind(typed, book->end);
                if (readings.isEmpty()) {
                    readings.append({ typed, book->end });
                }
                return firstThatIs(*book, readings);
            }
        }
        return std::nullopt;
    }

    const Words &m_words;
    Language m_language;
    const Vocabulary &m_vocabulary;
    bool m_isGrowing; ///< more words may follow
};

} // namespace

QList<SpokenReference> findSpoken(const QString &transcript, Language language, bool isGrowing)
{
    const Words words = wordsOf(transcript);
    const Finder finder(words, language, isGrowing);
    QList<SpokenReference> found;
    for (qsizetype at = 0; at < words.size();) {
        const auto result = finder.referenceAt(at);
        if (!result) {
            ++at;
            continue;
        }
        if (result->passage) {
            found.append({ *result->passage, words.at(at).from, words.at(result->end - 1).to });
        }
        at = std::max(result->end, at + 1);
    }
    return found;
}

} // namespace bible
