#pragma once

#include "base/error.h"

#include <QString>

#include <cstdint>
#include <map>

namespace bible {

/// What the files of a Bible say, in their own numbering.
struct RawBible {
    using Verses = std::map<std::int32_t, QString>;
    using Chapters = std::map<std::int32_t, Verses>;

    QString code; ///< the short name, "RVR60"; may be empty
    QString name;
    QString lang; ///< as the files write it; may be empty
    QString license;
    std::map<std::int32_t, Chapters> books; ///< by their place in `bible::books`

    /// Appends to a verse: a file may give it in parts. Verse 0 is the title of its chapter; what
    /// stands in chapter 0 introduces the book and is left out, as all introductions are.
    void add(std::int32_t book, std::int32_t chapter, std::int32_t verse, const QString &text);
};

/// What is wrong with a file, and where: "rvr60.xml, línea 12: …".
class ImportError : public nimbara::Error {
public:
    ImportError(const QString &file, std::int64_t line, const nimbara::Message &reason);
};

/// A book, chapter or verse as a file numbers it, from `least` on; throws ImportError for anything
/// else.
std::int32_t
requireNumber(const QString &text, const QString &file, std::int64_t line, std::int32_t least = 0);

} // namespace bible
