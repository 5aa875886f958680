#include "bench.h"
#include "bible/builtin.h"
#include "ui/studio_window.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
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

/// What the body costs the interface thread itself, whatever else the machine does meanwhile.
template <typename Body> double threadMs(Body body)
{
    const auto now = [] {
        timespec time {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_nsec) / 1e6;
    };
    const double start = now();
    body();
    return now() - start;
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
    const std::int32_t layer = studio.verses().quickVerseLayer();
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

/// The real window, watched from outside: what one turn of its event loop costs, and how long
/// the programs wait for their next picture.
class WatchedWindow {
public:
    WatchedWindow()
    {
        auto shown = m_window.studio().onPictures;
        m_window.studio().onPictures = [this, shown](const Pictures &pictures) {
            const auto now = SteadyClock::now();
            const double gap = std::chrono::duration<double, std::milli>(now - m_last).count();
            m_longestGap = std::max(m_longestGap, gap);
            m_last = now;
            shown(pictures);
        };
        m_window.show();
        turnFor(2s); // pictures on the way, everything painted once
        m_missed = m_window.studio().missedSlots();
    }

    /// Types the reference and presses the button; tells the figures of the second after it.
    std::string lookUp(const char *name, const QString &typed)
    {
        m_longestGap = 0;
        m_window.findChild<QLineEdit *>(QStringLiteral("quickVerse"))->setText(typed);
        auto *button = m_window.findChild<QPushButton *>(QStringLiteral("showVerse"));
        const double press = threadMs([button] { button->click(); });
        const double turn = turnFor(1s);
        std::array<char, 100> text {};
        std::snprintf(text.data(),
            text.size(),
            "%s: press %.1f ms, longest turn %.1f ms, picture gap %.1f ms\t",
            name,
            press,
            turn,
            m_longestGap);
        return text.data();
    }
    [[nodiscard]] unsigned long long missed() { return m_window.studio().missedSlots() - m_missed; }

private:
    double turnFor(std::chrono::milliseconds time)
    {
        double longest = 0;
        for (const auto end = SteadyClock::now() + time; SteadyClock::now() < end;) {
            longest = std::max(longest, threadMs([] { QCoreApplication::processEvents(); }));
            std::this_thread::sleep_for(1ms);
        }
        return longest;
    }

    StudioWindow m_window { true };
    SteadyClock::time_point m_last = SteadyClock::now();
    double m_longestGap = 0;
    unsigned long long m_missed = 0;
};

/// What lookups cost the interface, a short one for comparison first; then the time that loading
/// takes where nothing waits for it, and the memory of both Bibles.
std::string tellVerses()
{
    const QTemporaryDir home;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path());
    std::string told = engine();
    {
        WatchedWindow window;
        told += window.lookUp("short", QStringLiteral("Juan 11:35"));
        told += window.lookUp("longest", QStringLiteral("Salmos 119"));
        told += window.lookUp("again", QStringLiteral("Salmos 119"));
        told += "missed " + std::to_string(window.missed());
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
        "\tloading both %.0f ms, %.1f MiB",
        loading,
        liveMiB() - before);
    return told + text.data();
}

} // namespace

NIMBARA_BENCH_CASE("verses", tellVerses)
