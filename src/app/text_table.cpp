#include "app/text_table.h"

#include <array>

namespace nimbara_i18n {

namespace {

    constexpr std::array pairs {
        TextPair { "AL AIRE  →", "ON AIR  →" },
        TextPair { "A PANTALLAS  →", "TO SCREENS  →" },
    };

} // namespace

std::span<const TextPair> textPairs() { return pairs; }

} // namespace nimbara_i18n
