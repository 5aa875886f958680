#pragma once

#include "ui/kit/key_table.h"

#include <QObject>

#include <optional>
#include <vector>

class QAction;
class QSettings;
class QKeyEvent;
class QWidget;

namespace nimbara {

/// What was pressed. A sign that takes Shift to be typed is that sign; the keypad is like the
/// others.
QKeySequence sequenceOf(const QKeyEvent &event);

/// The keys of the actions as the operator has them. What shows or listens to keys is bound to it
/// and follows every change. Interface thread only.
class KeyMap : public QObject {
    Q_OBJECT
public:
    /// With the keys from the start.
    explicit KeyMap(QObject *parent = nullptr);

    /// Takes over what the settings hold, and writes changes there from now on.
    void remember(QSettings &settings);

    [[nodiscard]] const QList<QKeySequence> &keys(KeyAction action) const;
    /// As the operator reads them; empty for none.
    [[nodiscard]] QString text(KeyAction action) const { return keyText(keys(action)); }
    [[nodiscard]] bool has(KeyAction action, const QKeySequence &key) const;
    /// The action that has the key where `asking` would want it; none when it is free or its own.
    [[nodiscard]] std::optional<KeyAction> holder(const QKeySequence &key, KeyAction asking) const;
    /// The keys must be free (`holder`).
    void setKeys(KeyAction action, const QList<QKeySequence> &keys);
    /// All keys as they were from the start.
    void reset();

    /// Gives the action its keys for as long as both live.
    void bind(QAction *action, KeyAction what) const;
    /// Ends a tool tip with the keys, in brackets. `text` is translated already.
    void hint(QWidget *widget, const QString &text, KeyAction what) const;

Q_SIGNALS:
    void changed();

private:
    void read();

    std::vector<QList<QKeySequence>> m_keys; ///< by the action's number
    QSettings *m_settings = nullptr;
};

} // namespace nimbara
