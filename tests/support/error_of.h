#pragma once

#include "base/error.h"

namespace nimbara::testing {

/// The text of the error that `work` throws; empty when it ends well.
template <typename Work> QString errorOf(Work work)
{
    try {
        static_cast<void>(work());
    } catch (const Error &error) {
        return error.text();
    }
    return {};
}

} // namespace nimbara::testing
