#pragma once

#include <span>
#include <vector>

namespace nimbara_i18n {

/// One row of the table, both texts UTF-8.
struct TextPair {
    const char *spanish;
    const char *english;
};

/// Every row, each Spanish text once.
const std::vector<TextPair> &textPairs();

/// Those among them that stand in one file.
std::span<const TextPair> generalTextPairs();
std::span<const TextPair> serviceTextPairs();
std::span<const TextPair> outputsTextPairs();
std::span<const TextPair> sermonTextPairs();
std::span<const TextPair> cameraTextPairs();
std::span<const TextPair> checkTextPairs();
std::span<const TextPair> verseTextPairs();
std::span<const TextPair> deskTextPairs();
std::span<const TextPair> transitionTextPairs();
std::span<const TextPair> bibleTextPairs();
std::span<const TextPair> startTextPairs();

} // namespace nimbara_i18n
