#pragma once

#include "base/clock.h"
#include "base/report.h"
#include "document/project.h"
#include "media/sources/media_factory.h"

#include <QHash>

#include <functional>
#include <map>
#include <set>
#include <vector>

namespace nimbara {

/// Who opens what a layer with a source shows; possibly none yet. Throws `Error`.
using SourceOpener = std::function<MediaPtr(const Layer &layer)>;

/// Opens what such a layer shows, the screen or its location; none while the desktop has not
/// granted the screen. Throws `Error`.
MediaPtr openSource(const MediaFactory &factory, FrameSize size, const Layer &layer);

/// The open sources beside the project, by the id that its layers name. A source lives while a
/// layer names it and a while longer, so that undo finds it; a program on air holds those that it
/// shows. Interface thread only.
class SourcePool {
public:
    static constexpr std::int64_t patienceUs = 60'000'000; ///< of a source that no layer names

    /// `open`: for layers that undo brought back after their source had gone.
    SourcePool(const Clock &clock, SourceOpener open, Report status);

    /// The source that the layer plays, or none.
    [[nodiscard]] MediaPtr find(const Layer &layer) const;
    /// From now on the layer, and those that share its source, play this one.
    void put(const Layer &layer, MediaPtr source);
    /// The same, unless they were given another location meanwhile.
    void replace(const Layer &layer, MediaPtr source);

    /// A source for the layer, which goes into no place yet. Throws `Error`.
    [[nodiscard]] MediaPtr open(const Layer &layer) const { return m_open(layer); }

    /// Opens what layers name and lack; a refusal is shown. Scenes that were seen before are not
    /// looked at again.
    void follow(const SceneSets &scenes);
    /// The scenes that come next lack nothing: what could not be opened was told.
    void expect(const SceneSets &scenes) { m_seen = scenes; }

    /// Lets go of what has not been named for a while. Call now and then.
    void sweep(const SceneSets &scenes);

    /// Every open source, once.
    void forEach(const std::function<void(const MediaPtr &)> &visit) const;

    /// Opens anew what the scenes' layers play, each source once; the others stay. Throws the first
    /// refusal at the end.
    void reopen(const Scenes &scenes, const SourceOpener &open);

private:
    struct Entry {
        MediaPtr media;
        QString location;
        std::int64_t lastNamedUs = 0;
    };
    void openMissing(const Scene &scene);

    const Clock &m_clock;
    SourceOpener m_open;
    Report m_status;
    std::map<SourceId, Entry> m_entries;
    SceneSets m_seen;
};

} // namespace nimbara
