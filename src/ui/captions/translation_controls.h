#pragma once

#include "studio/services/translation_desk.h"
#include "ui/captions/translation_tab.h"
#include "ui/kit/error_guard.h"

#include <QObject>

namespace nimbara {

/// The translation controls: hands the desk what the operator does in them, and shows what the desk
/// tells. While a start waits for its key its button takes no press. Interface thread only.
class TranslationControls : public QObject {
    Q_OBJECT
public:
    /// Everything referred to must outlive the controls.
    TranslationControls(TranslationDesk &desk, const ErrorGuard &guard, TranslationTab &tab);

private:
    void connectTab();
    void connectDesk(const ErrorGuard &guard);
    void show();
    void showDelay();

    TranslationDesk &m_desk;
    TranslationTab &m_tab;
};

} // namespace nimbara
