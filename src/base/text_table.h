#pragma once

#include <span>

namespace nimbara_i18n {

/// One row of the table, both texts UTF-8.
struct TextPair {
    const char *spanish;
    const char *english;
};

/// Every row, each Spanish text once.
std::span<const TextPair> textPairs();

} // namespace nimbara_i18n
