#include "support/test_registry.h"
#include "translation/pipeline/cost.h"

#include <tuple>

using namespace nimbara;

class CostTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void countsMinutesAndRequests()
    {
        cost::Usage usage {};
        cost::Prices prices {};
        usage.at(0) = { 2, 90'000'000 };
        prices.at(0) = { 0.5, 0.25, 0 };
        usage.at(2) = { 10, 0 };
        prices.at(2) = { 7, 0.1, 0 };
        QCOMPARE(cost::estimate(usage.at(0), prices.at(0)), 1.25);
        QCOMPARE(cost::total(usage, prices), 2.25);
    }

    void isNearFromEightTenthsOn()
    {
        for (const auto &[requests, limit, near] : { std::tuple { 79, 100.0, false },
                 { 80, 100.0, true },
                 { 200, 100.0, true },
                 { 200, 0.0, false } }) {
            QCOMPARE(cost::isNearLimit({ requests, 0 }, { 0, 1, limit }), near);
        }
    }
};

NIMBARA_TEST(CostTest)
#include "cost_test.moc"
