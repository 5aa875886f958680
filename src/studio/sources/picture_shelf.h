#pragma once

#include "base/background_task.h"
#include "base/clock.h"
#include "base/thread_wish.h"
#include "document/scene.h"
#include "signal/frame.h"

#include <QHash>
#include <QString>

#include <cstdint>
#include <list>

namespace nimbara {

/// The decoded picture files beside the project, by path. A picture stays while a layer names it
/// and a while longer, so that undo finds it; one that undo brings back later is decoded again in
/// the background. Interface thread only.
class PictureShelf {
public:
    static constexpr std::int64_t patienceUs = 60'000'000; ///< of a picture that no layer names

    explicit PictureShelf(const Clock &clock)
        : m_clock(clock)
    {
    }

    /// The picture of an image layer, or none.
    [[nodiscard]] FramePtr find(const Layer &layer) const;
    /// The picture of an image layer is still being decoded.
    [[nodiscard]] bool isDecoding(const Layer &layer) const;
    /// The file's picture from now on; none when it cannot be decoded.
    void put(const QString &path, FramePtr picture);

    /// Begins to decode what layers name and lack. Scenes that were seen before are not looked at
    /// again.
    void follow(const SceneSets &scenes);
    /// Takes over what was decoded. Never waits.
    void poll();
    /// The system has no thread for them; once. They are decoded when it has.
    bool takeNoThread() { return m_wish.takeRefusal(); }
    /// Lets go of what has not been named for a while. Call now and then.
    void sweep(const SceneSets &scenes);

private:
    struct Entry {
        FramePtr picture;
        std::int64_t lastNamedUs = 0;
    };
    struct Decoding {
        QString path;
        BackgroundTask<FramePtr> task;
    };
    void decodeMissing(const Scene &scene);
    void decode(Decoding &decoding);

    const Clock &m_clock;
    QHash<QString, Entry> m_entries;
    std::list<Decoding> m_decoding;
    SceneSets m_seen;
    ThreadWish m_wish;
};

} // namespace nimbara
