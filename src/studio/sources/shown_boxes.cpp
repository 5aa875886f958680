#include "studio/sources/shown_boxes.h"

#include "compositor/scene/picture_fit.h"

#include <algorithm>

namespace nimbara {

void ShownBoxes::add(const ShownScene &shown, const SourceOf &sourceOf)
{
    for (std::size_t place = 0; place < shown.scene.layers.size(); ++place) {
        const Layer &layer = shown.scene.scene->layers[place];
        const MediaPtr &held = shown.scene.layers[place].source;
        Media *source = layer.kind == LayerKind::Camera || !held ? sourceOf(layer) : held.get();
        const QRectF box = pixelBox(QRectF(layer.x, layer.y, layer.w, layer.h), shown.canvas);
        if (source != nullptr && layer.visible && layer.opacity > 0 && !box.isEmpty()) {
            boxesOf(source).push_back({ box.width(), box.height(), layer.cover });
        }
    }
}

std::vector<PictureBox> ShownBoxes::of(const Media *source) const
{
    const auto known = std::find_if(m_entries.begin(),
        m_entries.end(),
        [source](const Entry &each) { return each.source == source; });
    return known == m_entries.end() ? std::vector<PictureBox> {} : known->boxes;
}

void ShownBoxes::tell() const
{
    for (const Entry &entry : m_entries) {
        entry.source->showIn(entry.boxes);
    }
}

std::vector<PictureBox> &ShownBoxes::boxesOf(Media *source)
{
    const auto known = std::find_if(m_entries.begin(),
        m_entries.end(),
        [source](const Entry &each) { return each.source == source; });
    return known == m_entries.end() ? m_entries.emplace_back(Entry { source, {} }).boxes
                                    : known->boxes;
}

} // namespace nimbara
