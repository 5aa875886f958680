#pragma once

#include "studio/studio.h"
#include "ui/captions/glossary_dialog.h"
#include "ui/captions/prices_dialog.h"
#include "ui/captions/translation_tab.h"
#include "ui/kit/error_guard.h"
#include "ui/kit/key_map.h"

#include <QObject>
#include <QPointer>

namespace nimbara {

/// The translation controls: hands the desk what the operator does in them, and shows what the desk
/// tells. While a start waits for its key its button takes no press. Interface thread only.
class TranslationControls : public QObject {
    Q_OBJECT
public:
    /// Everything referred to must outlive the controls.
    TranslationControls(Studio &studio,
        const ErrorGuard &guard,
        const KeyMap &keys,
        TranslationTab &tab);

private:
    void connectTab();
    void connectDesk(const ErrorGuard &guard);
    void show();
    void showDelay();
    void connectHold();
    void showHeld();
    void showNext(HoldRow &row, Target target);
    void openGlossary();
    void openPrices();
    void showCost();

    TranslationDesk &m_desk;
    SpokenVerses &m_spoken;
    Document &m_document;
    CostDesk &m_costs;
    const KeyMap &m_keys;
    TranslationTab &m_tab;
    QPointer<GlossaryDialog> m_glossary; ///< while it is open
    QPointer<PricesDialog> m_prices; ///< the same
};

} // namespace nimbara
