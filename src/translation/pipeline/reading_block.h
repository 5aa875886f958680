#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>

/// How a text is cut into what is read at once. Pure.
namespace nimbara::reading {

/// A line holds 37 letters, or 20 of full width (Chinese, Japanese, Korean).
constexpr std::int32_t lineColumns = 37;
constexpr std::int32_t wideLineColumns = 20;
constexpr qsizetype maxLines = 2;

/// The columns of a text, of 37 to a line; what is of full width takes nearly two.
std::int32_t columns(const QString &text);

/// Whether a blank stands between the text and what follows it: not behind Chinese and Japanese,
/// nor behind their punctuation.
bool takesBlank(const QString &text);

/// Whether the text is within a line.
bool fitsLine(const QString &text);

/// A block and what is left of the text.
struct Cut {
    QStringList lines; ///< one or two; none of a blank text
    QString rest;
};

/// Takes the first block of a text: as much as its lines hold, but ending with a sentence, a clause
/// or before a joining word where one is not far, and never behind an article or the like when it
/// can be helped. No word is changed, and none is cut that is within a line.
Cut takeBlock(const QString &text);

/// What of a transcript or its translation was spoken: without what only describes a sound, such as
/// "[Música]" or "♪ … ♪". Empty when nothing was.
QString spokenText(const QString &text);

} // namespace nimbara::reading
