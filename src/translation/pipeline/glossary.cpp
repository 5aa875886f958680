#include "translation/pipeline/glossary.h"

#include "translation/pipeline/term_words.h"

#include <QStringList>

#include <algorithm>

namespace nimbara {

namespace {

using term_words::Word;

/// The shortest names in which one and two letters may be wrong: a shorter one is soon another
/// word.
constexpr qsizetype oneWrongFrom = 8;
constexpr qsizetype twoWrongFrom = 12;

struct Place {
    qsizetype first = -1; ///< word
    qsizetype count = 0;
    [[nodiscard]] bool isFound() const { return first >= 0; }
};

QString lettersOf(const QString &term)
{
    const QList<Word> words = term_words::wordsOf(term);
    return term_words::joined(words, 0, words.size());
}

QString textAt(const QString &text, const QList<Word> &words, const Place &place)
{
    const qsizetype from = words.at(place.first).from;
    return text.mid(from, words.at(place.first + place.count - 1).to - from);
}

/// The first run of words, from `start` on, that fits; a term may come back with its words run
/// together or with one more blank.
template <typename Fits>
Place findRun(const QList<Word> &words, const QString &term, qsizetype start, Fits fits)
{
    const qsizetype most = term_words::wordsOf(term).size() + 1;
    for (qsizetype first = start; first < words.size(); ++first) {
        for (qsizetype count = 1; count <= std::min(most, words.size() - first); ++count) {
            if (fits(term_words::joined(words, first, count), Place { first, count })) {
                return { first, count };
            }
        }
    }
    return {};
}

Place findTerm(const QString &text, const QString &term)
{
    const QString letters = lettersOf(term);
    return findRun(term_words::wordsOf(text), term, 0, [&](const QString &run, const Place &) {
        return run == letters;
    });
}

bool contains(const QString &text, const QString &term)
{
    return findTerm(text, term).isFound();
}

qsizetype countOf(const QString &text, const QString &term)
{
    const QList<Word> words = term_words::wordsOf(text);
    const QString letters = lettersOf(term);
    const auto isTerm = [&](const QString &run, const Place &) { return run == letters; };
    qsizetype count = 0;
    for (Place place = findRun(words, term, 0, isTerm); place.isFound(); ++count) {
        place = findRun(words, term, place.first + place.count, isTerm);
    }
    return count;
}

bool isCapital(const QString &text)
{
    return !text.isEmpty() && text.front().isUpper();
}

/// A name with so few wrong letters that it can be no other word, and is no other term. `words`: of
/// the text; `letters`: of the term. Cheap where no word begins as the term does.
Place findNear(const QString &text,
    const QList<Word> &words,
    const QString &term,
    const QString &letters,
    const QSet<QString> &known)
{
    const qsizetype allowed = letters.size() >= twoWrongFrom ? 2
        : letters.size() >= oneWrongFrom                     ? 1
                                                             : 0;
    if (allowed == 0 || !isCapital(term)) {
        return {};
    }
    const qsizetype most = term_words::wordsOf(term).size() + 1;
    for (qsizetype first = 0; first < words.size(); ++first) {
        const Word &word = words.at(first);
        if (!word.folded.startsWith(letters.front()) || !text.at(word.from).isUpper()) {
            continue;
        }
        for (qsizetype count = 1; count <= std::min(most, words.size() - first); ++count) {
            const QString run = term_words::joined(words, first, count);
            if (!known.contains(run) && term_words::distance(run, letters, allowed) <= allowed) {
                return { first, count };
            }
        }
    }
    return {};
}

bool beginsSentence(const QString &text, qsizetype at)
{
    const QString before = text.left(at).trimmed();
    return before.isEmpty() || QStringLiteral(".!?¡¿:").contains(before.back());
}

/// The term in the case of what stands in its place.
QString inCaseOf(const QString &found, const QString &term, bool beginsSentence)
{
    if (found.size() > 1 && found == found.toUpper() && found != found.toLower() && found != term) {
        return term.toUpper();
    }
    if (beginsSentence && isCapital(found)) {
        return term.left(1).toUpper() + term.mid(1);
    }
    return term;
}

QString replaced(const QString &text, const Place &place, const QString &term)
{
    const QList<Word> words = term_words::wordsOf(text);
    const QList<Word> termWords = term_words::wordsOf(term);
    Place whole = place;
    // "the Santa Cena" becomes "the Lord's Supper", with one article.
    if (place.first > 0 && termWords.size() > 1
        && words.at(place.first - 1).folded == termWords.front().folded) {
        whole = { place.first - 1, place.count + 1 };
    }
    const qsizetype from = words.at(whole.first).from;
    const qsizetype to = words.at(whole.first + whole.count - 1).to;
    const QString put = inCaseOf(textAt(text, words, whole), term, beginsSentence(text, from));
    return text.left(from) + put + text.mid(to);
}

/// Writes the term as it is written wherever only blanks, accents and apostrophes differ.
QString respelled(QString text, const QString &term)
{
    const QString letters = lettersOf(term);
    for (qsizetype start = 0;;) {
        const QList<Word> words = term_words::wordsOf(text);
        const Place place
            = findRun(words, term, start, [&](const QString &run, const Place & /*place*/) {
                  return run == letters;
              });
        if (!place.isFound()) {
            return text;
        }
        const QString found = textAt(text, words, place);
        // "tomas" is a verb where "Tomás" is a name.
        const bool isOther = place.count == 1 && term_words::wordsOf(term).size() == 1
            && isCapital(found) != isCapital(term);
        if (!isOther && found.toCaseFolded() != term.toCaseFolded()) {
            const qsizetype from = words.at(place.first).from;
            text = text.left(from) + inCaseOf(found, term, beginsSentence(text, from))
                + text.mid(from + found.size());
        }
        start = place.first + 1;
    }
}

QString codeOf(const QString &language)
{
    const QString name = language.trimmed().toCaseFolded();
    if (name == QLatin1String("spanish")) {
        return QStringLiteral("es");
    }
    return name == QLatin1String("english") ? QStringLiteral("en") : QString();
}

/// Terms that are given without the language they are said in are of the other of these two.
bool isOther(const QString &target, const QString &source)
{
    const QString code = codeOf(target);
    return !code.isEmpty() && code != source;
}

} // namespace

Glossary::Glossary(const Terms &terms, const QString &source, const QString &target)
{
    const QString wanted = target.trimmed().toCaseFolded();
    for (const Term &term : terms) {
        const QString said = term.said.simplified();
        const QString shown = term.shown.simplified().isEmpty() ? said : term.shown.simplified();
        const QString language = term.language.trimmed().toCaseFolded();
        if (lettersOf(said).isEmpty() || lettersOf(shown).isEmpty()) {
            continue;
        }
        if (language.isEmpty() || language == wanted) {
            m_pairs.push_back({ said, shown, lettersOf(said) });
        } else if (!source.isEmpty() && codeOf(language) == source && isOther(target, source)) {
            m_pairs.push_back({ shown, said, lettersOf(shown) });
        }
    }
    for (const Pair &pair : m_pairs) {
        m_known.insert(pair.letters);
        m_known.insert(lettersOf(pair.to));
    }
    sort();
}

void Glossary::add(const Glossary &other)
{
    for (const Pair &pair : other.m_pairs) {
        const bool isKnown = std::any_of(m_pairs.begin(), m_pairs.end(), [&](const Pair &own) {
            return own.from == pair.from;
        });
        if (!isKnown) {
            m_pairs.push_back(pair);
        }
    }
    m_known.unite(other.m_known);
    sort();
}

/// A term within another one must not be taken for it.
void Glossary::sort()
{
    std::stable_sort(m_pairs.begin(), m_pairs.end(), [](const Pair &a, const Pair &b) {
        return a.from.size() > b.from.size();
    });
}

QString Glossary::prompt() const
{
    QStringList fitting;
    qsizetype letters = 0;
    for (const Pair &pair : m_pairs) {
        if (letters + pair.from.size() + 2 <= maxPrompt) {
            fitting.append(pair.from);
            letters += pair.from.size() + 2;
        }
    }
    return fitting.join(QStringLiteral(", "));
}

QString Glossary::toldFor(const QString &text) const
{
    const QString letters = lettersOf(text);
    QStringList told;
    for (const Pair &pair : m_pairs) {
        if (told.size() < maxTold && letters.contains(pair.letters) && contains(text, pair.from)) {
            told.append(pair.from + QStringLiteral(" → ") + pair.to);
        }
    }
    return told.join(QLatin1Char('\n'));
}

QString Glossary::mended(const QString &transcript) const
{
    QString text = transcript;
    QList<Word> words = term_words::wordsOf(text);
    QString letters = term_words::joined(words, 0, words.size());
    const auto change = [&](const QString &changed) {
        if (changed != text) {
            text = changed;
            words = term_words::wordsOf(text);
            letters = term_words::joined(words, 0, words.size());
        }
    };
    for (const Pair &pair : m_pairs) {
        if (letters.contains(pair.letters)) {
            change(respelled(text, pair.from));
        }
        if (const Place near = findNear(text, words, pair.from, pair.letters, m_known);
            near.isFound() && !contains(text, pair.from)) {
            change(replaced(text, near, pair.from));
        }
    }
    return text;
}

/// Puts the term in one place where the translation has it otherwise.
QString Glossary::withTerm(const QString &text, const Pair &pair) const
{
    // A name that is said as it is, and a part of the term, are not left untranslated.
    const bool isPart = contains(pair.to, pair.from) && contains(text, pair.to);
    Place place = isPart ? Place() : findTerm(text, pair.from);
    if (!place.isFound()) {
        place = findNear(text, term_words::wordsOf(text), pair.to, lettersOf(pair.to), m_known);
    }
    return place.isFound() ? replaced(text, place, pair.to) : text;
}

QString Glossary::held(const QString &original, const QString &translation) const
{
    const QString letters = lettersOf(original);
    QString text = translation;
    for (const Pair &pair : m_pairs) {
        if (!letters.contains(pair.letters) || !contains(original, pair.from)) {
            continue;
        }
        text = respelled(text, pair.to);
        // As often as it was said.
        qsizetype missing = countOf(original, pair.from) - countOf(text, pair.to);
        for (; missing > 0; --missing) {
            text = withTerm(text, pair);
        }
    }
    return text;
}

} // namespace nimbara
