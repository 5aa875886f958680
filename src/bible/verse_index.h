#pragma once

#include "bible/shelf.h"
#include "bible/sqlite_handle.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <functional>
#include <vector>

namespace bible {

/// A verse of one of the Bibles.
struct FoundVerse {
    QString bible; ///< its identifier, "KJV"
    Ref verse;

    bool operator==(const FoundVerse &) const = default;
};

/// The words of a text as they are looked for: letters and digits, without accents, in lower case.
QStringList searchWords(const QString &text);

/// Finds verses of several Bibles by their words: a full-text index (SQLite FTS5) in one file that
/// holds no text. One thread at a time.
class VerseIndex {
public:
    /// Opens the index in a file. Throws SqliteError when there is none, when it is damaged, and
    /// when it was made otherwise or of other Bibles.
    explicit VerseIndex(const QString &path, QList<BiblePtr> bibles = allBibles());

    /// Makes the file, in place of one that stands there; ":memory:" is not for this. Gives up when
    /// `stopped` says so. Throws SqliteError, and then leaves no file.
    static void make(const QString &path,
        const std::function<bool()> &stopped,
        const QList<BiblePtr> &bibles = allBibles());

    [[nodiscard]] const QList<BiblePtr> &bibles() const { return m_bibles; }

    /// The verses with the words, the likeliest first: those with all of them, near each other and
    /// in their order, and verses that are known well. The last word may be the beginning of one
    /// when no blank is behind it. Throws SqliteError when the file is damaged after all.
    QList<FoundVerse> find(const QString &typed, qsizetype most);

private:
    struct Candidate;

    void
    collect(std::vector<Candidate> &candidates, SqliteStatement &statement, const QString &match);

    /// In how many verses of all Bibles a word stands, or what begins with it.
    std::int64_t versesWith(const QString &word, bool mayGoOn);
    /// A query for any of the words that tell verses apart; empty when none stands in a Bible.
    QString anyOf(const QStringList &wanted, bool mayGoOn);

    QList<BiblePtr> m_bibles;
    SqliteDatabase m_database;
    SqliteStatement m_known; ///< among the well-known verses
    SqliteStatement m_all;
    SqliteStatement m_words; ///< in how many verses a word stands
};

} // namespace bible
