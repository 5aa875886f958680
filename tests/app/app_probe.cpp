// The application object in a process of its own, in which something goes wrong: a handler that
// throws before the event loop ("before") or in it ("within"), an end that hangs ("hangs").

#include "app/end_guard.h"
#include "app/studio_application.h"

#include <QEvent>
#include <QTimer>

#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace {

class Thrower : public QObject {
protected:
    void customEvent(QEvent * /*event*/) override { throw std::runtime_error("broken"); }
};

void hang()
{
    nimbara::EndGuard guard;
    guard.start(std::chrono::milliseconds(50), 3);
    std::this_thread::sleep_for(std::chrono::hours(1));
}

} // namespace

int main(int argc, char **argv)
{
    const auto application = nimbara::StudioApplication::create(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("NimbaraStudio")); // where the log is
    QCoreApplication::setOrganizationName(QStringLiteral("Halvenmoor"));
    const std::string_view what = argv[1];
    if (what == "hangs") {
        hang();
    }
    Thrower thrower;
    const auto fault = [&thrower] {
        QEvent event(QEvent::User);
        QCoreApplication::sendEvent(&thrower, &event);
        std::puts("lived on");
    };
    try {
        if (what == "before") {
            fault();
        } else {
            QTimer::singleShot(0, &thrower, fault);
        }
        return application->runLoop();
    } catch (const std::exception &error) {
        std::printf("told: %s\n", error.what());
        return 1;
    }
}
