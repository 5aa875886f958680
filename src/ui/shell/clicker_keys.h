#pragma once

#include "ui/kit/key_map.h"

#include <QObject>

class QKeyEvent;
class QWidget;

namespace nimbara {

/// Foot switches and clickers, which send the keys of a slide show. While they are listened to,
/// their keys reach the studio in whichever of its windows they arrive, but never while something
/// is typed; arrows stay with lists, sliders and whatever else turns them into a choice. Interface
/// thread only.
class ClickerKeys : public QObject {
    Q_OBJECT
public:
    /// Watches the application's keys for as long as it lives. `keys` must outlive it.
    explicit ClickerKeys(const KeyMap &keys, QObject *parent = nullptr);

    void listen(bool on) { m_isListening = on; }
    [[nodiscard]] bool isListening() const { return m_isListening; }

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// One of the clicker's actions is wanted.
    void pressed(nimbara::KeyAction action);

private:
    [[nodiscard]] bool take(const QWidget &widget, const QKeyEvent &key);

    const KeyMap &m_keys;
    bool m_isListening = false;
};

} // namespace nimbara
