#include "output/program_feed.h"
#include "output/sink/outputs.h"

#include <QCoreApplication>

#include <cstdio>

// Records a still program into the file named by the first argument until it is killed, and tells
// the number of ticks after each.
int main(int argc, char **argv)
{
    if (argc != 2) {
        return 2;
    }
    const QCoreApplication application(argc, argv);
    gst_init(nullptr, nullptr);
    nimbara::EncoderPool encoders;
    nimbara::Recording recording(std::make_shared<nimbara::Retirement>(), encoders);
    recording.start(QString::fromUtf8(argv[1]), { 160, 90 });
    while (!recording.ready()) {
        QThread::msleep(1);
    }
    nimbara::testing::ProgramFeed feed({ 160, 90 }, true);
    while (recording.exists()) {
        {
            const nimbara::testing::Tick tick = feed.next();
            recording.push(tick.frame, tick.block, tick.tNs);
        }
        if (!feed.wait()) {
            return 1;
        }
        QThread::msleep(5); // the encoder keeps up: what waits for it is not lost by the kill
        std::printf("%d\n", feed.count());
        std::fflush(stdout);
    }
    return 1;
}
