#include "base/log.h"
#include "support/test_registry.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#include <thread>
#include <vector>

namespace {

QStringList logLines()
{
    QFile file(nimbara::logFilePath());
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    lines.removeLast();
    return lines;
}

} // namespace

class LogTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QFile::remove(nimbara::logFilePath()); }

    void lineHasTimeTwoBlanksAndMessage()
    {
        nimbara::logLine(QStringLiteral("UI: Versículo listo"));
        const QStringList lines = logLines();
        QCOMPARE(lines.size(), 1);
        static const QRegularExpression shape(QStringLiteral(
            "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}  UI: Versículo listo$"));
        QVERIFY2(shape.match(lines.first()).hasMatch(), qPrintable(lines.first()));
        QVERIFY(nimbara::logFilePath().endsWith(
            QStringLiteral("/Halvenmoor/NimbaraStudio/Vesperline.log")));
    }

    void unwritableFileIsSkipped()
    {
        QVERIFY(QDir().mkpath(nimbara::logFilePath())); // a folder stands where the file should be
        nimbara::logLine(QStringLiteral("lost"));
        QVERIFY(QFileInfo(nimbara::logFilePath()).isDir());
        QVERIFY(QDir().rmdir(nimbara::logFilePath()));
    }

    void linesOfManyThreadsStayWhole()
    {
        constexpr int threads = 8;
        constexpr int each = 50;
        std::vector<std::thread> writers;
        for (int t = 0; t < threads; ++t) {
            writers.emplace_back([t] {
                for (int i = 0; i < each; ++i) {
                    nimbara::logLine(QString(200, QLatin1Char(static_cast<char>('a' + t))));
                }
            });
        }
        for (auto &writer : writers) {
            writer.join();
        }
        const QStringList lines = logLines();
        QCOMPARE(lines.size(), threads * each);
        for (const QString &line : lines) {
            const QString message = line.mid(25);
            QCOMPARE(message, QString(200, message.at(0)));
        }
    }
};

NIMBARA_TEST(LogTest)
#include "log_test.moc"
