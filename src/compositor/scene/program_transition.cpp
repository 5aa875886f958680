#include "compositor/scene/program_transition.h"

#include "compositor/scene/paint_transition.h"

#include <QPainter>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

std::int64_t lengthUs(const Transition &transition)
{
    return std::int64_t { transition.ms } * 1000;
}

} // namespace

void ProgramTransition::start(const Transition &transition, std::int64_t nowUs, PlayingClip clip)
{
    m_transition = transition;
    m_clip = transition.kind == TransitionKind::Clip ? std::move(clip) : PlayingClip {};
    m_startUs = nowUs;
    m_isRunning = transition.kind != TransitionKind::Cut;
    m_isPastCut = false;
    m_from = m_isRunning ? m_shown : QImage();
}

void ProgramTransition::reset()
{
    start(plainCut, 0);
    m_shown = {};
}

void ProgramTransition::comeFrom(const QImage &picture)
{
    if (m_isRunning) {
        m_from = picture;
    }
}

bool ProgramTransition::goesOn(std::int64_t elapsedUs) const
{
    if (m_transition.kind != TransitionKind::Clip) {
        return elapsedUs < lengthUs(m_transition);
    }
    const bool plays = m_clip.picture && elapsedUs < longestClipUs;
    return plays && (elapsedUs < m_clip.cutUs || !m_clip.isOver());
}

QImage ProgramTransition::show(const QImage &picture, std::int64_t nowUs)
{
    const std::int64_t elapsedUs = std::max(nowUs - m_startUs, std::int64_t { 0 });
    if (m_isRunning && !goesOn(elapsedUs)) {
        start(plainCut, nowUs);
    }
    m_shown = m_isRunning ? between(picture, elapsedUs) : picture;
    return m_shown;
}

QImage ProgramTransition::between(const QImage &picture, std::int64_t elapsedUs)
{
    m_from = alike(m_from, picture);
    const bool isClip = m_transition.kind == TransitionKind::Clip;
    m_isPastCut = isClip && elapsedUs >= m_clip.cutUs;
    const QImage &below = isClip && !m_isPastCut ? m_from : picture;
    const FramePtr over = isClip && !m_clip.isOver() ? m_clip.picture() : nullptr;
    if (isClip && !over) {
        return below;
    }
    QImage canvas = m_canvases.take({ picture.width(), picture.height() });
    if (over) {
        paintClip(canvas, below, *over);
    } else {
        const double progress
            = static_cast<double>(elapsedUs) / static_cast<double>(lengthUs(m_transition));
        paintTransition(canvas, m_from, picture, m_transition.kind, progress);
    }
    m_canvases.keep(canvas);
    return canvas;
}

/// What was shown, in the shape of the picture: at its corner on black where it had another.
QImage ProgramTransition::alike(const QImage &shown, const QImage &picture)
{
    if (shown.size() == picture.size() && shown.format() == picture.format()) {
        return shown;
    }
    QImage canvas = m_canvases.take({ picture.width(), picture.height() });
    canvas.fill(Qt::black);
    QPainter(&canvas).drawImage(0, 0, shown);
    m_canvases.keep(canvas);
    return canvas;
}

} // namespace nimbara
