#pragma once

#include <QObject>

namespace nimbara {

/// The wheel changes only what has the focus: over any other list, spin box or slider it scrolls
/// what lies around. To be installed on the application.
class WheelGuard final : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace nimbara
