#pragma once

#include <QObject>

#include <memory>
#include <vector>

namespace nimbara::testing {

using TestFactory = std::unique_ptr<QObject> (*)();

/// Every test class linked into this executable, in no particular order.
std::vector<TestFactory> &testFactories();

template <typename Test> struct TestRegistration {
    TestRegistration()
    {
        testFactories().push_back(
            []() -> std::unique_ptr<QObject> { return std::make_unique<Test>(); });
    }
};

} // namespace nimbara::testing

/// Adds a Qt Test class to the room's executable.
#define NIMBARA_TEST(Test)                                                                         \
    namespace {                                                                                    \
    const nimbara::testing::TestRegistration<Test> registration##Test;                             \
    }
