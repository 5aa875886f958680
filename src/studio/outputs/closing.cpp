#include "studio/outputs/closing.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <chrono>

namespace nimbara {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 5000ms;
constexpr auto pollSpacing = 10ms;

} // namespace

void finishOutputs(Recording &recording, const StreamDesk &streams)
{
    recording.finish();
    const QDeadlineTimer deadline(patience);
    QTimer wake; // the encoder's end is no event of this thread
    wake.start(pollSpacing);
    while ((recording.exists() || streams.isSaving()) && !deadline.hasExpired()) {
        recording.poll();
        QCoreApplication::processEvents(
            QEventLoop::ExcludeUserInputEvents | QEventLoop::WaitForMoreEvents);
    }
}

} // namespace nimbara
