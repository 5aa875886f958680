// Edits until it is killed, on an event loop as the studio has it. Arguments: the folder of the
// copies, the project's name. Says "editing" once the first change is made.

#include "studio/edit/recovery_copy.h"

#include <QCoreApplication>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <sys/prctl.h>

int main(int argc, char **argv)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL); // never without the test
    const QCoreApplication application(argc, argv);
    const nimbara::SystemClock clock;
    nimbara::RecoveryCopy copy(QCoreApplication::arguments().at(1), clock);
    const auto edit = [&] { // all of the state tells when it was made
        copy.changed([made = QByteArray::number(
                          qint64(clock.monotonicUs()))] { return (made + ' ').repeated(20'000); },
            QCoreApplication::arguments().at(2));
    };
    QTimer edits;
    QObject::connect(&edits, &QTimer::timeout, edit);
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] { static_cast<void>(copy.poll()); });
    edit();
    edits.start(20);
    tick.start(5);
    std::puts("editing");
    static_cast<void>(std::fflush(stdout));
    return QCoreApplication::exec();
}
