#include "ui/kit/key_map.h"

#include <QAction>
#include <QKeyEvent>
#include <QSettings>
#include <QWidget>

#include <algorithm>

namespace nimbara {

namespace {

const QString group = QStringLiteral("keys");

QString settingOf(const KeyRow &row)
{
    return group + QLatin1Char('/') + QLatin1String(row.id);
}

QString portable(const QList<QKeySequence> &keys)
{
    return QKeySequence::listToString(keys, QKeySequence::PortableText);
}

} // namespace

QKeySequence sequenceOf(const QKeyEvent &event)
{
    Qt::KeyboardModifiers held = event.modifiers() & ~Qt::KeypadModifier;
    const QString typed = event.text();
    if (typed.size() == 1 && typed.front().isPrint() && !typed.front().isLetter()
        && typed.front() != QLatin1Char(' ')) {
        held &= ~Qt::ShiftModifier;
    }
    return QKeyCombination(held, static_cast<Qt::Key>(event.key()));
}

KeyMap::KeyMap(QObject *parent)
    : QObject(parent)
{
    for (const KeyRow &row : keyTable()) {
        m_keys.push_back(defaultKeys(row.action));
    }
}

void KeyMap::remember(QSettings &settings)
{
    m_settings = &settings;
    read();
}

/// A key that the settings give to two actions is the first one's.
void KeyMap::read()
{
    for (const KeyRow &row : keyTable()) {
        const QVariant kept = m_settings->value(settingOf(row));
        if (kept.isValid()) {
            m_keys[static_cast<std::size_t>(row.action)]
                = QKeySequence::listFromString(kept.toString(), QKeySequence::PortableText);
        }
    }
    for (const KeyRow &row : keyTable()) {
        m_keys[static_cast<std::size_t>(row.action)].removeIf([&](const QKeySequence &key) {
            const auto other = holder(key, row.action);
            return key.isEmpty() || (other && *other < row.action);
        });
    }
    Q_EMIT changed();
}

const QList<QKeySequence> &KeyMap::keys(KeyAction action) const
{
    return m_keys[static_cast<std::size_t>(action)];
}

bool KeyMap::has(KeyAction action, const QKeySequence &key) const
{
    return keys(action).contains(key);
}

std::optional<KeyAction> KeyMap::holder(const QKeySequence &key, KeyAction asking) const
{
    const KeyPlace place = keyRow(asking).place;
    for (const KeyRow &row : keyTable()) {
        if (row.action != asking && placesMeet(row.place, place) && has(row.action, key)) {
            return row.action;
        }
    }
    return std::nullopt;
}

void KeyMap::setKeys(KeyAction action, const QList<QKeySequence> &keys)
{
    m_keys[static_cast<std::size_t>(action)] = keys;
    if (m_settings != nullptr) {
        m_settings->setValue(settingOf(keyRow(action)), portable(keys));
    }
    Q_EMIT changed();
}

void KeyMap::reset()
{
    for (const KeyRow &row : keyTable()) {
        m_keys[static_cast<std::size_t>(row.action)] = defaultKeys(row.action);
    }
    if (m_settings != nullptr) {
        m_settings->remove(group);
    }
    Q_EMIT changed();
}

void KeyMap::bind(QAction *action, KeyAction what) const
{
    const auto show = [this, action, what] { action->setShortcuts(keys(what)); };
    show();
    connect(this, &KeyMap::changed, action, show);
}

void KeyMap::hint(QWidget *widget, const QString &text, KeyAction what) const
{
    const auto show = [this, widget, text, what] {
        const QString keys = this->text(what);
        widget->setToolTip(keys.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, keys));
    };
    show();
    connect(this, &KeyMap::changed, widget, show);
}

} // namespace nimbara
