#pragma once

#include <QScrollArea>

class QTabWidget;

namespace nimbara {

/// A page behind a scroll bar for windows that are too low for it; it is never narrower than the
/// page needs, so that nothing is cut off at its side.
class PageScroll final : public QScrollArea {
public:
    /// Takes the page.
    explicit PageScroll(QWidget *page);

    [[nodiscard]] QSize minimumSizeHint() const override;
    /// The height at which nothing has to be scrolled.
    [[nodiscard]] int heightForWidth(int width) const override;

    bool eventFilter(QObject *watched, QEvent *event) override;
};

/// The tab that shows the widget, itself or behind a scroll bar; −1 without.
int tabOf(const QTabWidget &tabs, const QWidget *page);

} // namespace nimbara
