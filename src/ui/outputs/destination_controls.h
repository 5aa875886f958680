#pragma once

#include "studio/outputs/service_health.h"
#include "studio/outputs/stream_desk.h"
#include "ui/kit/error_guard.h"
#include "ui/outputs/outputs_tab.h"

#include <QObject>

namespace nimbara {

/// The rows of the four stream destinations: hands the desk what the operator does in them, and
/// shows what the desk tells. While a start waits for its key its button takes no press. Interface
/// thread only.
class DestinationControls : public QObject {
    Q_OBJECT
public:
    /// All must outlive the controls.
    DestinationControls(StreamDesk &desk,
        const ServiceHealth &health,
        const ErrorGuard &guard,
        OutputsTab &tab);

    /// Shows what the slots do now.
    void showDestinations();
    /// Shows how those that are on air do.
    void showHealth();

private:
    void connectTab();
    void showDestination(std::size_t slot);
    void showCurve(std::size_t slot);
    [[nodiscard]] QString figuresText(std::size_t slot, const SlotHealth &health) const;

    StreamDesk &m_desk;
    const ServiceHealth &m_health;
    OutputsTab &m_tab;
};

} // namespace nimbara
