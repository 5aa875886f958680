#include "base/gst_log_hook.h"
#include "base/log.h"
#include "support/test_registry.h"

#include <QFile>
#include <QTest>

#include <thread>
#include <vector>

using nimbara::GstLogEntry;
using nimbara::gstLogLines;
using nimbara::RepeatFilter;

namespace {

GstLogEntry entryAt(int line)
{
    return { 2,
        QStringLiteral("rtmp2"),
        QStringLiteral("rtmpclient.c"),
        line,
        QStringLiteral("connect"),
        QStringLiteral("50% lost %1") };
}

QStringList hookLines()
{
    QFile file(nimbara::logFilePath());
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.readAll())
        .split(QLatin1Char('\n'))
        .filter(QStringLiteral("GST "));
}

} // namespace

class GstLogHookTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void windowLetsFiveThroughAndSummarises()
    {
        RepeatFilter filter;
        constexpr std::int64_t start = 1'700'000'000;
        int written = 0;
        for (int i = 0; i < 10; ++i) {
            written += static_cast<int>(gstLogLines(filter, entryAt(7), start + i).size());
        }
        QCOMPARE(written, 5);
        QVERIFY(gstLogLines(filter, entryAt(7), start + 59).empty());
        QCOMPARE(gstLogLines(filter, entryAt(8), start + 59).size(), 1U); // another location

        const auto next = gstLogLines(filter, entryAt(7), start + 60);
        QCOMPARE(next.size(), 2U);
        QCOMPARE(next[0], QStringLiteral("GST (6 repeticiones omitidas de rtmpclient.c:7)"));
        QCOMPARE(next[1], QStringLiteral("GST 2 rtmp2 rtmpclient.c:7 connect : 50% lost %1"));
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(gstLogLines(filter, entryAt(8), start + 60).size(), 1U);
        }
        QCOMPARE(gstLogLines(filter, entryAt(8), start + 119).size(), 1U); // just five: no summary
    }

    void thousandWarningsOfTenThreads()
    {
        QFile::remove(nimbara::logFilePath());
        nimbara::installGstLogHook();
        static GstDebugCategory *category
            = _gst_debug_category_new("nimbaratest", 0, "lines of the test");
        gst_debug_category_set_threshold(category, GST_LEVEL_WARNING);
        // A threshold of its own keeps the console clean of the thousand lines.
        gst_debug_remove_log_function(gst_debug_log_default);
        const auto log = [](GstDebugLevel level, int line) {
            gst_debug_log(category, level, "stall.c", "run", line, nullptr, "late");
        };
        std::vector<std::thread> threads;
        for (int t = 0; t < 10; ++t) {
            threads.emplace_back([&] {
                for (int i = 0; i < 100; ++i) {
                    log(GST_LEVEL_WARNING, 42);
                }
            });
        }
        for (auto &thread : threads) {
            thread.join();
        }
        QCOMPARE(hookLines().size(), 5);

        QVERIFY(QFile::remove(nimbara::logFilePath()));
        log(GST_LEVEL_WARNING, 43);
        log(GST_LEVEL_INFO, 44); // below the threshold
        QCOMPARE(hookLines().size(), 1);
    }
};

NIMBARA_TEST(GstLogHookTest)
#include "gst_log_hook_test.moc"
