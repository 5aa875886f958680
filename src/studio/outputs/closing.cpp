#include "studio/outputs/closing.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>

namespace nimbara {

namespace {

using namespace std::chrono_literals;

constexpr auto pollSpacing = 10ms;

} // namespace

std::optional<Message>
finishOutputs(Recording &recording, const std::function<bool()> &isSaving, QDeadlineTimer deadline)
{
    std::optional<Message> told;
    recording.finish();
    recording.endEncoder(); // no stream's ticks push out what waits there
    QTimer wake; // the encoder's end is no event of this thread
    wake.start(pollSpacing);
    while ((recording.exists() || isSaving()) && !deadline.hasExpired()) {
        if (const auto ended = recording.poll(); ended && *ended != Recording::savedText()) {
            told = *ended;
        }
        QCoreApplication::processEvents(
            QEventLoop::ExcludeUserInputEvents | QEventLoop::WaitForMoreEvents);
    }
    if (recording.exists()) {
        told = "La grabación no terminó de guardarse a tiempo; el archivo puede estar incompleto.";
    }
    return told;
}

} // namespace nimbara
