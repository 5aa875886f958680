#pragma once

#include "document/scene.h"
#include "signal/frame.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace nimbara {

/// A scene and the frame that it is shown in.
struct FramedScene {
    ScenePtr scene;
    FrameSize frame;
    bool operator==(const FramedScene &) const = default;
};

/// The scenes, by their names, with a text that is not wholly seen. A plain value.
struct TextFit {
    QStringList hidden; ///< one that stands in them now
    std::optional<QStringList> longVerse; ///< the longest verse; none: no layer shows verses
    std::optional<QStringList> caption; ///< two full lines of captions; none: no layer for them
};

/// Lays out the texts of the scenes, and what their boxes may have to show: the longest verse of
/// the Bibles of a verse layer, and a whole block of easy reading. Verses that are split into pages
/// are always seen.
///
/// `choice`: where the next verse comes from (`bible::bibleChoice`). On a background task: waits
/// for the Bibles and measures each layer. Needs the application's fonts.
TextFit fitOfTexts(const std::vector<FramedScene> &scenes, const QString &choice);

/// Two lines of 37 letters (`reading::lineColumns`), as wide as words usually are.
QString fullCaption();

} // namespace nimbara
