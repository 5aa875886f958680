#pragma once

#include "bible/reference.h"

#include <QFuture>
#include <QJsonArray>
#include <QSet>
#include <QString>

#include <cstdint>

namespace bible {

/// A whole Bible in memory, read-only once loaded.
struct Bible {
    QString id; ///< "RV1909", "KJV"
    QString name; ///< display name
    QString lang; ///< ISO 639-1 code
    QJsonArray books; ///< 66 arrays of chapters, which are arrays of verse strings
    bool valid = false; ///< there are 66 books
    bool isImported = false; ///< the operator's own: it may lack verses, chapters and books
    QString license; ///< of an imported one, in its own words; may be empty
    QSet<std::int32_t> renumbered; ///< chapters that it counts otherwise (`chapterKey`)
};

/// A chapter as one number.
constexpr std::int32_t chapterKey(std::int32_t book, std::int32_t chapter)
{
    return book * 1000 + chapter;
}

/// The built-in King James Version and Reina-Valera 1909. The first call loads the Bible, for tens
/// of milliseconds, and calls from other threads meanwhile wait for it: see `prepare`. Callable
/// from any thread; the same object for the life of the process. A failed load stays invalid.
const Bible &english();
const Bible &spanish();

/// Loads both Bibles on a background task, once; later calls return the same future. While it is
/// not finished the interface thread must not call `english` or `spanish`. Needs an application
/// object, whose end waits for the task.
QFuture<void> prepare();

/// Reads a file of `qCompress` output around UTF-8 JSON with "id", "name", "lang" and "books", and
/// of an imported Bible "license" and "renumbered". A missing or broken file gives an invalid
/// Bible.
Bible load(const QString &path);

/// Chapters of a book; 0 for an index outside 0..65.
std::int32_t chapterCount(const Bible &bible, std::int32_t book);

/// The text of a reference: one verse alone, or several joined by blanks, each behind its number. A
/// last verse beyond the chapter's end means the chapter's last. Empty when the book, the chapter
/// or the first verse does not exist, when the range is reversed, and for one verse that the Bible
/// leaves empty.
QString verseText(const Bible &bible, const Ref &ref);

} // namespace bible
