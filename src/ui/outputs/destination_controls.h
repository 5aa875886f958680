#pragma once

#include "studio/studio.h"
#include "ui/kit/dialogs.h"
#include "ui/kit/error_guard.h"
#include "ui/outputs/outputs_tab.h"

#include <QObject>

namespace nimbara {

/// The rows of the four stream destinations: hands the desk what the operator does in them, and
/// shows what the desk tells. While a start waits for its key its button takes no press. The same
/// for their encoder and for the test of the line, which asks first. Interface thread only.
class DestinationControls : public QObject {
    Q_OBJECT
public:
    /// All must outlive the controls.
    DestinationControls(Studio &studio, Dialogs &dialogs, const ErrorGuard &guard, OutputsTab &tab);

    /// Shows what the slots do now.
    void showDestinations();
    /// Shows how those that are on air do.
    void showHealth();

private:
    void connectTab();
    void connectLineTest(const ErrorGuard &guard);
    void toggleLineTest();
    void saveKeys();
    void showDestination(std::size_t slot);
    void showCurve(std::size_t slot);
    [[nodiscard]] QString figuresText(std::size_t slot, const SlotHealth &health) const;

    StreamDesk &m_desk;
    const ServiceHealth &m_health;
    LineTest &m_lineTest;
    Dialogs &m_dialogs;
    OutputsTab &m_tab;
};

} // namespace nimbara
