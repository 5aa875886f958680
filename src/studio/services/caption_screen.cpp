#include "studio/services/caption_screen.h"

#include <algorithm>

namespace nimbara {

void CaptionScreen::setSeparator(CaptionSeparator separator)
{
    letGo(); // read as they came
    m_captions.setSeparator(separator);
    Q_EMIT changed();
}

QStringList CaptionScreen::phrases() const
{
    if (!isReading()) {
        return m_captions.captionPhrases();
    }
    return m_reading.block().isEmpty() ? QStringList() : QStringList(m_reading.block());
}

bool CaptionScreen::hasPhrases() const
{
    return !phrases().isEmpty() || (isReading() && m_reading.backlogMs() > 0);
}

void CaptionScreen::add(const Caption &caption)
{
    m_captions.addCaption(caption.text, m_clock.wallMs());
    if (!isReading()) {
        m_unshown.push_back(caption);
        Q_EMIT changed();
        return;
    }
    if (m_reading.add(caption.text)) {
        m_unshown.push_back(caption);
    }
    advanceReading();
}

void CaptionScreen::advance()
{
    if (m_captions.clearOld(m_clock.wallMs())) {
        Q_EMIT changed();
    }
    if (isReading()) {
        advanceReading();
    }
}

void CaptionScreen::advanceReading()
{
    const bool wasHurried = m_reading.isHurried();
    if (m_reading.advance(nowMs())) {
        Q_EMIT changed();
        Q_EMIT blockShown(m_reading.block());
    }
    if (m_reading.isHurried() != wasHurried) {
        Q_EMIT paceChanged(!wasHurried);
    }
}

qsizetype CaptionScreen::measureShown(bool isSeen)
{
    const auto waiting = static_cast<qsizetype>(m_unshown.size());
    const Reading::Shown read = m_reading.takeShown();
    tellBegun(isReading() ? read.begun : waiting - m_begun);
    const qsizetype shown = isReading() ? std::min(read.ended, waiting) : waiting;
    for (qsizetype i = 0; i < shown; ++i) {
        PhraseTimes &times = m_unshown.front().times;
        times.shown = m_clock.wallMs();
        if (isSeen) {
            m_delays.add(times);
        }
        m_unshown.pop_front();
        m_begun = std::max<qsizetype>(m_begun - 1, 0);
    }
    return shown;
}

/// Some of so many more captions is shown.
void CaptionScreen::tellBegun(qsizetype count)
{
    const auto waiting = static_cast<qsizetype>(m_unshown.size());
    for (; count > 0 && m_begun < waiting; --count) {
        Q_EMIT captionShown(m_unshown.at(static_cast<std::size_t>(m_begun++)));
    }
}

void CaptionScreen::clear()
{
    m_captions.clear();
    letGo();
    Q_EMIT changed();
}

void CaptionScreen::letGo()
{
    tellUnshown();
    m_reading.clear();
    m_unshown.clear();
    m_begun = 0;
    Q_EMIT blockShown({});
}

void CaptionScreen::tellUnshown()
{
    tellBegun(static_cast<qsizetype>(m_unshown.size()));
    std::int64_t ms = nowMs();
    while (m_reading.backlogMs() > 0) {
        ms += Reading::lifetimeMs; // every block is read by then
        m_reading.advance(ms);
        Q_EMIT blockShown(m_reading.block());
    }
}

} // namespace nimbara
