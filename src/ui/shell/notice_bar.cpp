#include "ui/shell/notice_bar.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

namespace nimbara {

NoticeBar::NoticeBar(Notices &notices, QWidget *parent)
    : QWidget(parent)
    , m_notices(notices)
{
    setObjectName(QStringLiteral("notices"));
    auto *rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(4);
    connect(&notices, &Notices::changed, this, &NoticeBar::show);
    show();
}

void NoticeBar::show()
{
    while (QLayoutItem *item = layout()->takeAt(0)) {
        item->widget()->hide();
        item->widget()->deleteLater(); // it may be the one whose button was pressed
        delete item;
    }
    const std::vector<Notices::Notice> &all = m_notices.all();
    const auto shown = std::min<std::size_t>(all.size(), mostRows);
    std::for_each(all.rbegin(),
        all.rbegin() + static_cast<std::ptrdiff_t>(shown),
        [this](const Notices::Notice &notice) { addRow(notice); });
    if (all.size() > shown) {
        layout()->addWidget(new QLabel(nimbara_i18n::tr("… y %1 más").arg(all.size() - shown)));
    }
    setVisible(!all.empty());
}

void NoticeBar::addRow(const Notices::Notice &notice)
{
    auto *row = new QWidget;
    row->setObjectName(QStringLiteral("notice"));
    row->setAttribute(Qt::WA_StyledBackground);
    auto *line = new QHBoxLayout(row);
    line->setContentsMargins(10, 4, 4, 4);
    const QString text = nimbara_i18n::tr(notice.text);
    auto *label = new QLabel(QStringLiteral("⚠ ") + text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    line->addWidget(label, 1);
    auto *read = makeButton("Entendido", "noticeRead");
    read->setFocusPolicy(Qt::TabFocus); // a click leaves the keyboard where it was
    read->setAccessibleName(nimbara_i18n::tr("Entendido") + QStringLiteral(": ") + text);
    connect(read, &QPushButton::clicked, &m_notices, [this, id = notice.id] {
        m_notices.settle(id);
    });
    line->addWidget(read);
    layout()->addWidget(row);
}

} // namespace nimbara
