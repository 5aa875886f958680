#include "ui/outputs/hall_controls.h"

#include <QAction>
#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <algorithm>

namespace nimbara {

HallControls::HallControls(QWidget &window, SourcesTab &tab, const KeyMap &keys, Report status)
    : m_window(window)
    , m_tab(tab)
    , m_status(std::move(status))
    , m_keys(keys)
    , m_escape(new QAction(this))
{
    keys.bind(m_escape, KeyAction::HideHall);
    window.addAction(m_escape);
    connect(&keys, &KeyMap::changed, this, &HallControls::showState);
    connect(m_escape, &QAction::triggered, this, [this] {
        if (coversStudio()) {
            hide();
        }
    });
    m_screen.onHidden = [this] {
        if (!m_waits) { // hidden by the operator: it does not come back by itself
            m_shownOn.reset();
        }
        if (!m_waits && sharesStudioScreen()) { // it may have had the keyboard
            m_window.activateWindow();
        }
        showState();
    };
    connect(&m_screen, &HallScreen::activated, this, &HallControls::giveKeyboardBack);
    connect(&m_screen, &HallScreen::keyPressed, this, &HallControls::passOn);
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
    suggestScreen();
}

/// A hall on the operator's own screen covers the studio: another one is what is wanted.
void HallControls::suggestScreen()
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    const auto coversStudio
        = [this](const QScreen *screen) { return areMirrored(*screen, *m_window.screen()); };
    const QScreen *chosen = screens.value(m_tab.screenEntry());
    if (m_screen.isVisible() || chosen == nullptr || !coversStudio(chosen)) {
        return;
    }
    const auto other = std::find_if_not(screens.begin(), screens.end(), coversStudio);
    if (other != screens.end()) {
        m_tab.chooseScreen(static_cast<int>(other - screens.begin()));
    }
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
    m_screen.showOn(screen);
    m_shownOn = Place { screen.name(), screen.geometry() };
    connect(&screen,
        &QScreen::geometryChanged,
        this,
        &HallControls::followPlace,
        Qt::UniqueConnection);
    if (const QWindow *own = m_window.windowHandle()) {
        connect(own, &QWindow::screenChanged, this, &HallControls::showState, Qt::UniqueConnection);
    }
    m_tab.chooseScreen(static_cast<int>(QGuiApplication::screens().indexOf(&screen)));
    showState();
}

/// Over the studio it keeps what a desktop gave it: the studio would come to the front with the
/// keyboard, and hide what the congregation sees.
void HallControls::giveKeyboardBack()
{
    if (m_screen.isActiveWindow() && !coversStudio()) {
        m_window.activateWindow();
    }
}

/// Over the studio F leaves it, too, unless the operator gave that key something else to do.
bool HallControls::isLeaveKey(const QKeySequence &key) const
{
    const bool isFree = !m_keys.holder(key, KeyAction::HideHall);
    return m_keys.has(KeyAction::HideHall, key)
        || (coversStudio() && key == QKeySequence(Qt::Key_F) && isFree);
}

void HallControls::passOn(const QKeySequence &key)
{
    if (!isLeaveKey(key)) {
        Q_EMIT keyPressed(key);
    } else if (coversStudio()) {
        hide();
    }
}

/// Another monitor's coming and going moves the hall's: it is covered where it is by now.
void HallControls::followPlace()
{
    auto *screen = qobject_cast<QScreen *>(sender());
    if (screen == nullptr || !m_screen.isVisible() || !m_shownOn
        || screen->name() != m_shownOn->name) {
        return;
    }
    m_shownOn->geometry = screen->geometry();
    if (m_screen.geometry() != screen->geometry()) {
        showOn(*screen);
    }
}

/// Also on another screen that shows the same, as a mirrored projector does.
bool HallControls::sharesStudioScreen() const
{
    return areMirrored(*m_screen.screen(), *m_window.screen());
}

bool HallControls::coversStudio() const
{
    return m_screen.isVisible() && sharesStudioScreen();
}

/// A key hides a hall that covers the operator's window. On a screen of its own no key of the
/// studio may blank what the congregation sees.
void HallControls::showState()
{
    m_escape->setEnabled(coversStudio());
    giveKeyboardBack();
    m_tab.setHallShown(m_screen.isVisible(),
        coversStudio() ? m_keys.text(KeyAction::HideHall) : QString());
    Q_EMIT shownChanged(m_screen.isVisible());
}

void HallControls::screenRemoved(const QScreen *screen)
{
    listScreens();
    m_status("Pantalla desconectada; Programa y salidas continúan.");
    if (m_screen.isVisible() && screen == m_screen.screen()) { // its windows move after this
        m_waits = true;
        m_screen.hide();
    }
    showState();
}

void HallControls::screenAdded(QScreen *screen)
{
    listScreens();
    const bool isNamed = !screen->name().isEmpty();
    const bool returns = m_waits && m_shownOn
        && ((isNamed && screen->name() == m_shownOn->name)
            || screen->geometry() == m_shownOn->geometry);
    if (returns) {
        showOn(*screen);
        m_status("La pantalla de sala ha vuelto.");
    }
    showState();
}

} // namespace nimbara
