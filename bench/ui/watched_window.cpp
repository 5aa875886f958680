#include "ui/watched_window.h"

#include "bench.h"
#include "ui/kit/style.h"

#include <QApplication>
#include <QPushButton>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <thread>
#include <utility>

namespace nimbara::bench {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

double threadMs(const std::function<void()> &body)
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

QString FileAnswers::next()
{
    if (files.empty()) {
        return {};
    }
    const QString file = files.front();
    files.pop_front();
    return file;
}

std::string WatchedWindow::Figures::text() const
{
    std::array<char, 160> line {};
    std::snprintf(line.data(),
        line.size(),
        "turn %.1f ms (wall %.1f ms), picture gap %.1f ms, %d pictures in %.2f s, missed %llu",
        turn,
        turnWall,
        gap,
        pictures,
        seconds,
        missed);
    return line.data();
}

WatchedWindow::WatchedWindow()
{
    qApp->setStyleSheet(applicationStyleSheet());
    QObject::connect(&studio(), &Studio::picturesMade, &studio(), [this] {
        const auto now = SteadyClock::now();
        m_gap = std::max(m_gap, std::chrono::duration<double, std::milli>(now - m_last).count());
        m_last = now;
        ++m_pictures;
    });
    m_window.show();
    runFor(2s); // pictures on the way, everything painted once
}

StudioServices WatchedWindow::services(FileAnswers *dialogs)
{
    StudioServices services;
    services.dialogs.reset(dialogs);
    return services;
}

void WatchedWindow::press(const char *button)
{
    m_window.findChild<QPushButton *>(QLatin1String(button))->click();
}

WatchedWindow::Figures WatchedWindow::runUntil(const std::function<bool()> &done,
    std::chrono::milliseconds most)
{
    Figures figures;
    m_gap = 0;
    m_pictures = 0;
    const auto missed = studio().missedSlots();
    const auto start = SteadyClock::now();
    while (!done() && SteadyClock::now() - start < most) {
        figures.turnWall = std::max(figures.turnWall, timeMs([&figures] {
            const double turn = threadMs([] { QCoreApplication::processEvents(); });
            figures.turn = std::max(figures.turn, turn);
        }));
        std::this_thread::sleep_for(1ms);
    }
    figures.seconds = std::chrono::duration<double>(SteadyClock::now() - start).count();
    figures.gap = m_gap;
    figures.pictures = m_pictures;
    figures.missed = studio().missedSlots() - missed;
    return figures;
}

WatchedWindow::Figures WatchedWindow::runFor(std::chrono::milliseconds time)
{
    return runUntil([] { return false; }, time);
}

} // namespace nimbara::bench
