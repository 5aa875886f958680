#include "ui/kit/page_scroll.h"

#include <QEvent>
#include <QLayout>
#include <QScrollBar>
#include <QTabWidget>

namespace nimbara {

namespace {

constexpr int leastHeight = 60; ///< pixels

} // namespace

PageScroll::PageScroll(QWidget *page)
{
    setWidget(page);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
}

QSize PageScroll::minimumSizeHint() const
{
    return { widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width(),
        leastHeight };
}

int PageScroll::heightForWidth(int width) const
{
    const QLayout *rows = widget()->layout();
    return rows->hasHeightForWidth() ? rows->totalMinimumHeightForWidth(width)
                                     : rows->totalMinimumSize().height();
}

bool PageScroll::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == widget() && event->type() == QEvent::LayoutRequest) {
        updateGeometry();
    }
    return QScrollArea::eventFilter(watched, event);
}

int tabOf(const QTabWidget &tabs, const QWidget *page)
{
    for (int tab = 0; tab < tabs.count(); ++tab) {
        if (tabs.widget(tab) == page || tabs.widget(tab)->isAncestorOf(page)) {
            return tab;
        }
    }
    return -1;
}

} // namespace nimbara
