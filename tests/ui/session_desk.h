#pragma once

#include "ui/desk.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QTimer>

namespace nimbara::testing {

/// Driven by mouse and keys alone.
struct SessionDesk : Desk {
    template <typename Widget> Widget *focused(const char *name)
    {
        auto *widget = find<Widget>(name);
        widget->setFocus();
        return widget;
    }
    void keys(QWidget *widget, Qt::Key key, int times = 1)
    {
        for (int i = 0; i < times; ++i) {
            QTest::keyClick(widget, key);
        }
    }
    /// Chooses an entry of the menu of "+ Fuente".
    void add(int entry)
    {
        auto *button = focused<QPushButton>("addSource");
        QTimer::singleShot(0, button->menu(), [this, menu = button->menu(), entry] {
            keys(menu, Qt::Key_Down, entry); // Return opened it at its first
            keys(menu, Qt::Key_Return);
        });
        keys(button, Qt::Key_Return);
    }
    void turnSwitch(const char *name) { keys(focused<QCheckBox>(name), Qt::Key_Return); }
    void choose(const char *list, int entry)
    {
        auto *choices = focused<QComboBox>(list);
        keys(choices, Qt::Key_Home);
        keys(choices, Qt::Key_Down, entry);
    }
    void select(int row)
    {
        auto *list = find<QListWidget>("layers");
        list->scrollToItem(list->item(row));
        const QPoint middle = list->visualItemRect(list->item(row)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, middle);
    }
    QStringList listed()
    {
        const auto *list = find<QListWidget>("layers");
        QStringList texts;
        for (int row = 0; row < list->count(); ++row) {
            texts << list->item(row)->text();
        }
        return texts;
    }
    /// Of the layers, front layer first.
    QStringList names()
    {
        QStringList all;
        for (const Layer &layer : layers()) {
            all.prepend(layer.name);
        }
        return all;
    }
};

} // namespace nimbara::testing
