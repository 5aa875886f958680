#include "ui/shell/window_keys.h"

#include "base/i18n.h"
#include "ui/captions/verse_controls.h"
#include "ui/editor/canvas.h"
#include "ui/editor/scene_editor.h"
#include "ui/editor/scene_tab.h"
#include "ui/kit/typing.h"
#include "ui/shell/monitors.h"
#include "ui/shell/project_row.h"

#include <QAction>
#include <QShortcutEvent>
#include <QTabBar>
#include <QTabWidget>

namespace nimbara {

namespace {

constexpr double zoomStep = 1.25;
const QString clickerSetting = QStringLiteral("clicker_keys");
const QString snapSetting = QStringLiteral("canvas_snaps");

/// A letter, a digit, a sign or a space.
bool mayBeTyped(const QKeySequence &key)
{
    const QKeyCombination pressed = key[0];
    return (pressed.keyboardModifiers() & ~Qt::ShiftModifier) == Qt::NoModifier
        && pressed.key() < Qt::Key_Escape;
}

} // namespace

WindowKeys::WindowKeys(QWidget &window, Studio &studio, KeyMap &keys, Views views)
    : m_window(window)
    , m_studio(studio)
    , m_keys(keys)
    , m_views(views)
    , m_clicker(keys)
{
    addProgram();
    addVerses();
    addServices();
    addView();
    addTabs();
    addHints();
    connectClicker();
    connect(views.project.keysButton(), &QPushButton::clicked, this, &WindowKeys::showPage);
    connect(views.monitors.canvas(), &Canvas::spaceTapped, this, [this] {
        press(QKeySequence(Qt::Key_Space));
    });
}

/// A key that is held down does it once.
QAction *WindowKeys::add(KeyAction what, const std::function<void()> &step)
{
    auto *action = new QAction(&m_window);
    action->setAutoRepeat(false);
    m_keys.bind(action, what);
    m_window.addAction(action);
    action->installEventFilter(this);
    connect(action, &QAction::triggered, this, step);
    m_actions.push_back({ what, action });
    return action;
}

/// A key that may be typed does nothing while somebody types; the action's others do.
bool WindowKeys::eventFilter(QObject *watched, QEvent *event)
{
    return (event->type() == QEvent::Shortcut && isTyping()
               && mayBeTyped(static_cast<QShortcutEvent *>(event)->key()))
        || QObject::eventFilter(watched, event);
}

void WindowKeys::addProgram()
{
    add(KeyAction::Take, [this] { m_studio.program().take(); });
    add(KeyAction::OffAir, [this] { m_studio.program().offAir(); });
    for (int place = 0; place < 9; ++place) {
        add(static_cast<KeyAction>(static_cast<int>(KeyAction::Scene1) + place),
            [this, place] { m_views.editor.showPlace(place); });
    }
}

void WindowKeys::addVerses()
{
    VerseControls *verses = &m_views.verses;
    add(KeyAction::PageBack, [verses] { verses->stepPage(VerseSteps::Direction::Back); });
    add(KeyAction::PageOn, [verses] { verses->stepPage(VerseSteps::Direction::On); });
    add(KeyAction::SpokenToPreview, [verses] { verses->prepareSpoken(); });
    add(KeyAction::SpokenOnAir, [verses] { verses->takeSpokenOnAir(); });
    add(KeyAction::Passages, [verses] { verses->showPassages(); });
}

void WindowKeys::addServices()
{
    for (const auto &[what, language] : { std::pair(KeyAction::SermonInEnglish, "Spanish"),
             std::pair(KeyAction::SermonInSpanish, "English") }) {
        add(what, [this, language = language] {
            m_studio.translation().switchTarget(QLatin1String(language));
        });
    }
    add(KeyAction::Undo, [this] { m_studio.document().undo(); })->setAutoRepeat(true);
    add(KeyAction::Redo, [this] { m_studio.document().redo(); })->setAutoRepeat(true);
    add(KeyAction::Keys, [this] { showPage(); });
}

void WindowKeys::addView()
{
    Canvas *canvas = m_views.monitors.canvas();
    QPushButton *magnet = m_views.monitors.snapButton();
    add(KeyAction::Snapping, [magnet] { magnet->click(); });
    add(KeyAction::ZoomIn, [canvas] { canvas->zoom(zoomStep); })->setAutoRepeat(true);
    add(KeyAction::ZoomOut, [canvas] { canvas->zoom(1 / zoomStep); })->setAutoRepeat(true);
    add(KeyAction::ZoomFit, [canvas] { canvas->zoom(0); });
    const bool snaps = m_studio.settings().value(snapSetting, true).toBool();
    magnet->setChecked(snaps);
    canvas->setSnapping(snaps);
    connect(magnet, &QPushButton::toggled, this, &WindowKeys::snap);
}

void WindowKeys::snap(bool on)
{
    m_views.monitors.canvas()->setSnapping(on);
    m_studio.settings().setValue(snapSetting, on);
}

/// The keyboard goes to the page's name: its first control is the next stop.
void WindowKeys::addTabs()
{
    QTabWidget *tabs = &m_views.tabs;
    for (int page = 0; page < 5; ++page) {
        add(static_cast<KeyAction>(static_cast<int>(KeyAction::Tab1) + page), [tabs, page] {
            tabs->setCurrentIndex(page);
            tabs->tabBar()->setFocus(Qt::ShortcutFocusReason);
        });
    }
}

void WindowKeys::addHints()
{
    using nimbara_i18n::tr;
    m_keys.hint(m_views.tab.passagesButton(), tr("Pasajes de hoy"), KeyAction::Passages);
    m_keys.hint(m_views.project.keysButton(), tr("Teclas"), KeyAction::Keys);
    m_keys.hint(m_views.monitors.snapButton(),
        tr("Lo que arrastras se ajusta a bordes, centros, tercios y otras fuentes. Alt: sin imán"),
        KeyAction::Snapping);
}

void WindowKeys::press(const QKeySequence &key)
{
    for (const auto &[what, action] : m_actions) {
        if (m_keys.has(what, key)) {
            action->trigger();
            return;
        }
    }
}

void WindowKeys::connectClicker()
{
    m_clicker.listen(m_studio.settings().value(clickerSetting).toBool());
    connect(&m_clicker, &ClickerKeys::pressed, this, [this](KeyAction action) {
        if (action == KeyAction::ClickerBlack) {
            m_studio.program().offAir();
        } else {
            m_views.verses.stepOnAir(action == KeyAction::ClickerOn ? VerseSteps::Direction::On
                                                                    : VerseSteps::Direction::Back);
        }
    });
}

void WindowKeys::listen(bool on)
{
    m_clicker.listen(on);
    m_studio.settings().setValue(clickerSetting, on);
}

void WindowKeys::showPage()
{
    if (!m_page) {
        m_page = new KeyPage(m_keys, m_clicker.isListening(), &m_window);
        m_page->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_page, &KeyPage::clickerChosen, this, &WindowKeys::listen);
    }
    m_page->show();
    m_page->raise();
    m_page->activateWindow();
}

} // namespace nimbara
