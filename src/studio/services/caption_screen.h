#pragma once

#include "base/clock.h"
#include "translation/pipeline/caption.h"
#include "translation/pipeline/caption_text.h"
#include "translation/pipeline/phrase_delay.h"
#include "translation/pipeline/reading.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <deque>

namespace nimbara {

/// The captions of one language on their way into the pictures: what is on screen, what waits to be
/// read, and how late each comes. Interface thread only.
class CaptionScreen : public QObject {
    Q_OBJECT
public:
    explicit CaptionScreen(const Clock &clock)
        : m_clock(clock)
    {
    }

    /// What waits to be read is let go.
    void setSeparator(CaptionSeparator separator);
    [[nodiscard]] CaptionSeparator separator() const { return m_captions.separator(); }

    void add(const Caption &caption);
    /// Takes captions away that are too old, and shows the next block to be read. Call on each
    /// frame, before its pictures.
    void advance();
    /// The pictures that are made now show what has been added since the last ones. Returns how
    /// many captions are shown to their end by them; `isSeen`: their delay counts.
    qsizetype measureShown(bool isSeen);

    /// On screen now, oldest first; in easy reading its block alone.
    [[nodiscard]] QStringList phrases() const;
    /// Something is on screen now, or waits to be read.
    [[nodiscard]] bool hasPhrases() const;

    /// Takes away what is on screen, and lets go of what waits.
    void clear();
    /// What no picture has shown by now none will show; it is told all the same, for the files.
    void letGo();

    [[nodiscard]] DelayMeter &delays() { return m_delays; }
    [[nodiscard]] const DelayMeter &delays() const { return m_delays; }

Q_SIGNALS:
    /// `phrases` has changed.
    void changed();
    /// The pictures that are made now are the first with the caption, or with its first word.
    void captionShown(const nimbara::Caption &caption);
    /// In easy reading: they are the first with the block; empty: without any.
    void blockShown(const QString &block);
    /// The pace of reading is raised, or is the usual one again.
    void paceChanged(bool isHurried);

private:
    void advanceReading();
    void tellBegun(qsizetype count);
    void tellUnshown();
    [[nodiscard]] bool isReading() const { return separator() == CaptionSeparator::Reading; }
    [[nodiscard]] std::int64_t nowMs() const { return m_clock.monotonicUs() / 1000; }

    const Clock &m_clock;
    CaptionText m_captions;
    Reading m_reading;
    std::deque<Caption> m_unshown; ///< those that no picture has shown to the end
    qsizetype m_begun = 0; ///< of them, those of which some is shown
    DelayMeter m_delays;
};

} // namespace nimbara
