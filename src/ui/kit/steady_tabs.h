#pragma once

#include <QTabWidget>

namespace nimbara {

/// Tabs that keep their height whichever page shows. The toolkit's take another height for pages
/// with wrapped texts, so that the monitors above would jump at every change of page.
class SteadyTabs final : public QTabWidget {
public:
    using QTabWidget::QTabWidget;
    [[nodiscard]] bool hasHeightForWidth() const override { return false; }
};

} // namespace nimbara
