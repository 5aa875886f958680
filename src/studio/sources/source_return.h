#pragma once

#include "base/clock.h"
#include "base/report.h"
#include "studio/sources/on_air.h"
#include "studio/sources/source_pool.h"

#include <QObject>

#include <cstdint>
#include <functional>
#include <vector>

namespace nimbara {

/// Opens network and screen sources again that have stopped: after 1, 2, 4, 8, then every 10 s for
/// ever, live cameras every 3 s, so that they are back within 10 s of their network's return. The
/// old one lets go of its connection at once, since a camera may serve one client only; the new one
/// takes its place with its first picture, in the project as in the programs on air. Interface
/// thread only; nothing in it waits.
class SourceReturn : public QObject {
    Q_OBJECT
public:
    /// Whether trying is of use, asked before each attempt: a camera may wait for its password.
    using MayOpen = std::function<bool(const Layer &layer)>;

    /// µs; a source that stops again before goes on with the delay it had.
    static constexpr std::int64_t steadyUs = 10'000'000;

    /// `mayOpen`: never empty.
    SourceReturn(const Clock &clock, MayOpen mayOpen, Report status);

    /// Call on every run of the frame clock. Every source of `scenes` in the pool and of the
    /// programs is looked after; those of no layer are forgotten.
    void poll(const SceneSets &scenes, SourcePool &pool, OnAir &onAir);

    /// The one that is being opened for the layer and has no picture yet, or none.
    [[nodiscard]] Media *coming(const Layer &layer) const;

Q_SIGNALS:
    /// A source was opened in vain.
    void refused(const nimbara::Media &source);

private:
    struct Lost {
        Layer layer; ///< one that plays it
        MediaPtr source; ///< the one that has come back; none: lost
        int attempts = 0;
        std::int64_t nextUs = 0;
        MediaPtr next {}; ///< being opened
        std::int64_t backSinceUs = 0; ///< 0: still lost
        bool isNamed = true;
        Message refusal {}; ///< of the last attempt
    };

    void search(const SceneSets &scenes, SourcePool &pool, OnAir &onAir);
    void note(const Layer &layer, const MediaPtr &source);
    static void put(Lost &lost, MediaPtr source, SourcePool &pool, OnAir &onAir);
    void advance(Lost &lost, SourcePool &pool, OnAir &onAir);
    void watch(Lost &lost, SourcePool &pool, OnAir &onAir);
    void open(Lost &lost, const SourcePool &pool);
    void follow(Lost &lost, SourcePool &pool, OnAir &onAir);
    static void tellRefusal(Lost &lost, const Message &reason);
    void wait(Lost &lost);

    const Clock &m_clock;
    MayOpen m_mayOpen;
    Report m_status;
    std::int64_t m_searchedUs = 0;
    std::vector<Lost> m_lost;
};

} // namespace nimbara
