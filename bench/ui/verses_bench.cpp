#include "bench.h"
#include "bible/builtin.h"
#include "ui/watched_window.h"

#include <QApplication>
#include <QLineEdit>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <malloc.h>
#include <string>
#include <thread>

namespace {

using namespace nimbara;
using namespace nimbara::bench;
using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

double liveMiB()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / 1048576;
}

/// The engine alone: a lookup while the Bibles are still being loaded, then the longest chapter and
/// the longest tick after it, the one that draws it among them.
std::string engine()
{
    const SystemClock clock;
    Studio studio(clock);
    const auto tickFor = [&studio](std::chrono::milliseconds time) {
        double longest = 0;
        for (const auto end = SteadyClock::now() + time; SteadyClock::now() < end;) {
            QCoreApplication::processEvents();
            longest = std::max(longest, threadMs([&studio] { studio.tick(); }));
            std::this_thread::sleep_for(5ms);
        }
        return longest;
    };
    const LayerId layer = studio.verses().quickVerseLayer();
    const auto lookUp = [&](const QString &typed) {
        const bible::VerseLookup::Source source { QStringLiteral("es"), {}, {} };
        return threadMs([&] { studio.verses().lookupVerse(layer, typed, source); });
    };
    const double first = lookUp(QStringLiteral("Juan 3:16"));
    tickFor(2s); // until all that a start costs is paid
    const double longest = lookUp(QStringLiteral("Salmos 119"));
    std::array<char, 120> text {};
    std::snprintf(text.data(),
        text.size(),
        "engine: first lookup %.1f ms, longest %.1f ms, longest tick %.1f ms\t",
        first,
        longest,
        tickFor(1s));
    return text.data();
}

/// Types the reference and presses the button; tells the figures of the second after it.
std::string windowLookUp(WatchedWindow &window, const char *name, const QString &typed)
{
    window.window().findChild<QLineEdit *>(QStringLiteral("quickVerse"))->setText(typed);
    const double press = threadMs([&window] { window.press("showVerse"); });
    const WatchedWindow::Figures after = window.runFor(1s);
    std::array<char, 100> text {};
    std::snprintf(text.data(),
        text.size(),
        "%s: press %.1f ms, longest turn %.1f ms, picture gap %.1f ms, missed %llu\t",
        name,
        press,
        after.turn,
        after.gap,
        after.missed);
    return text.data();
}

/// Psalm 119 on air in both programs, a page ten times a second.
std::string tellSteps()
{
    const QTemporaryDir home;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path());
    bible::prepare().waitForFinished();
    WatchedWindow window;
    for (const int set : { 1, 0 }) {
        window.studio().program().setEditSet(set);
        windowLookUp(window, "on air", QStringLiteral("Salmos 119"));
        window.studio().program().take();
    }
    WatchedWindow::Figures worst;
    int steps = 0;
    for (; steps < 60; ++steps) {
        window.press("pageOn");
        const WatchedWindow::Figures after = window.runFor(100ms);
        worst.turn = std::max(worst.turn, after.turn);
        worst.gap = std::max(worst.gap, after.gap);
        worst.missed += after.missed;
    }
    std::array<char, 100> text {};
    std::snprintf(text.data(),
        text.size(),
        "%d steps: longest turn %.1f ms, picture gap %.1f ms, missed %llu",
        steps,
        worst.turn,
        worst.gap,
        worst.missed);
    return text.data();
}

/// What lookups cost the interface, a short one for comparison first; then the time that loading
/// takes where nothing waits for it, and the memory of both Bibles.
std::string tellVerses()
{
    const QTemporaryDir home;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path());
    std::string told = engine();
    {
        WatchedWindow window;
        told += windowLookUp(window, "short", QStringLiteral("Juan 11:35"));
        told += windowLookUp(window, "longest", QStringLiteral("Salmos 119"));
        told += windowLookUp(window, "again", QStringLiteral("Salmos 119"));
    }
    const double before = liveMiB();
    bible::Bible spanish;
    bible::Bible english;
    const double loading = timeMs([&] {
        spanish = bible::load(QStringLiteral(":/bible-es-rv1909.qz"));
        english = bible::load(QStringLiteral(":/bible-en-kjv.qz"));
    });
    std::array<char, 80> text {};
    std::snprintf(text.data(),
        text.size(),
        "loading both %.0f ms, %.1f MiB",
        loading,
        liveMiB() - before);
    return told + text.data();
}

} // namespace

NIMBARA_BENCH_CASE("verses", tellVerses)
NIMBARA_BENCH_CASE("verse-steps", tellSteps)
