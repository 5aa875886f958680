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
    connect(tab, &TranslationTab::testKeyPressed, desk, &TranslationDesk::testKey);
    connect(tab, &TranslationTab::saveKeyChanged, desk, &TranslationDesk::setKeepsKey);
    connect(tab, &TranslationTab::spanishPressed, desk, [desk] {
        desk->switchTarget(QStringLiteral("Spanish"));
    });
    connect(tab, &TranslationTab::englishPressed, desk, [desk] {
        desk->switchTarget(QStringLiteral("English"));
    });
    connect(tab, &TranslationTab::targetEdited, desk, &TranslationDesk::chooseTarget);
    connect(tab, &TranslationTab::voiceChanged, desk, &TranslationDesk::setVoice);
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
    const HoldRow *row = m_tab.holdRow();
    TranslationDesk *desk = &m_desk;
    connect(&m_tab, &TranslationTab::holdChosen, desk, &TranslationDesk::setHoldSeconds);
    connect(row, &HoldRow::editBegun, desk, &TranslationDesk::editHeld);
    connect(row, &HoldRow::editLeft, desk, &TranslationDesk::leaveHeld);
    connect(row, &HoldRow::changed, desk, &TranslationDesk::changeHeld);
    connect(row, &HoldRow::dropped, desk, &TranslationDesk::dropHeld);
    connect(row, &HoldRow::glossaryPressed, this, [this](const QString &words) {
        openGlossary();
        m_glossary->propose(words);
    });
    connect(desk, &TranslationDesk::heldChanged, this, &TranslationControls::showHeld);
    showHeld();
}

/// The row has its place while there is anything to hold.
void TranslationControls::showHeld()
{
    const auto &waiting = m_desk.held().waiting();
    m_tab.holdRow()->setVisible(m_desk.holdSeconds() > 0 || !waiting.empty());
    if (waiting.empty()) {
        m_tab.holdRow()->showNext({});
        return;
    }
    const CaptionHold::Held &next = waiting.front();
    m_tab.holdRow()->showNext(
        { next.id, next.caption.text, next.caption.original, waiting.size() - 1 });
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
            [this] { return m_desk.target(); },
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

void TranslationControls::showDelay()
{
    const DelayMeter::Figures figures = m_desk.delayFigures();
    m_tab.showDelay(nimbara_i18n::tr(delay_text::summary(figures)),
        nimbara_i18n::tr(delay_text::stages(figures)),
        figures.grows);
    m_tab.delayCurve()->setPoints(m_desk.delayCurve());
}

void TranslationControls::show()
{
    m_tab.showSettings({ m_desk.keepsKey(),
        m_desk.target(),
        m_desk.voice(),
        m_desk.liveMode(),
        m_desk.captionsShown(),
        static_cast<int>(m_desk.separator()),
        m_spoken.goesOnAir(),
        m_desk.holdSeconds() });
    showHeld();
    m_tab.showRunning(m_desk.running());
    m_tab.showRoad(nimbara_i18n::tr(nameOf(m_desk.road())));
    m_tab.setStartEnabled(!m_desk.isWaiting());
}

} // namespace nimbara
