#pragma once

#include "compositor/text/page_split.h"

#include <algorithm>
#include <vector>

namespace nimbara::testing {

/// The shortest page as a share of the longest.
inline double evenness(const std::vector<PageWord> &words, const std::vector<PageRange> &pages)
{
    double least = 1e9;
    double most = 0;
    for (const PageRange &page : pages) {
        const auto length = static_cast<double>(words[page.end - 1].end - words[page.first].begin);
        least = std::min(least, length);
        most = std::max(most, length);
    }
    return least / most;
}

} // namespace nimbara::testing
