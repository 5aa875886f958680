#pragma once

#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nimbara {

/// A numbered verse in the text of a passage.
struct VerseMark {
    qsizetype at = 0; ///< where its number begins
    qsizetype end = 0; ///< behind the number
    std::int32_t chapter = 0;
    std::int32_t verse = 0;
    std::size_t span = 0; ///< of the label, "3:34-4:2" or "5"

    bool operator==(const VerseMark &) const = default;
};

/// The verses in the text of the passage that `label` names: those of "16 Porque… 17 Porque…" of
/// "Juan 3:16-17", with "[16]" for a number too. A number that is not the next verse is a word of
/// the text, unless it is a later one of the passage and the next is nowhere: Bibles leave verses
/// out. None in a text that does not begin with a number of it, such as a single verse.
std::vector<VerseMark> verseMarks(const QString &text, const QString &label);

/// The label of the verses from `first` to `last` alone, in the form of the whole passage's: "Juan
/// 3:16", "Juan 3:36-4:2", "Juan 3:16,18". `first` and `last`: places in `marks`.
QString labelOf(const QString &label,
    const std::vector<VerseMark> &marks,
    std::size_t first,
    std::size_t last);

} // namespace nimbara
