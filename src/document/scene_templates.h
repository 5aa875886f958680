#pragma once

#include "document/scene.h"
#include "signal/frame.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

namespace nimbara {

/// Scenes to start from, drawn out of ordinary layers.
enum class SceneTemplate : std::int32_t {
    TitleLowerThird,
    VerseFull,
    VerseLowerThird,
    HallSubtitles,
    StreamSubtitles,
    Countdown,
    Welcome,
};
inline constexpr std::array sceneTemplates { SceneTemplate::TitleLowerThird,
    SceneTemplate::VerseFull,
    SceneTemplate::VerseLowerThird,
    SceneTemplate::HallSubtitles,
    SceneTemplate::StreamSubtitles,
    SceneTemplate::Countdown,
    SceneTemplate::Welcome };

/// The template's name: a key of the text table.
const char *nameOf(SceneTemplate which);

/// A scene made from the template, with a short name, and a number where that is taken. Its
/// contents are in the operator's language. What is a camera on the streams is a plain ground in
/// the hall. A countdown counts with the one that the project has. `frame`: of the set's program,
/// whose shape decides the places. `verseStyle`: the look that the project keeps for new verses.
Scene templateScene(SceneTemplate which,
    const SceneSets &scenes,
    SceneSet set,
    FrameSize frame,
    const std::optional<Layer> &verseStyle = {});

} // namespace nimbara
