#pragma once

#include <QString>

/// The markers of USFM by what becomes of the text behind them. https://docs.usfm.bible/
namespace bible::usfm {

/// Its contents go up to its own end, and are no text of a verse.
bool isNote(const QString &name);
/// A paragraph that is no text of a verse.
bool isHeading(const QString &name);
/// A style of letters, which parts no words.
bool isStyle(const QString &name);

/// A remark is about what may be done with the text.
bool tellsOfRights(const QString &remark);

} // namespace bible::usfm
