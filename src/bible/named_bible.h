#pragma once

#include <QString>

namespace bible {

/// A typed reference without the name of a Bible at its end.
struct WithoutBible {
    QString reference;
    /// The Bible that was named: "RV1909" and "KJV" are built in, others are imported, and
    /// "RVR1960", "NVI" and more may be online. Empty when none was.
    QString bible;
};

/// Takes the name of a Bible from the end of a normalised text, "juan 3:16 kjv": one that is known,
/// or the name or identifier of an imported one. Only a name behind a number or a letter of a verse
/// is one, or a known one before the name of a book, "kjv juan 3:16": "rv 3:20" begins with a book.
WithoutBible takeBible(const QString &normalized);

/// Whether an entry of the online service's list, "Reina Valera 1960 (RVR60)", is the Bible.
bool isListedAs(const QString &bible, const QString &listed);

} // namespace bible
