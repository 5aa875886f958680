#pragma once

#include "base/notices.h"

#include <QWidget>

namespace nimbara {

/// The notices that stand, each with a button that says it is read. Takes no room without any.
class NoticeBar : public QWidget {
    Q_OBJECT
public:
    static constexpr int mostRows = 3; ///< newest first; the rest is counted

    /// `notices` must outlive the bar.
    explicit NoticeBar(Notices &notices, QWidget *parent = nullptr);

private:
    void show();
    void addRow(const Notices::Notice &notice);

    Notices &m_notices;
};

} // namespace nimbara
