#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// What a translation uses of the services that are paid for, and what that may cost. Pure.
namespace nimbara::cost {

/// Voice that is heard live, phrases that are uploaded, translations, and captions that are spoken.
enum class Service { Live, Phrases, Translation, Voice };
constexpr std::size_t services = 4;

/// What one service was asked for.
struct Use {
    std::int64_t requests = 0; ///< for live voice its sessions
    std::int64_t us = 0; ///< microseconds of sound, sent or received
};
using Usage = std::array<Use, services>; ///< by `Service`

/// In the operator's currency.
struct Price {
    double perMinute = 0;
    double perRequest = 0;
    double limit = 0; ///< of which the operator wants to be warned; 0: none

    bool operator==(const Price &) const = default;
};
using Prices = std::array<Price, services>; ///< by `Service`

/// What the operator finds before any price is entered: about what such services ask.
Prices usualPrices();

/// A limit is warned of from this share on.
constexpr double warnedShare = 0.8;

[[nodiscard]] double estimate(const Use &use, const Price &price);
[[nodiscard]] double total(const Usage &usage, const Prices &prices);
[[nodiscard]] bool isNearLimit(const Use &use, const Price &price);

} // namespace nimbara::cost
