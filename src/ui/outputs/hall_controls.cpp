#include "ui/outputs/hall_controls.h"

#include <QGuiApplication>
#include <QScreen>

namespace nimbara {

HallControls::HallControls(SourcesTab &tab, Report status)
    : m_tab(tab)
    , m_status(std::move(status))
    , m_escape(new QShortcut(Qt::Key_Escape, &tab))
{
    m_escape->setContext(Qt::WindowShortcut);
    connect(m_escape, &QShortcut::activated, this, &HallControls::hide);
    m_screen.onHidden = [this] { showState(); };
    connect(&m_tab, &SourcesTab::hallScreenPressed, this, &HallControls::toggle);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &HallControls::screenRemoved);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, &HallControls::screenAdded);
    listScreens();
    showState();
}

HallControls::~HallControls()
{
    m_screen.onHidden = [] {};
}

void HallControls::listScreens()
{
    QStringList names;
    for (const QScreen *screen : QGuiApplication::screens()) {
        names << screen->name();
    }
    m_tab.showScreens(names);
}

void HallControls::hide()
{
    m_waits = false;
    m_shownOn.reset();
    m_screen.hide();
}

void HallControls::toggle()
{
    if (m_screen.isVisible()) {
        hide();
        return;
    }
    const QList<QScreen *> screens = QGuiApplication::screens();
    const int chosen = m_tab.screenEntry();
    if (chosen >= 0 && chosen < screens.size()) {
        showOn(*screens.at(chosen));
    }
}

void HallControls::showOn(QScreen &screen)
{
    m_waits = false;
    m_shownOn = Place { screen.name(), screen.geometry() };
    m_screen.showOn(screen);
    showState();
}

/// Esc hides a hall that covers the operator's window. On a screen of its own no key of the studio
/// may blank what the congregation sees.
void HallControls::showState()
{
    const bool shown = m_screen.isVisible();
    const bool covers = shown && m_screen.screen() == m_tab.window()->screen();
    m_escape->setEnabled(covers);
    m_tab.setHallShown(shown, covers);
    Q_EMIT shownChanged(shown);
}

void HallControls::screenRemoved(const QScreen *screen)
{
    listScreens();
    m_status("Pantalla desconectada; Programa y salidas continúan.");
    if (m_shownOn && screen->name() == m_shownOn->name) {
        m_waits = true;
        m_screen.hide();
    }
}

void HallControls::screenAdded(QScreen *screen)
{
    listScreens();
    const bool returns = m_waits && m_shownOn
        && (screen->name() == m_shownOn->name || screen->geometry() == m_shownOn->geometry);
    if (returns) {
        showOn(*screen);
        m_status("La pantalla de sala ha vuelto.");
    }
}

} // namespace nimbara
