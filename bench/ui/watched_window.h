#pragma once

#include "ui/shell/studio_window.h"

#include <chrono>
#include <deque>
#include <functional>
#include <string>

namespace nimbara::bench {

/// Gives the window the files that it asks for, and answers everything else with nothing.
class FileAnswers final : public Dialogs {
public:
    std::deque<QString> files;

    QString openFile(const QString &, const QString &, const QString &) override { return next(); }
    QString saveFile(const QString &, const QString &, const QString &) override { return next(); }
    std::optional<QString> text(const QString &, const QString &, const QString &) override
    {
        return std::nullopt;
    }
    std::optional<QColor> color(const QColor &, bool) override { return std::nullopt; }
    bool question(const QString &, const QString &) override { return false; }
    SaveChoice saveChoice(const QString &, const QString &) override { return SaveChoice::Discard; }
    void warning(const QString &, const QString &) override { }
    void tellAtEnd(const QString &, const QString &) override { }
    QString folder(const QString &, const QString &) override { return next(); }
    void
    offer(const QString &, const QString &, const QString &, const std::function<void()> &) override
    {
    }
    void login(const QString &,
        const QString &,
        const std::optional<QString> &,
        const std::function<void(const std::optional<Login> &)> &done) override
    {
        done(std::nullopt);
    }

private:
    QString next();
};

/// The real window with the program's style, watched from outside: what one turn of its event loop
/// costs, and how long the programs wait for their next picture.
class WatchedWindow {
public:
    /// Of a stretch of time, in milliseconds.
    struct Figures {
        double turn = 0; ///< the longest turn, in processor time of the interface thread
        double turnWall = 0; ///< the longest turn on the wall clock
        double gap = 0; ///< the longest time between two pictures
        int pictures = 0;
        unsigned long long missed = 0; ///< frame slots
        double seconds = 0;

        [[nodiscard]] std::string text() const;
    };

    /// Shows the window and runs it until all that a start costs is paid.
    WatchedWindow();

    [[nodiscard]] StudioWindow &window() { return m_window; }
    [[nodiscard]] FileAnswers &dialogs() { return *m_dialogs; }
    [[nodiscard]] Studio &studio() { return m_window.studio(); }
    void press(const char *button);

    /// Runs the event loop for as long as the condition does not hold, at most the time.
    Figures runUntil(const std::function<bool()> &done, std::chrono::milliseconds most);
    Figures runFor(std::chrono::milliseconds time);

private:
    static StudioServices services(FileAnswers *dialogs);

    FileAnswers *m_dialogs = new FileAnswers; ///< the window's
    StudioWindow m_window { true, services(m_dialogs) };
    std::chrono::steady_clock::time_point m_last = std::chrono::steady_clock::now();
    double m_gap = 0;
    int m_pictures = 0;
};

/// What the body costs the interface thread itself, in milliseconds, whatever else the machine does
/// meanwhile.
double threadMs(const std::function<void()> &body);

} // namespace nimbara::bench
