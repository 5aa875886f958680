#pragma once

#include <QDir>
#include <QFile>
#include <QObject>
#include <QTemporaryDir>
#include <QTest>

// What most tests use, so that they do not name it again.
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>
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

/// One row of a test's table, by its name, which is told when something in it failed.
class RowName {
public:
    explicit RowName(QByteArray name)
        : m_name(std::move(name))
    {
    }
    Q_DISABLE_COPY_MOVE(RowName)
    ~RowName()
    {
        if (QTest::currentTestFailed()) {
            qWarning("in the row \"%s\"", m_name.constData());
        }
    }

private:
    QByteArray m_name;
};

} // namespace nimbara::testing

// The toolkit's patience of 5 s is too short on a busy machine. A condition that comes true ends
// the wait at once, so a long one costs nothing.
#undef QTRY_VERIFY
#undef QTRY_VERIFY2
#undef QTRY_COMPARE
#define QTRY_VERIFY(condition) QTRY_VERIFY_WITH_TIMEOUT((condition), 60000)
#define QTRY_VERIFY2(condition, message) QTRY_VERIFY2_WITH_TIMEOUT((condition), message, 60000)
#define QTRY_COMPARE(actual, expected) QTRY_COMPARE_WITH_TIMEOUT((actual), (expected), 60000)

/// Adds a Qt Test class to the room's executable.
#define NIMBARA_TEST(Test)                                                                         \
    namespace {                                                                                    \
    const nimbara::testing::TestRegistration<Test> registration##Test;                             \
    }
