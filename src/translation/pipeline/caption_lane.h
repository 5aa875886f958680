#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "translation/pipeline/caption.h"
#include "translation/pipeline/caption_hold.h"
#include "translation/pipeline/glossary.h"
#include "translation/pipeline/phrase_order.h"
#include "translation/pipeline/request_line.h"
#include "translation/pipeline/transcript_memory.h"
#include "translation/service/language_service.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace nimbara {

/// One language of a run, from what was heard to its captions: asks for the translations and hands
/// them out strictly in the order of their phrases, each held for a while when the operator wants
/// it. When a request is sent, and whether once more, is its owner's affair.
///
/// Interface thread only. A callback may close the lane or open it anew: nothing of before is told
/// after that.
class CaptionLane {
public:
    /// Both must outlive the lane. `target`: of its captions.
    CaptionLane(const Clock &clock, LanguageService &service, Target target);

    /// Begins a run into the language, by its name for the model. What is still held is dropped.
    void open(const QString &language);
    /// Ends the run. What is held by then is had from `takeHeld`, until the next one.
    void close();
    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] const QString &language() const { return m_language; }

    /// What the translations keep to from now on.
    void setGlossary(const Glossary &glossary) { m_glossary = glossary; }
    [[nodiscard]] const Glossary &glossary() const { return m_glossary; }

    /// The number of a new phrase that ended at `phraseTimeMs`, see `PhraseOrder`.
    std::int32_t take(std::int64_t phraseTimeMs) { return m_order.take(phraseTimeMs); }
    /// The phrase is late for no fault of its own: it may take as long again from now on.
    void waitFrom(std::int32_t sequence) { m_order.waitFrom(sequence, m_clock.wallMs()); }
    /// The same for all that are under way.
    void waitAll() { m_order.waitAllFrom(m_clock.wallMs()); }
    /// The phrase whose turn it is.
    [[nodiscard]] std::int32_t awaited() const { return m_order.awaited(); }
    /// The phrase has not been skipped.
    [[nodiscard]] bool isAwaited(std::int32_t sequence) const
    {
        return m_order.isAwaited(sequence);
    }

    /// Gives a request what was said before it as its context, and keeps its text for the next.
    void remember(PhraseRequest &request);
    /// Takes a text back that got no translation.
    void forget(const QString &text) { m_memory.forget(text); }
    /// Asks for its translation; `answered` or `failed` tells what came of it.
    void ask(PhraseRequest request);
    /// What is shown of the phrase; empty: nothing.
    void store(std::int32_t sequence, const QString &text) { m_order.store(sequence, text); }

    /// Hands out the translations whose turn has come, and gives up the next phrase when it is too
    /// late and may be skipped.
    void release(bool maySkip);

    /// Every caption is held for so long before it is handed out: 0 to `CaptionHold::longestMs`.
    void setHold(std::int64_t ms);
    [[nodiscard]] const CaptionHold &held() const { return m_hold; }
    /// What the operator does with a caption that is held, see `CaptionHold`.
    void editHeld(std::int64_t id);
    void leaveHeld(std::int64_t id);
    void changeHeld(std::int64_t id, const QString &text);
    void dropHeld(std::int64_t id);
    /// Hands out the captions that were held long enough. Call it often.
    void releaseHeld();
    /// All that are held, in their order.
    [[nodiscard]] std::vector<Caption> takeHeld();
    void clearHeld() { m_hold.clear(); }

    /// The translation of a phrase has come, and is to be stored.
    std::function<void(std::int32_t sequence, const QString &text)> answered
        = [](std::int32_t, const QString &) {};
    /// There is none, see `LanguageService::Failed`.
    std::function<void(const PhraseRequest &request, int status)> failed
        = [](const PhraseRequest &, int) {};
    /// What is shown in place of a translation; asked in the order of the phrases. Empty: the
    /// phrase is not shown.
    std::function<QString(const QString &original, const QString &translation)> finalText
        = [](const QString &, const QString &translation) { return translation; };
    /// The next caption, and when its phrase ended: milliseconds since the epoch, 0 when unknown.
    std::function<void(const Caption &caption, std::int64_t phraseTimeMs)> passed
        = [](const Caption &, std::int64_t) {};
    /// The captions that are held, or the text of one, have changed.
    std::function<void()> heldChanged = [] {};
    std::function<void(const Message &message)> statusChanged = [](const Message &) {};

private:
    void show(const PhraseOrder::Released &phrase, Caption shown);
    void letPass(const CaptionHold::Held &held);
    [[nodiscard]] bool isCurrent(std::int32_t run) const { return m_isOpen && m_run == run; }

    const Clock &m_clock;
    LanguageService &m_service;
    const Target m_target;
    QString m_language;
    Glossary m_glossary;
    PhraseOrder m_order;
    std::map<std::int32_t, Caption> m_translated; ///< without their text
    TranscriptMemory m_memory;
    CaptionHold m_hold;
    bool m_isOpen = false;
    std::int32_t m_run = 0; ///< raised by each end of one
};

} // namespace nimbara
