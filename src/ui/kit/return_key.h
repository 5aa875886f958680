#pragma once

#include <QObject>

class QKeyEvent;
class QWidget;

namespace nimbara {

/// Space is TAKE wherever the operator is not typing, so Return does in the main window what Space
/// does elsewhere: it presses the focused button, switches the focused check box or the check of
/// the current list entry, and opens the focused list of choices. Dialogs keep their own keys.
class ReturnKey : public QObject {
    Q_OBJECT
public:
    /// Watches the application's keys for as long as it lives. `window` must outlive it.
    explicit ReturnKey(QWidget &window);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget &m_window;
};

} // namespace nimbara
