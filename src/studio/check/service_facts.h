#pragma once

#include "base/message.h"
#include "studio/check/text_fit.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

namespace nimbara {

/// What is known of the computer and the project shortly before a service. A plain value; what
/// nobody can tell is none.
struct ServiceFacts {
    /// What comes in from a camera.
    struct Camera {
        QString name; ///< as its layers name it
        double rate = 0; ///< pictures per second
        bool isLost = false;
        bool isClosed = false; ///< until a program or a current scene shows it
    };

    int screens = 1; ///< of the computer, the operator's among them; mirrored ones are one
    int kbits = 6000; ///< of a recording, kbit/s
    double inputPeak = 0; ///< loudest value of the look, linear
    double cameraRate = 0; ///< pictures per second that come in
    std::optional<std::int64_t> freeBytes; ///< on the disk of the operator's videos
    std::vector<Camera> sceneCameras; ///< that scenes name, but the principal one, each once

    QStringList destinations; ///< names of the ticked ones
    QStringList withoutServer; ///< of those
    QStringList withoutKey; ///< of those, neither typed nor stored
    Message lineVerdict; ///< of the test of the line
    Message serviceAnswer; ///< of the translation's
    std::optional<Message> onlineBible; ///< what is amiss with it; none: it is silent
    std::optional<TextFit> texts; ///< none: there was no time to lay them all out

    bool diskHangs = false; ///< it has not told its room
    bool hasInput = false; ///< an audio device was chosen
    bool inputIsLost = false;
    bool isMuted = false;
    bool hasCamera = false; ///< a camera was chosen
    bool cameraIsLost = false;
    bool usesOnlineBible = false; ///< verses come from the online Bibles' service
    std::optional<bool> lineHadRoom; ///< for all destinations; none: it was not tested
    std::optional<bool> hasServiceKey; ///< for the translation; none: the store has not answered
    std::optional<bool> serviceAnswers; ///< to that key; none: it was not asked, or is silent
    std::optional<bool> clockIsSet; ///< by a time server
    std::optional<bool> onBattery;
};

/// One line of the check.
struct CheckLine {
    enum class State { Good, Caution, Bad };

    State state = State::Good;
    Message what; ///< what was looked at
    Message found; ///< how it is and, unless it is good, what to do
};

/// What the operator should know before the service, in the order of the work. What nobody can tell
/// has no line.
std::vector<CheckLine> judge(const ServiceFacts &facts);

} // namespace nimbara
