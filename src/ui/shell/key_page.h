#pragma once

#include "ui/kit/key_map.h"

#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>

#include <optional>

namespace nimbara {

/// All that can be done by key, and how: each can be changed by pressing other keys. A key that is
/// taken is told of with the name of what has it. Stays open beside the window.
class KeyPage : public QDialog {
    Q_OBJECT
public:
    /// `keys` must outlive the page. `clicker`: foot switches and clickers are listened to.
    KeyPage(KeyMap &keys, bool clicker, QWidget *parent);

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// Foot switches and clickers are to be listened to, or no more.
    void clickerChosen(bool on);

private:
    enum class Wanted : std::int32_t { Nothing, Other, Another };

    void layOut();
    void makeRows();
    void showKeys();
    void ask(Wanted wanted);
    void tell(const QString &text);
    void take(const QKeySequence &key);
    [[nodiscard]] QString alsoDone(KeyAction action, const QKeySequence &key) const;
    void removeKeys();
    [[nodiscard]] std::optional<KeyAction> chosen() const;

    KeyMap &m_keys;
    QTableWidget *m_table;
    QLabel *m_note;
    QPushButton *m_change;
    QPushButton *m_add;
    QPushButton *m_remove;
    QCheckBox *m_clicker;
    Wanted m_wanted = Wanted::Nothing; ///< of the next key
};

} // namespace nimbara
