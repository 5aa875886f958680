#include "ui/captions/translation_controls.h"

#include "base/i18n.h"
#include "translation/pipeline/delay_text.h"
#include "translation/pipeline/heard_line.h"
#include "ui/kit/key_field.h"

namespace nimbara {

namespace {

Message nameOf(VoiceRoad road)
{
    switch (road) {
    case VoiceRoad::Live:
        return "En vivo";
    case VoiceRoad::Phrases:
        return "Por frases";
    case VoiceRoad::Waiting:
        return "En espera de la red";
    case VoiceRoad::Stopped:
        break;
    }
    return {};
}

HoldRow *rowOf(const TranslationTab &tab, Target target)
{
    return target == Target::First ? tab.holdRow() : tab.secondHoldRow();
}

} // namespace

TranslationControls::TranslationControls(Studio &studio,
    const ErrorGuard &guard,
    const KeyMap &keys,
    TranslationTab &tab)
    : m_desk(studio.translation())
    , m_spoken(studio.spokenVerses())
    , m_document(studio.document())
    , m_costs(studio.costs())
    , m_keys(keys)
    , m_tab(tab)
{
    show();
    bindKeyField(*tab.apiKey(), m_desk.key());
    connectTab();
    connectHold();
    connectDesk(guard);
}

void TranslationControls::connectTab()
{
    const TranslationTab *tab = &m_tab;
    TranslationDesk *desk = &m_desk;
    connect(tab, &TranslationTab::startPressed, desk, &TranslationDesk::toggle);
    connect(tab, &TranslationTab::testKeyPressed, desk, [desk] { desk->testKey(); });
    connect(tab, &TranslationTab::saveKeyChanged, desk, &TranslationDesk::setKeepsKey);
    connect(tab, &TranslationTab::spanishPressed, desk, [desk] {
        desk->switchTarget(QStringLiteral("Spanish"));
    });
    connect(tab, &TranslationTab::englishPressed, desk, [desk] {
        desk->switchTarget(QStringLiteral("English"));
    });
    connect(tab, &TranslationTab::targetEdited, desk, &TranslationDesk::chooseTarget);
    connect(tab, &TranslationTab::secondEdited, desk, &TranslationDesk::chooseSecondTarget);
    connect(tab, &TranslationTab::voiceChanged, desk, &TranslationDesk::setVoice);
    connect(tab, &TranslationTab::voiceLanguageChosen, desk, [desk](int entry) {
        desk->setVoiceTarget(static_cast<Target>(entry));
    });
    connect(tab, &TranslationTab::liveModeChanged, desk, &TranslationDesk::setLiveMode);
    connect(tab, &TranslationTab::separatorChosen, desk, [desk](int entry) {
        desk->setSeparator(captionSeparator(entry));
    });
    connect(tab, &TranslationTab::showSubtitlesChanged, desk, &TranslationDesk::setCaptionsShown);
    connect(tab, &TranslationTab::clearPressed, desk, &TranslationDesk::clearCaptions);
    connect(tab, &TranslationTab::glossaryPressed, this, &TranslationControls::openGlossary);
    connect(tab, &TranslationTab::pricesPressed, this, &TranslationControls::openPrices);
    connect(&m_costs, &CostDesk::changed, this, &TranslationControls::showCost);
    connect(tab, &TranslationTab::spokenOnAirChanged, &m_spoken, &SpokenVerses::setGoesOnAir);
}

void TranslationControls::connectHold()
{
    connect(&m_tab, &TranslationTab::holdChosen, &m_desk, &TranslationDesk::setHoldSeconds);
    connect(&m_desk, &TranslationDesk::heldChanged, this, &TranslationControls::showHeld);
    for (const Target target : bothTargets) {
        const HoldRow *row = rowOf(m_tab, target);
        TranslationDesk *desk = &m_desk;
        connect(row, &HoldRow::editBegun, desk, [desk, target](std::int64_t id) {
            desk->editHeld(target, id);
        });
        connect(row, &HoldRow::editLeft, desk, [desk, target](std::int64_t id) {
            desk->leaveHeld(target, id);
        });
        connect(row, &HoldRow::changed, desk, [desk, target](std::int64_t id, const QString &text) {
            desk->changeHeld(target, id, text);
        });
        connect(row, &HoldRow::dropped, desk, [desk, target](std::int64_t id) {
            desk->dropHeld(target, id);
        });
        connect(row, &HoldRow::glossaryPressed, this, [this, target](const QString &words) {
            openGlossary();
            m_glossary->propose(words, m_desk.languageOf(target)); // of the run that was heard
        });
    }
    showHeld();
}

void TranslationControls::showHeld()
{
    for (const Target target : bothTargets) {
        showNext(*rowOf(m_tab, target), target);
    }
}

/// The row has its place while there is anything to hold.
void TranslationControls::showNext(HoldRow &row, Target target)
{
    const auto &waiting = m_desk.held(target).waiting();
    const bool isOn = m_desk.running();
    const QString second = isOn ? m_desk.languageOf(Target::Second) : m_desk.secondName();
    const QString first = isOn ? m_desk.languageOf(Target::First) : m_desk.targetName();
    const bool isFirst = target == Target::First;
    const bool isWanted = isFirst || !second.isEmpty();
    row.setVisible((m_desk.holdSeconds() > 0 && isWanted) || !waiting.empty());
    row.showLanguage(second.isEmpty() ? QString() : isFirst ? first : second);
    if (waiting.empty()) {
        row.showNext({});
        return;
    }
    const CaptionHold::Held &next = waiting.front();
    row.showNext({ next.id, next.caption.text, next.caption.original, waiting.size() - 1 });
}

void TranslationControls::connectDesk(const ErrorGuard &guard)
{
    const TranslationDesk *desk = &m_desk;
    connect(desk, &TranslationDesk::changed, this, &TranslationControls::show);
    connect(&m_spoken, &SpokenVerses::changed, this, &TranslationControls::show);
    connect(desk, &TranslationDesk::reported, this, [this](const Message &text) {
        m_tab.showStatus(nimbara_i18n::tr(text));
    });
    connect(desk, &TranslationDesk::captionNoted, this, [this](const Message &text) {
        m_tab.showCaptionNotice(nimbara_i18n::tr(text));
    });
    connect(desk, &TranslationDesk::delayed, this, &TranslationControls::showDelay);
    connect(desk, &TranslationDesk::heard, this, [this](const Message &text) {
        m_tab.showHeard(nimbara_i18n::tr(heard::label(nimbara_i18n::tr(text))));
    });
    connect(desk, &TranslationDesk::failed, this, [&guard](const Message &reason) {
        guard.tell(reason);
    });
}

void TranslationControls::openGlossary()
{
    if (!m_glossary) {
        m_glossary = new GlossaryDialog(
            m_document,
            m_keys,
            [this] {
                return m_desk.running() ? m_desk.languageOf(Target::First) : m_desk.targetName();
            },
            m_tab.window());
        m_glossary->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_glossary->show();
    m_glossary->raise();
    m_glossary->activateWindow();
}

void TranslationControls::openPrices()
{
    if (!m_prices) {
        m_prices = new PricesDialog(m_costs, m_tab.window());
        m_prices->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_prices->show();
    m_prices->raise();
    m_prices->activateWindow();
}

void TranslationControls::showCost()
{
    m_tab.showCost(nimbara_i18n::tr(m_costs.summary()), m_costs.isAnyNearLimit());
}

/// A line for each language that has captions; the curve is the first one's.
void TranslationControls::showDelay()
{
    QStringList summaries;
    QStringList stages;
    bool grows = false;
    for (const Target target : bothTargets) {
        const DelayMeter::Figures figures = m_desk.delayFigures(target);
        if (figures.phrases > 0) {
            const auto line = [&](const Message &text) {
                return nimbara_i18n::tr(m_desk.labelled(target, text));
            };
            summaries.append(line(delay_text::summary(figures)));
            stages.append(line(delay_text::stages(figures)));
            grows = grows || figures.grows;
        }
    }
    const QLatin1Char lineBreak('\n');
    m_tab.showDelay(summaries.join(lineBreak), stages.join(lineBreak), grows);
    m_tab.delayCurve()->setPoints(m_desk.delayCurve());
}

void TranslationControls::show()
{
    const bool hasTwo = !m_desk.secondName().isEmpty();
    m_tab.showSettings({ m_desk.keepsKey(),
        m_desk.target(),
        m_desk.voice(),
        m_desk.liveMode(),
        m_desk.captionsShown(),
        static_cast<int>(m_desk.separator()),
        m_spoken.goesOnAir(),
        m_desk.holdSeconds(),
        m_desk.secondTarget(),
        hasTwo ? QStringList { m_desk.targetName(), m_desk.secondName() } : QStringList(),
        static_cast<int>(m_desk.voiceTarget()) });
    showHeld();
    m_tab.showRunning(m_desk.running());
    m_tab.showRoad(nimbara_i18n::tr(nameOf(m_desk.road())));
    m_tab.setStartEnabled(!m_desk.isWaiting());
}

} // namespace nimbara
