#include "bench.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>
#include <thread>
#include <vector>

namespace {

using namespace nimbara::bench;
using namespace std::chrono_literals;

/// From the start of the process until it logs that the first camera picture was composed.
double oneStartMs(const QTemporaryDir &home)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    QFile settings(home.filePath(QStringLiteral("config/Halvenmoor/NimbaraStudio.conf")));
    QDir().mkpath(QFileInfo(settings).path());
    if (settings.open(QIODevice::WriteOnly)) {
        settings.write("[General]\nonboarding_complete=true\n"); // no assistant over the window
    }
    settings.close();
    const QString log
        = home.filePath(QStringLiteral("data/Halvenmoor/NimbaraStudio/Vesperline.log"));
    QFile::remove(log);

    QProcess program;
    program.setProcessEnvironment(environment);
    program.setProcessChannelMode(QProcess::MergedChannels);
    const double ms = timeMs([&] {
        program.start(QStringLiteral(NIMBARA_PROGRAM), QStringList());
        const auto patience = std::chrono::steady_clock::now() + 30s;
        QFile file(log);
        while (std::chrono::steady_clock::now() < patience) {
            if (file.open(QIODevice::ReadOnly)) {
                const bool composed = file.readAll().contains("primer cuadro recibido");
                file.close();
                if (composed) {
                    return;
                }
            }
            std::this_thread::sleep_for(2ms);
        }
    });
    program.kill();
    program.waitForFinished();
    return ms;
}

double startMs()
{
    const QTemporaryDir home;
    oneStartMs(home); // warms the plug-in registry and the disk's cache
    std::vector<double> times;
    for (int i = 0; i < 5; ++i) {
        times.push_back(oneStartMs(home));
    }
    return median(times);
}

} // namespace

NIMBARA_BENCH_CASE("start", startMs)
