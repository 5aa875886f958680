#pragma once

#include "signal/picture_box.h"
#include "studio/sources/live_scene.h"

#include <functional>
#include <vector>

namespace nimbara {

/// A scene that is composed on a canvas.
struct ShownScene {
    const LiveScene &scene;
    FrameSize canvas;
};

/// Where each source is shown at this moment. Interface thread only.
class ShownBoxes {
public:
    /// Tells the source of a camera layer and of one that the scene holds none for; or none.
    using SourceOf = std::function<Media *(const Layer &layer)>;

    /// Adds what the scene shows.
    void add(const ShownScene &shown, const SourceOf &sourceOf);
    /// Where the source is shown; empty: nowhere.
    [[nodiscard]] std::vector<PictureBox> of(const Media *source) const;
    /// Tells each source.
    void tell() const;

private:
    struct Entry {
        Media *source;
        std::vector<PictureBox> boxes;
    };
    std::vector<PictureBox> &boxesOf(Media *source);

    std::vector<Entry> m_entries;
};

} // namespace nimbara
