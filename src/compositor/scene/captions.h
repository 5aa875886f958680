#pragma once

#include "document/layer.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace nimbara {

/// The live captions of one frame, as the compositor draws them. A plain value.
struct Captions {
    QStringList phrases; ///< on screen now, oldest first
    QString separator; ///< between phrases: a blank, one line break or two
    bool shown = true; ///< the operator's switch; off: no captions anywhere
    /// The phrases in the second language; none: there is no such language.
    std::optional<QStringList> second = std::nullopt;

    bool operator==(const Captions &) const = default;

    /// Those of one language alone (`caption_language`).
    [[nodiscard]] Captions in(std::int32_t language) const
    {
        const bool isSecond = language == caption_language::second && second;
        return { isSecond ? *second : phrases, separator, shown };
    }
    /// All phrases, joined.
    [[nodiscard]] QString text() const { return phrases.join(separator); }
    /// With the last phrases only.
    [[nodiscard]] Captions newest(qsizetype count) const
    {
        return { phrases.mid(phrases.size() - count), separator, shown };
    }
};

/// Writes `text` and `reference` (the highlighted newest phrase) of a subtitle layer that is about
/// to be drawn. In the preview an empty one gets a placeholder, in the language of the interface.
void fillSubtitle(Layer &layer, const Captions &captions, bool isPreview);

} // namespace nimbara
