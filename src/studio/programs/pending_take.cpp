#include "studio/programs/pending_take.h"

#include "base/error.h"

#include <QUrl>

#include <algorithm>

namespace nimbara {

namespace {

bool playsFile(const Layer &layer)
{
    return layer.kind == LayerKind::Video && layer.uri.startsWith(QLatin1String("file:"));
}

bool isSeen(const Layer &layer)
{
    return layer.visible && layer.opacity > 0;
}

} // namespace

PendingTake::PendingTake(const MediaFactory &factory,
    FrameSize frame,
    FrameSize canvas,
    const Project &project,
    SceneSet set,
    const Transition &transition,
    std::int64_t nowUs)
    : m_set(set)
    , m_scene(project.scenes.of(set)[project.currentPlace(set)])
    , m_title(project.title)
    , m_band(project.band)
    , m_transition(transition)
    , m_clip(project.transitionClip)
    , m_sinceUs(nowUs)
{
    for (const Layer &layer : m_scene->layers) {
        if (!playsFile(layer)) {
            continue;
        }
        File *file = fileOf(layer);
        if (file == nullptr) {
            m_files.push_back({ layer, factory.media(frame, layer.uri) });
            file = &m_files.back();
        }
        file->isAwaited = file->isAwaited || isSeen(layer);
    }
    LiveScene live { m_scene, {} };
    live.layers.resize(m_scene->layers.size());
    giveFilesTo(live);
    ShownBoxes boxes;
    boxes.add({ live, canvas }, [](const Layer & /*layer*/) { return nullptr; });
    boxes.tell();
    openClip(factory, canvas);
}

/// It stands at its first picture until all else is ready.
void PendingTake::openClip(const MediaFactory &factory, FrameSize canvas)
{
    if (m_transition.kind != TransitionKind::Clip) {
        return;
    }
    try {
        m_clipMedia = factory.heldMedia(canvas,
            QString::fromLatin1(QUrl::fromLocalFile(m_clip.path).toEncoded()));
        m_clipMedia->showIn(
            { { static_cast<double>(canvas.width), static_cast<double>(canvas.height), true } });
    } catch (const Error &) {
        m_clipMedia.reset(); // told once the scene is on air
    }
}

/// A clip that fails keeps no scene from going on air.
bool PendingTake::isClipReady(bool play)
{
    if (!m_clipMedia) {
        return true;
    }
    if (play) {
        m_clipMedia->setShown(true);
    }
    m_clipMedia->pollSource();
    return m_clipMedia->isReady();
}

MediaPtr PendingTake::playClip()
{
    if (m_transition.kind == TransitionKind::Clip
        && (!m_clipMedia || m_clipMedia->frameCount() == 0)) {
        m_clipMedia.reset();
        m_transition = plainCut;
        m_isWithoutClip = true;
    }
    if (m_clipMedia) {
        m_clipMedia->setShown(true); // a file that was waited for in vain held it
    }
    return m_clipMedia;
}

PendingTake::File *PendingTake::fileOf(const Layer &layer)
{
    const auto file = std::find_if(m_files.begin(), m_files.end(), [&](const File &each) {
        return each.layer.source == layer.source && each.layer.uri == layer.uri;
    });
    return playsFile(layer) && file != m_files.end() ? &*file : nullptr;
}

bool PendingTake::isReady(std::int64_t nowUs, const PictureShelf &shelf)
{
    bool ready = std::none_of(m_scene->layers.begin(),
        m_scene->layers.end(),
        [&](const auto &layer) { return isSeen(layer) && shelf.isDecoding(layer); });
    for (const File &file : m_files) {
        file.media->pollSource();
        if (!file.isAwaited) {
            continue; // nobody sees it; what it has to say is told once it is on air
        }
        if (const Message reason = file.media->takeMessage(); !reason.isEmpty()) {
            throw Error(Message("La escena no salió al aire; “%1” no se puede reproducir. ",
                            { Message::verbatim(file.layer.name) })
                + reason);
        }
        ready = ready && file.media->isReady();
    }
    ready = isClipReady(ready) && ready;
    return ready || nowUs - m_sinceUs >= patienceUs;
}

LiveScene PendingTake::goLive(Sources &sources)
{
    for (const File &file : m_files) {
        sources.pool().replace(file.layer, file.media);
    }
    LiveScene live = sources.live(m_scene);
    giveFilesTo(live);
    return live;
}

void PendingTake::giveFilesTo(LiveScene &live)
{
    for (std::size_t place = 0; place < live.layers.size(); ++place) {
        if (const File *file = fileOf(m_scene->layers[place])) {
            live.layers[place].source = file->media;
        }
    }
}

} // namespace nimbara
