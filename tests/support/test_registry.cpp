#include "support/test_registry.h"

namespace nimbara::testing {

std::vector<TestFactory> &testFactories()
{
    static std::vector<TestFactory> factories;
    return factories;
}

} // namespace nimbara::testing
