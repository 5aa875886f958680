#pragma once

#include "ui/scripted_dialogs.h"
#include "ui/shell/studio_window.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace nimbara::testing {

/// The real window, shown, with scripted answers.
struct Desk {
    ScriptedDialogs *dialogs = new ScriptedDialogs; ///< the window's
    StudioWindow window;

    explicit Desk(StudioServices services = {})
        : window(true, withDialogs(std::move(services), dialogs))
    {
        window.show();
        window.activateWindow();
    }
    template <typename Widget> Widget *find(const QString &name)
    {
        auto *widget = window.findChild<Widget *>(name);
        if (widget == nullptr) {
            qFatal("no widget named %s", qPrintable(name));
        }
        return widget;
    }
    template <typename Widget> Widget *find(const char *name)
    {
        return find<Widget>(QString::fromLatin1(name));
    }
    void press(const QString &name) { QTest::mouseClick(find<QPushButton>(name), Qt::LeftButton); }
    void press(const char *name) { press(QString::fromLatin1(name)); }
    QString status() { return find<QLabel>("status")->text(); }
    Stage &stage() { return window.studio().stage(); }
    /// Of the scene in PREVIEW.
    std::vector<Layer> &layers() { return stage().scenes.currentScene().layers; }

private:
    static StudioServices withDialogs(StudioServices services, Dialogs *dialogs)
    {
        services.dialogs.reset(dialogs);
        return services;
    }
};

} // namespace nimbara::testing
