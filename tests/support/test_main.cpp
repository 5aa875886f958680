#include "support/test_registry.h"

#include <QTest>

#if defined(NIMBARA_TEST_WIDGETS)
#include <QApplication>
using TestApplication = QApplication;
#elif defined(NIMBARA_TEST_GUI)
#include <QGuiApplication>
using TestApplication = QGuiApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

#include <gst/gst.h>

#include <cstdio>

// Runs every registered test class of one room. "test_x ClassName [function…]" runs one class
// alone.
int main(int argc, char **argv)
{
    TestApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("NimbaraStudio"));
    QCoreApplication::setOrganizationName(QStringLiteral("Halvenmoor"));
    gst_init(nullptr, nullptr);

    QStringList arguments = QCoreApplication::arguments();
    QString only;
    if (arguments.size() > 1 && !arguments.at(1).startsWith(QLatin1Char('-'))) {
        only = arguments.takeAt(1);
    }
    int failed = 0;
    int run = 0;
    for (const auto factory : nimbara::testing::testFactories()) {
        const auto test = factory();
        if (only.isEmpty() || only == QLatin1String(test->metaObject()->className())) {
            failed += QTest::qExec(test.get(), arguments);
            ++run;
        }
    }
    if (run == 0) {
        std::fputs("no test class of that name\n", stderr);
        return 2;
    }
    return failed == 0 ? 0 : 1;
}
