#include "translation/pipeline/cost.h"

namespace nimbara::cost {

Prices usualPrices()
{
    return { Price { .perMinute = 0.006 },
        Price { .perMinute = 0.006 },
        Price { .perRequest = 0.0004 },
        Price { .perMinute = 0.015 } };
}

double estimate(const Use &use, const Price &price)
{
    return static_cast<double>(use.us) / 60'000'000 * price.perMinute
        + static_cast<double>(use.requests) * price.perRequest;
}

double total(const Usage &usage, const Prices &prices)
{
    double sum = 0;
    for (std::size_t i = 0; i < services; ++i) {
        sum += estimate(usage.at(i), prices.at(i));
    }
    return sum;
}

bool isNearLimit(const Use &use, const Price &price)
{
    return price.limit > 0 && estimate(use, price) >= price.limit * warnedShare;
}

} // namespace nimbara::cost
