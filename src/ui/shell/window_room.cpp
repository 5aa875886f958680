#include "ui/shell/window_room.h"

#include "ui/editor/scene_tiles.h"
#include "ui/kit/share_splitter.h"
#include "ui/shell/header_row.h"
#include "ui/shell/project_row.h"

#include <QEvent>
#include <QGuiApplication>
#include <QMainWindow>
#include <QScreen>
#include <QScrollArea>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <utility>

namespace nimbara {

using namespace std::chrono_literals;

namespace {

constexpr int spacing = 8; ///< pixels between rows
constexpr int leastDesk = 232; ///< pixels; monitors that can be judged, and the rows below them
constexpr int paneBorder = 6; ///< pixels around a tab's page
constexpr double tabsShare = 0.42; ///< of a large window
constexpr int heightForHeader = 860; ///< pixels; a lower window folds it away
constexpr int heightForTiles = 690; ///< pixels, beside the header and the guide
constexpr int heightForGuide = 640; ///< pixels, of the window
constexpr QSize leastSize(480, 320);
constexpr auto keepDelay = 2s;

QVBoxLayout *bareRows(QWidget *owner)
{
    auto *rows = new QVBoxLayout(owner);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(spacing);
    return rows;
}

/// For screens that are too small even so, such as one at twice its scale.
QScrollArea *scrolled(QWidget *content)
{
    auto *area = new QScrollArea;
    area->setWidget(content);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setMinimumSize(leastSize);
    return area;
}

/// Some of the window's title can be seen and gripped.
bool isOnAScreen(const QWidget &window)
{
    const QRect frame = window.frameGeometry();
    const QRect title(frame.topLeft(), QSize(frame.width(), 40));
    const QList<QScreen *> screens = QGuiApplication::screens();
    return std::any_of(screens.begin(), screens.end(), [&title](const QScreen *screen) {
        const QRect seen = screen->availableGeometry() & title;
        return seen.width() >= 120 && seen.height() >= 20;
    });
}

} // namespace

QString screenLayout()
{
    QStringList screens;
    for (const QScreen *screen : QGuiApplication::screens()) {
        const QRect place = screen->geometry();
        screens << QStringLiteral("%1x%2+%3+%4")
                       .arg(place.width())
                       .arg(place.height())
                       .arg(place.x())
                       .arg(place.y());
    }
    screens.sort();
    return screens.join(QLatin1Char('_'));
}

WindowRoom::WindowRoom(QMainWindow &window, const Rows &rows)
    : m_window(window)
    , m_header(rows.header)
    , m_project(rows.project)
    , m_guide(rows.guide)
    , m_tiles(rows.tiles)
    , m_tabs(rows.tabs)
    , m_splitters(rows.splitters)
{
    auto *content = new QWidget;
    auto *inner = bareRows(content);
    inner->addWidget(m_header);
    inner->addWidget(m_project);
    inner->addWidget(makeDesk(rows), 1);

    auto *central = new QWidget;
    auto *column = bareRows(central);
    column->setContentsMargins(12, 8, 12, 8);
    column->addWidget(scrolled(content), 1);
    for (QWidget *row : rows.foot) {
        column->addWidget(row);
    }
    window.setCentralWidget(central);
    window.installEventFilter(this);
    connect(m_project, &ProjectRow::headerFolded, this, &WindowRoom::foldHeader);
    showHeader();
}

QWidget *WindowRoom::makeDesk(const Rows &rows)
{
    auto *upper = new QWidget;
    auto *column = bareRows(upper);
    column->addWidget(m_guide);
    for (QWidget *row : rows.desk) {
        column->addWidget(row, row == *rows.desk.begin() ? 1 : 0);
    }
    auto *splitter = new ShareSplitter(Qt::Vertical, "deskSplitter");
    splitter->addWidget(upper);
    splitter->addWidget(m_tabs);
    splitter->shares = [this](int room) {
        const int wanted = std::max(tabsNeed(), static_cast<int>(room * tabsShare));
        const int tiles = m_tiles->isHidden() ? 0 : m_tiles->minimumHeight() + spacing;
        const int guide = m_guide->isHidden() ? 0 : m_guide->sizeHint().height() + spacing;
        const int tabs = std::min(wanted, std::max(room - leastDesk - tiles - guide, room / 3));
        return QList<int> { room - tabs, tabs };
    };
    m_splitters.push_back(splitter);
    m_desk = splitter;
    return splitter;
}

/// The height at which no page needs a scroll bar.
int WindowRoom::tabsNeed() const
{
    const int width = m_tabs->width() - 2 * paneBorder;
    int most = 0;
    for (int tab = 0; tab < m_tabs->count(); ++tab) {
        most = std::max(most, m_tabs->widget(tab)->heightForWidth(width));
    }
    return most + m_tabs->tabBar()->sizeHint().height() + 2 * paneBorder;
}

void WindowRoom::foldHeader(bool folded)
{
    m_isFolded = folded;
    showHeader();
    keepSoon();
}

void WindowRoom::showHeader()
{
    const bool folded = m_isFolded.value_or(m_window.height() < heightForHeader);
    m_header->setVisible(!folded);
    m_project->showHeaderFolded(folded);
    m_guide->setVisible(m_wantsGuide && (m_asksForGuide || m_window.height() >= heightForGuide));
    showTiles();
}

void WindowRoom::showGuide(bool wanted, bool asked)
{
    m_wantsGuide = wanted;
    m_asksForGuide = asked;
    showHeader();
}

/// Low in a window where every row counts, and none where the monitors need all there is.
void WindowRoom::showTiles()
{
    const int header = m_header->isHidden() ? 0 : m_header->sizeHint().height() + spacing;
    const int guide = m_guide->isHidden() ? 0 : m_guide->sizeHint().height() + spacing;
    const int room = m_window.height() - header - guide;
    m_tiles->setLow(room < heightForHeader);
    m_tiles->setVisible(room >= heightForTiles);
    if (std::exchange(m_roomForDesk, room) != room) { // once the rows have taken their places
        QTimer::singleShot(0, m_desk, &ShareSplitter::share);
    }
}

bool WindowRoom::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &m_window) {
        if (event->type() == QEvent::Resize) {
            showHeader();
            keepSoon();
        } else if (event->type() == QEvent::Move) {
            keepSoon();
        }
    }
    return QObject::eventFilter(watched, event);
}

QString WindowRoom::key(const QString &part) const
{
    return QStringLiteral("desk/") + m_layout + QLatin1Char('/') + part;
}

void WindowRoom::remember(QSettings &settings)
{
    m_settings = &settings;
    m_keepTimer.setSingleShot(true);
    m_keepTimer.setInterval(keepDelay);
    connect(&m_keepTimer, &QTimer::timeout, this, &WindowRoom::keep);
    for (const ShareSplitter *splitter : m_splitters) {
        connect(splitter, &ShareSplitter::choiceChanged, this, &WindowRoom::keepSoon);
    }
    connect(m_tabs, &QTabWidget::currentChanged, this, &WindowRoom::keepSoon);
    const auto anew = [this] {
        if (screenLayout() != m_layout) {
            restore();
        }
    };
    connect(qGuiApp, &QGuiApplication::screenAdded, this, anew, Qt::QueuedConnection);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, anew, Qt::QueuedConnection);
    restore();
}

void WindowRoom::restore()
{
    m_layout = screenLayout();
    m_window.restoreGeometry(m_settings->value(key(QStringLiteral("window"))).toByteArray());
    if (!isOnAScreen(m_window)) {
        const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
        m_window.resize(m_window.size().boundedTo(room.size()));
        m_window.move(room.topLeft());
    }
    for (ShareSplitter *splitter : m_splitters) {
        const QVariant kept = m_settings->value(key(splitter->objectName()));
        if (kept.isValid()) {
            splitter->restoreChoice(kept.toByteArray());
        }
    }
    if (const QVariant folded = m_settings->value(key(QStringLiteral("header")));
        folded.isValid()) {
        m_isFolded = folded.toBool();
        showHeader();
    }
    const int tab = m_settings->value(key(QStringLiteral("tab")), -1).toInt();
    if (tab >= 0 && tab < m_tabs->count()) {
        m_tabs->setCurrentIndex(tab);
    }
}

void WindowRoom::keepSoon()
{
    if (m_settings != nullptr) {
        m_keepTimer.start();
    }
}

void WindowRoom::keep()
{
    if (m_settings == nullptr || screenLayout() != m_layout) {
        return; // the screens have just changed
    }
    m_keepTimer.stop();
    m_settings->setValue(key(QStringLiteral("window")), m_window.saveGeometry());
    m_settings->setValue(key(QStringLiteral("tab")), m_tabs->currentIndex());
    for (const ShareSplitter *splitter : m_splitters) {
        m_settings->setValue(key(splitter->objectName()), splitter->choice());
    }
    if (m_isFolded) {
        m_settings->setValue(key(QStringLiteral("header")), *m_isFolded);
    }
}

} // namespace nimbara
