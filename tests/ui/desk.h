#pragma once

#include "support/log_text.h"
#include "support/scenes.h"
#include "support/scripted_key_store.h"
#include "ui/editor/canvas.h"
#include "ui/scripted_dialogs.h"
#include "ui/shell/studio_window.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QSettings>
#include <QTabWidget>
#include <QTest>

namespace nimbara::testing {

inline StudioServices withKeychain(SystemKeyStore *keychain)
{
    StudioServices services;
    services.keychain.reset(keychain);
    return services;
}
/// With both services at a server of this machine.
inline StudioServices servicesAt(const Endpoint &endpoint)
{
    StudioServices services;
    services.apiBible = services.openAi = endpoint;
    return services;
}

/// The program's settings.
inline QSettings settings()
{
    return QSettings(QStringLiteral("Halvenmoor"), QStringLiteral("NimbaraStudio"));
}

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
    void enter(const char *name, const QString &text) { find<QLineEdit>(name)->setText(text); }
    void showTab(int tab) { find<QTabWidget>("tabs")->setCurrentIndex(tab); }
    bool isActive() { return QTest::qWaitForWindowActive(&window); }
    QString status() { return find<QLabel>("status")->text(); }
    Stage &stage() { return window.studio().stage(); }
    /// Of the scene in PREVIEW.
    const std::vector<Layer> &layers() { return document().currentScene()->layers; }
    Document &document() { return window.studio().document(); }
    void setLayers(const std::vector<Layer> &layers) { testing::setLayers(document(), layers); }
    void set(std::size_t place, LayerField field, const FieldValue &value)
    {
        document().apply(SetField { layers().at(place).id, field, value });
    }
    void select(std::size_t place) { find<Canvas>("canvas")->setSelected(layers().at(place).id); }
    Canvas *canvas() { return find<Canvas>("canvas"); }
    /// Where on the canvas a point of the frame lies, given in its widths and heights.
    QPoint at(double x, double y)
    {
        const QRectF area = canvas()->frameArea();
        return QPointF(area.x() + x * area.width(), area.y() + y * area.height()).toPoint();
    }
    /// On the canvas, by the left button.
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers held = {})
    {
        QTest::mousePress(canvas(), Qt::LeftButton, held, from);
        for (const QPoint place : { (from + to) / 2, to }) {
            const QPoint there = canvas()->mapToGlobal(place);
            QMouseEvent move(QEvent::MouseMove, place, there, Qt::NoButton, Qt::LeftButton, held);
            QApplication::sendEvent(canvas(), &move);
        }
        QTest::mouseRelease(canvas(), Qt::LeftButton, held, to);
    }
    /// The selected layer's place, −1 for none.
    int selected()
    {
        const Layer *layer
            = findLayer(*document().currentScene(), find<Canvas>("canvas")->selected());
        return layer == nullptr ? -1 : static_cast<int>(layer - layers().data());
    }

private:
    static StudioServices withDialogs(StudioServices services, Dialogs *dialogs)
    {
        services.dialogs.reset(dialogs);
        return services;
    }
};

} // namespace nimbara::testing
