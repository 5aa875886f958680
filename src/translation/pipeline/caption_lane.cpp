#include "translation/pipeline/caption_lane.h"

#include <utility>

namespace nimbara {

CaptionLane::CaptionLane(const Clock &clock, LanguageService &service, Target target)
    : m_clock(clock)
    , m_service(service)
    , m_target(target)
{
}

void CaptionLane::open(const QString &language)
{
    close();
    clearHeld();
    m_language = language;
    m_isOpen = true;
}

void CaptionLane::close()
{
    m_isOpen = false;
    ++m_run;
    m_order.clear();
    m_translated.clear();
    m_memory.clear();
}

void CaptionLane::remember(PhraseRequest &request)
{
    request.context = m_memory.context();
    m_memory.addOriginal(request.text);
}

void CaptionLane::ask(PhraseRequest request)
{
    request.times.asked = m_clock.wallMs();
    m_service.translate(
        { m_language, request.context, request.text, m_glossary.toldFor(request.text) },
        [this, request](const QString &text) {
            const QString translated = m_glossary.held(request.text, text);
            m_memory.addTranslation(translated);
            if (m_order.isAwaited(request.sequence)) {
                Caption &done = m_translated[request.sequence];
                done = { {}, request.text, request.times, m_target };
                done.times.translated = m_clock.wallMs();
            }
            answered(request.sequence, translated);
        },
        [this, request](int status) { failed(request, status); });
}

void CaptionLane::release(bool maySkip)
{
    const std::int32_t run = m_run;
    if (isCurrent(run) && maySkip && m_order.skipLate(m_clock.wallMs())) {
        statusChanged("Se omitió un segmento lento para no detener la pantalla.");
    }
    while (isCurrent(run)) {
        const std::int32_t sequence = m_order.awaited();
        const auto phrase = m_order.next();
        if (!phrase) {
            return;
        }
        const auto translated = m_translated.extract(sequence);
        if (!phrase->text.isEmpty() && translated) {
            show(*phrase, translated.mapped());
        }
    }
}

void CaptionLane::show(const PhraseOrder::Released &phrase, Caption shown)
{
    const std::int32_t run = m_run;
    shown.text = finalText(shown.original, phrase.text).trimmed();
    if (shown.text.isEmpty() || !isCurrent(run)) {
        return;
    }
    const std::int64_t now = m_clock.monotonicUs() / 1000;
    if (m_hold.delayMs() == 0 && m_hold.waiting().empty()) {
        letPass({ 0, shown, phrase.phraseTimeMs, now });
        return;
    }
    m_hold.add(shown, phrase.phraseTimeMs, now);
    heldChanged();
}

void CaptionLane::letPass(const CaptionHold::Held &held)
{
    Caption shown = held.caption;
    shown.times.passed = m_clock.wallMs();
    passed(shown, held.phraseTimeMs);
}

void CaptionLane::setHold(std::int64_t ms)
{
    m_hold.setDelay(ms);
    releaseHeld();
}

void CaptionLane::editHeld(std::int64_t id)
{
    m_hold.edit(id, m_clock.monotonicUs() / 1000);
}

void CaptionLane::leaveHeld(std::int64_t id)
{
    m_hold.leave(id);
    releaseHeld();
}

void CaptionLane::changeHeld(std::int64_t id, const QString &text)
{
    m_hold.change(id, text);
    heldChanged();
    releaseHeld();
}

void CaptionLane::dropHeld(std::int64_t id)
{
    m_hold.drop(id);
    heldChanged();
    releaseHeld();
}

void CaptionLane::releaseHeld()
{
    const std::int32_t run = m_run;
    bool changed = false;
    while (isCurrent(run)) {
        const auto held = m_hold.take(m_clock.monotonicUs() / 1000);
        if (!held) {
            break;
        }
        changed = true;
        letPass(*held);
        if (held->wasLeft && isCurrent(run)) {
            statusChanged("El subtítulo salió como estaba: su corrección tardó más de 30 s.");
        }
    }
    if (changed) {
        heldChanged();
    }
}

std::vector<Caption> CaptionLane::takeHeld()
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
