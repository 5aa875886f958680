#include "base/memory_policy.h"
#include "base/picture_memory.h"
#include "bench.h"
#include "media/gst/picture_allocator.h"

#include <QApplication>
#include <QSettings>
#include <QStringList>
#include <QTemporaryDir>

#include <gst/gst.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <vector>

namespace nimbara::bench {

std::vector<Case> &cases()
{
    static std::vector<Case> all;
    return all;
}

double frameCopyMs()
{
    constexpr std::size_t bytes = std::size_t { 1920 } * 1080 * 4;
    static const std::vector<std::uint8_t> from(bytes, 7);
    static std::vector<std::uint8_t> onto(bytes);
    return medianMs(31, [] { std::memcpy(onto.data(), from.data(), bytes); });
}

double residentMiB()
{
    std::ifstream status("/proc/self/statm");
    long total = 0;
    long resident = 0;
    status >> total >> resident;
    return static_cast<double>(resident) * 4096 / 1048576;
}

namespace {

void report(const Case &item)
{
    if (item.tell != nullptr) {
        std::printf("%s\t%s\n", item.key, item.tell().c_str());
        std::fflush(stdout);
        return;
    }
    // Other loads come and go: the unit is measured on both sides of what it measures.
    const double before = frameCopyMs();
    const double cost = item.run();
    const double copy = (before + frameCopyMs()) / 2;
    std::printf("%s\t%.4f\t%.2f\n", item.key, cost, cost / copy);
    std::fflush(stdout);
}

} // namespace

} // namespace nimbara::bench

// "nimbara_bench KEY…" runs those cases, without a key all of them. One line per case, separated by
// tabs: key, median in milliseconds, ratio to copying one frame.
int main(int argc, char **argv)
{
    nimbara::keepFreedPictures();
    nimbara::startPictureMemory();
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("NimbaraStudio"));
    QCoreApplication::setOrganizationName(QStringLiteral("Halvenmoor"));
    const QTemporaryDir settings; // the operator's own stay as they are
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    gst_init(nullptr, nullptr);
    nimbara::useMemoryForPictures();

    QStringList keys = QCoreApplication::arguments().mid(1);
    const bool all = keys.isEmpty();
    for (const auto &item : nimbara::bench::cases()) {
        if (all || keys.removeAll(QString::fromUtf8(item.key)) > 0) {
            nimbara::bench::report(item);
        }
    }
    for (const QString &unknown : keys) {
        std::fprintf(stderr, "no case %s\n", qPrintable(unknown));
    }
    return keys.isEmpty() ? 0 : 2;
}
