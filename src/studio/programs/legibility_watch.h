#pragma once

#include "base/background_task.h"
#include "compositor/scene/composer.h"
#include "compositor/text/legibility.h"
#include "document/scene.h"
#include "signal/frame.h"

#include <QImage>
#include <QObject>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

namespace nimbara {

/// How the text of a layer in PREVIEW can be read.
struct TextSight {
    std::optional<double> contrast; ///< none: too little of it shows to tell (`textContrast`)
    bool hasSmallLetters = false; ///< below `leastLetters`

    [[nodiscard]] bool isPale() const { return contrast && *contrast < leastContrast; }
    bool operator==(const TextSight &) const = default;
};

/// Looks at the texts of PREVIEW's picture in the background, so that the operator learns of what
/// the last row cannot read before it is on air. Interface thread only.
class LegibilityWatch : public QObject {
    Q_OBJECT
public:
    /// us between two looks. A camera behind the text makes each picture another one.
    static constexpr std::int64_t spacingUs = 2'000'000;

    /// Call with each picture and what it shows, without its sources' pictures. Looks when it is
    /// time and something is new. `pager`: tells what a verse shows of its text.
    void
    look(std::int64_t nowUs, const Composition &shown, const QImage &picture, VersePager &pager);

    /// What was seen last of a layer; nothing amiss where it was not looked at.
    [[nodiscard]] TextSight of(LayerId layer) const;

Q_SIGNALS:
    /// Some layer is seen otherwise than before.
    void changed();

private:
    using Sights = std::map<LayerId, TextSight>;
    void takeResult();

    std::optional<std::int64_t> m_lookedUs;
    CaptionFit m_fit;
    ScenePtr m_scene;
    qint64 m_picture = 0; ///< key of the picture looked at last
    BackgroundTask<Sights> m_task;
    Sights m_sights;
};

} // namespace nimbara
