#include "base/gst_log_hook.h"
#include "base/secret_texts.h"
#include "support/log_text.h"
#include "support/test_registry.h"

#include <QRegularExpression>

#include <thread>

using namespace nimbara;
using namespace Qt::StringLiterals;

namespace {

QStringList logLines()
{
    return testing::logText().split(u'\n').mid(0, testing::logText().count(u'\n'));
}

GstLogEntry entryAt(int line)
{
    return { 2, u"rtmp2"_s, u"rtmpclient.c"_s, line, u"connect"_s, u"50% lost %1"_s };
}

/// A thousand lines of ten threads at once.
void inThreads(const std::function<void(int thread)> &work)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 10; ++t) {
        threads.emplace_back([&work, t] {
            for (int i = 0; i < 100; ++i) {
                work(t);
            }
        });
    }
    for (auto &thread : threads) {
        thread.join();
    }
}

} // namespace

class LogTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QFile::remove(logFilePath()); }

    void lineHasTimeTwoBlanksAndMessage()
    {
        logLine(u"UI: Versículo listo"_s);
        const QStringList lines = logLines();
        QCOMPARE(lines.size(), 1);
        static const QRegularExpression shape(
            u"^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}  UI: Versículo listo$"_s);
        QVERIFY2(shape.match(lines.first()).hasMatch(), qPrintable(lines.first()));
        QVERIFY(logFilePath().endsWith(u"/Halvenmoor/NimbaraStudio/Vesperline.log"_s));
    }

    void unwritableFileIsSkipped()
    {
        QVERIFY(QDir().mkpath(logFilePath())); // a folder stands where the file should be
        logLine(u"lost"_s);
        QVERIFY(QFileInfo(logFilePath()).isDir());
        QVERIFY(QDir().rmdir(logFilePath()));
    }

    void linesOfManyThreadsStayWhole()
    {
        inThreads([](int thread) { logLine(QString(200, QChar('a' + thread))); });
        const QStringList lines = logLines();
        QCOMPARE(lines.size(), 1000);
        for (const QString &line : lines) {
            const QString message = line.mid(25);
            QCOMPARE(message, QString(200, message.at(0)));
        }
    }

    void hidesWhatItWasTold()
    {
        hideSecret(u"abcd-1234"_s);
        hideSecret(u"abcd-1234-long"_s);
        hideSecret(u"live"_s); // too short to be told from a word
        QCOMPARE(withoutSecrets(u"rtmp://live/abcd-1234-long and /ABCD-1234!"_s),
            u"rtmp://live/*** and /***!"_s);
        QCOMPARE(withoutSecrets(QString()), QString());
    }

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
        QCOMPARE(next[0], u"GST (6 repeticiones omitidas de rtmpclient.c:7)"_s);
        QCOMPARE(next[1], u"GST 2 rtmp2 rtmpclient.c:7 connect : 50% lost %1"_s);
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(gstLogLines(filter, entryAt(8), start + 60).size(), 1U);
        }
        QCOMPARE(gstLogLines(filter, entryAt(8), start + 119).size(), 1U); // just five: no summary
    }

    void thousandWarningsOfTenThreads()
    {
        installGstLogHook();
        static GstDebugCategory *category
            = _gst_debug_category_new("nimbaratest", 0, "lines of the test");
        gst_debug_category_set_threshold(category, GST_LEVEL_WARNING);
        // A threshold of its own keeps the console clean of the thousand lines.
        gst_debug_remove_log_function(gst_debug_log_default);
        const auto log = [](GstDebugLevel level, int line) {
            gst_debug_log(category, level, "stall.c", "run", line, nullptr, "late");
        };
        inThreads([&](int) { log(GST_LEVEL_WARNING, 42); });
        QCOMPARE(logLines().filter(u"GST "_s).size(), 5);

        QVERIFY(QFile::remove(logFilePath()));
        log(GST_LEVEL_WARNING, 43);
        log(GST_LEVEL_INFO, 44); // below the threshold
        QCOMPARE(logLines().filter(u"GST "_s).size(), 1);
    }
};

NIMBARA_TEST(LogTest)
#include "log_test.moc"
