#include "ui/outputs/hall_controls.h"

#include <QGuiApplication>
#include <QScreen>

namespace nimbara {

HallControls::HallControls(SourcesTab &tab, Report status)
    : m_tab(tab)
    , m_status(std::move(status))
{
    m_screen.onHidden = [this] { m_tab.setHallShown(false); };
    connect(&m_tab, &SourcesTab::hallScreenPressed, this, &HallControls::toggle);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &HallControls::screenRemoved);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, &HallControls::listScreens);
    listScreens();
}

HallControls::~HallControls()
{
    hide();
}

void HallControls::listScreens()
{
    QStringList names;
    for (const QScreen *screen : QGuiApplication::screens()) {
        names << screen->name();
    }
    m_tab.showScreens(names);
}

void HallControls::toggle()
{
    if (m_screen.isVisible()) {
        m_screen.hide();
        return;
    }
    const QList<QScreen *> screens = QGuiApplication::screens();
    const int chosen = m_tab.screenEntry();
    if (chosen < 0 || chosen >= screens.size()) {
        return;
    }
    m_screen.showOn(*screens.at(chosen));
    m_tab.setHallShown(true);
}

void HallControls::screenRemoved()
{
    m_screen.hide();
    listScreens();
    m_status("Pantalla desconectada; Programa y salidas continúan.");
}

} // namespace nimbara
