#include "translation/pipeline/engine.h"

namespace nimbara {

// What the operator may do with the captions before they are handed out.

void Translation::setHold(std::int64_t ms)
{
    m_hold.setDelay(ms);
    releaseHeld();
}

void Translation::editHeld(std::int64_t id)
{
    m_hold.edit(id, m_clock.monotonicUs() / 1000);
}

void Translation::leaveHeld(std::int64_t id)
{
    m_hold.leave(id);
    releaseHeld();
}

void Translation::changeHeld(std::int64_t id, const QString &text)
{
    m_hold.change(id, text);
    heldChanged();
    releaseHeld();
}

void Translation::dropHeld(std::int64_t id)
{
    m_hold.drop(id);
    heldChanged();
    releaseHeld();
}

void Translation::releaseHeld()
{
    const std::int32_t generation = requestGeneration();
    bool changed = false;
    while (isCurrent(generation)) {
        const auto held = m_hold.take(m_clock.monotonicUs() / 1000);
        if (!held) {
            break;
        }
        changed = true;
        letPass(*held);
        if (held->wasLeft && isCurrent(generation)) {
            statusChanged("El subtítulo salió como estaba: su corrección tardó más de 30 s.");
        }
    }
    if (changed) {
        heldChanged();
    }
}

std::vector<Caption> Translation::takeHeld()
{
    std::vector<Caption> captions;
    for (const CaptionHold::Held &held : m_hold.takeAll()) {
        captions.push_back(held.caption);
        captions.back().times.passed = m_clock.wallMs();
    }
    if (!captions.empty()) {
        heldChanged();
    }
    return captions;
}

} // namespace nimbara
