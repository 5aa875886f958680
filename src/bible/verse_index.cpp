#include "bible/verse_index.h"

#include "bible/known_verses.h"
#include "bible/verse_order.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <limits>
#include <utility>

namespace bible {

namespace {

/// Counts up when anything in the file means another thing.
constexpr std::int64_t version = 4;
/// Rows of the second Bible begin here, those of the third at twice as many.
constexpr std::int64_t bibleStride = 100'000;

QString textOf(const QList<BiblePtr> &bibles, std::int64_t row)
{
    const Bible &bible = *bibles.at(row / bibleStride);
    return verseText(bible, verseAt(static_cast<std::int32_t>(row % bibleStride)));
}

/// Of the Bibles that the index is made of, with every letter: one that is imported anew under its
/// name may have the same number of verses, as long as they were.
QByteArray fingerprint(const QList<BiblePtr> &bibles)
{
    QCryptographicHash sum(QCryptographicHash::Sha1);
    const auto add = [&sum](const QString &text) {
        sum.addData(text.toUtf8());
        sum.addData(QByteArrayView("\0", 1)); // so that no word moves on unseen
    };
    add(QString::number(version));
    for (const BiblePtr &bible : bibles) {
        add(bible->id);
        for (const auto &book : bible->books) {
            for (const auto &chapter : book.toArray()) {
                for (const auto &verse : chapter.toArray()) {
                    add(verse.toString());
                }
                add({});
            }
            add({});
        }
    }
    return sum.result().toHex();
}

constexpr const char *knownQuery
    = "SELECT rowid, 1 FROM known WHERE known MATCH ?1 ORDER BY rank LIMIT 80";
constexpr const char *allQuery
    = "SELECT rowid, 0 FROM verses WHERE verses MATCH ?1 ORDER BY rank LIMIT 80";
constexpr const char *wordQuery = "SELECT sum(doc) FROM words WHERE term >= ?1 AND term < ?2";
/// A word of more verses than this says little of which one is meant, and costs much to rank.
constexpr std::int64_t commonWord = 1500;

SqliteDatabase opened(const QString &path, const QList<BiblePtr> &bibles)
{
    SqliteDatabase database(path, SqliteDatabase::Mode::Read);
    SqliteStatement check = database.query("PRAGMA quick_check(1)");
    if (!check.step() || check.text(0) != "ok") {
        throw SqliteError("the index of verses is damaged");
    }
    SqliteStatement mark = database.query("SELECT fingerprint FROM made");
    if (!mark.step() || mark.text(0) != fingerprint(bibles)) {
        throw SqliteError("the index of verses was made of others");
    }
    return database;
}

/// Double quotes make a word out of what may be an operator of the query language.
QString quoted(const QString &word)
{
    return QLatin1Char('"') + word + QLatin1Char('"');
}

/// How the words stand in a verse.
struct Fit {
    double found = 0; ///< the share of them that is there
    double run = 0; ///< the share of neighbours that are neighbours there, too, in that order
    double order = 0; ///< 1: all are there in their order
    double close = 0; ///< 1: with nothing between them
};

bool isWord(const QString &word, const QString &wanted, bool mayGoOn)
{
    return mayGoOn ? word.startsWith(wanted) : word == wanted;
}

/// A whole word is meant before one that goes on.
double worthOf(const QString &word, const QString &wanted)
{
    return word == wanted ? 1 : 0.9;
}

/// The length of the shortest stretch of a verse with all words in their order; 0: there is none.
qsizetype shortestStretch(const QStringList &verse, const QStringList &wanted, bool mayGoOn)
{
    const qsizetype count = wanted.size();
    qsizetype shortest = 0;
    for (qsizetype begin = 0; begin < verse.size(); ++begin) {
        qsizetype place = 0;
        qsizetype at = begin;
        for (; at < verse.size() && place < count; ++at) {
            place += isWord(verse.at(at), wanted.at(place), mayGoOn && place + 1 == count) ? 1 : 0;
        }
        if (place == count) {
            shortest = shortest == 0 ? at - begin : std::min(shortest, at - begin);
        }
    }
    return shortest;
}

Fit fitOf(const QStringList &verse, const QStringList &wanted, bool mayGoOn)
{
    const qsizetype count = wanted.size();
    Fit fit;
    double found = 0;
    bool isWhole = true; // each word is there
    qsizetype neighbours = 0;
    for (qsizetype place = 0; place < count; ++place) {
        const bool open = mayGoOn && place + 1 == count;
        double here = 0;
        bool next = false;
        for (qsizetype at = 0; at < verse.size(); ++at) {
            const bool same = isWord(verse.at(at), wanted.at(place), open);
            here = std::max(here, same ? worthOf(verse.at(at), wanted.at(place)) : 0.0);
            next
                = next || (same && place > 0 && at > 0 && verse.at(at - 1) == wanted.at(place - 1));
        }
        found += here;
        isWhole = isWhole && here > 0;
        neighbours += next ? 1 : 0;
    }
    fit.found = found / static_cast<double>(count);
    fit.run = count > 1 ? static_cast<double>(neighbours) / static_cast<double>(count - 1) : 0;
    const qsizetype shortest = isWhole ? shortestStretch(verse, wanted, mayGoOn) : 0;
    if (shortest > 0) {
        fit.order = 1;
        fit.close = static_cast<double>(count) / static_cast<double>(shortest);
    }
    return fit;
}

void fill(SqliteDatabase &database,
    const QList<BiblePtr> &bibles,
    const std::function<bool()> &stopped)
{
    SqliteStatement verse = database.query("INSERT INTO verses(rowid, text) VALUES(?1, ?2)");
    for (qsizetype bible = 0; bible < bibles.size(); ++bible) {
        for (std::int32_t number = 0; number < verseTotal(); ++number) {
            const std::int64_t row = bible * bibleStride + number;
            verse.bind(1, row).bind(2,
                searchWords(textOf(bibles, row)).join(QLatin1Char(' ')).toUtf8());
            verse.step();
            verse.reset();
            if (number % 256 == 0 && stopped()) {
                throw SqliteError("the index of verses is not wanted any more");
            }
        }
    }
    SqliteStatement known = database.query("INSERT INTO known(rowid, text) VALUES(?1, ?2)");
    QSet<std::int64_t> rows;
    for (const Ref &ref : knownVerses()) {
        for (qsizetype bible = 0; bible < bibles.size(); ++bible) {
            const std::int64_t row = bible * bibleStride + verseNumber(ref);
            if (verseNumber(ref) >= 0 && !rows.contains(row)) {
                rows.insert(row);
                known.bind(1, row).bind(2,
                    searchWords(textOf(bibles, row)).join(QLatin1Char(' ')).toUtf8());
                known.step();
                known.reset();
            }
        }
    }
}

/// Files that were being made by programs that have crashed. Only for who holds the lock.
void removeUnfinished(const QString &path)
{
    const QFileInfo file(path);
    const QString lock = file.fileName() + QStringLiteral(".lock");
    for (const QString &name :
        file.dir().entryList({ file.fileName() + QStringLiteral(".*") }, QDir::Files)) {
        if (name != lock) {
            file.dir().remove(name);
        }
    }
}

} // namespace

QStringList searchWords(const QString &text)
{
    QStringList words;
    QString word;
    for (const QChar sign : normalize(text)) {
        if (sign.isLetterOrNumber()) {
            word += sign;
        } else if (!word.isEmpty()) {
            words << word;
            word.clear();
        }
    }
    return word.isEmpty() ? words : words << word;
}

struct VerseIndex::Candidate {
    std::int64_t row = 0;
    bool isKnown = false;
    double worth = 0;
};

VerseIndex::VerseIndex(const QString &path, QList<BiblePtr> bibles)
    : m_bibles(std::move(bibles))
    , m_database(opened(path, m_bibles))
    , m_known(m_database.query(knownQuery))
    , m_all(m_database.query(allQuery))
    , m_words(m_database.query(wordQuery))
{
}

void VerseIndex::make(const QString &path,
    const std::function<bool()> &stopped,
    const QList<BiblePtr> &bibles)
{
    // Another instance of the program may be at the same. One that has died holds no lock.
    QLockFile lock(path + QStringLiteral(".lock"));
    lock.setStaleLockTime(0);
    if (lock.tryLock(0)) {
        removeUnfinished(path);
    }
    const QString beside = path + QStringLiteral(".%1").arg(QCoreApplication::applicationPid());
    QFile::remove(beside);
    try {
        SqliteDatabase database(beside, SqliteDatabase::Mode::Make);
        // A file that is not finished is thrown away: no journal is needed.
        database.run("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN;"
                     "CREATE VIRTUAL TABLE verses USING fts5(text, content='', prefix='2 3');"
                     "CREATE VIRTUAL TABLE known USING fts5(text, content='', prefix='2 3');"
                     "CREATE VIRTUAL TABLE words USING fts5vocab(verses, 'row');"
                     "CREATE TABLE made(fingerprint TEXT)");
        fill(database, bibles, stopped);
        SqliteStatement mark = database.query("INSERT INTO made VALUES(?1)");
        mark.bind(1, fingerprint(bibles));
        mark.step();
        mark.reset();
        database.run("COMMIT");
    } catch (const SqliteError &) {
        QFile::remove(beside);
        throw;
    }
    QFile::remove(path);
    if (!QFile::rename(beside, path)) {
        QFile::remove(beside);
        throw SqliteError("the index of verses cannot be put in its place");
    }
}

void VerseIndex::collect(std::vector<Candidate> &candidates,
    SqliteStatement &statement,
    const QString &match)
{
    if (match.isEmpty()) {
        return;
    }
    statement.reset();
    statement.bind(1, match.toUtf8());
    while (statement.step()) {
        const std::int64_t row = statement.integer(0);
        const bool isNew = std::none_of(candidates.begin(),
            candidates.end(),
            [row](const Candidate &candidate) { return candidate.row == row; });
        if (isNew) {
            candidates.push_back({ row, statement.integer(1) == 1, 0 });
        }
    }
    statement.reset();
}

std::int64_t VerseIndex::versesWith(const QString &word, bool mayGoOn)
{
    const QByteArray from = word.toUtf8();
    m_words.reset();
    m_words.bind(1, from).bind(2, from + (mayGoOn ? "\xff" : " "));
    const std::int64_t count = m_words.step() ? m_words.integer(0) : 0;
    m_words.reset();
    return count;
}

QString VerseIndex::anyOf(const QStringList &wanted, bool mayGoOn)
{
    QStringList telling;
    std::int64_t fewest = std::numeric_limits<std::int64_t>::max();
    QString rarest;
    for (qsizetype place = 0; place < wanted.size(); ++place) {
        const bool open = mayGoOn && place + 1 == wanted.size();
        const QString term = quoted(wanted.at(place)) + (open ? QStringLiteral(" *") : QString());
        const std::int64_t count = versesWith(wanted.at(place), open);
        if (count > 0 && count <= commonWord) {
            telling << term;
        }
        if (count > 0 && count < fewest) {
            fewest = count;
            rarest = term;
        }
    }
    return telling.isEmpty() && !rarest.isEmpty() ? rarest : telling.join(QStringLiteral(" OR "));
}

QList<FoundVerse> VerseIndex::find(const QString &typed, qsizetype most)
{
    const QStringList wanted = searchWords(typed).mid(0, 24);
    if (wanted.isEmpty()) {
        return {};
    }
    const bool mayGoOn = typed.back().isLetterOrNumber() && wanted.back().size() > 1;
    QStringList terms;
    for (const QString &word : wanted) {
        terms << quoted(word);
    }
    const QString rest = mayGoOn ? QStringLiteral(" *") : QString();
    const QString together = terms.join(QStringLiteral(" AND ")) + rest;
    std::vector<Candidate> candidates;
    collect(candidates, m_known, together);
    if (wanted.size() > 1) {
        collect(candidates, m_all, terms.join(QStringLiteral(" + ")) + rest);
    }
    collect(candidates, m_all, together);
    if (static_cast<qsizetype>(candidates.size()) < most && wanted.size() > 1) {
        const QString any = anyOf(wanted, mayGoOn);
        collect(candidates, m_known, any);
        collect(candidates, m_all, any);
    }
    double early = 0; // of equals, the one that the index thinks the better of
    for (Candidate &candidate : candidates) {
        const Fit fit = fitOf(searchWords(textOf(m_bibles, candidate.row)), wanted, mayGoOn);
        candidate.worth = 10 * fit.found + 3 * fit.run + fit.order + fit.close
            + (candidate.isKnown ? 2 : 0) - early;
        early += 0.0005;
    }
    std::stable_sort(candidates.begin(),
        candidates.end(),
        [](const Candidate &a, const Candidate &b) { return a.worth > b.worth; });
    QList<FoundVerse> found;
    for (const Candidate &candidate : candidates) {
        if (found.size() == most) {
            break;
        }
        found.append({ m_bibles.at(candidate.row / bibleStride)->id,
            verseAt(static_cast<std::int32_t>(candidate.row % bibleStride)) });
    }
    return found;
}

} // namespace bible
