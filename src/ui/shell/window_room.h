#pragma once

#include <QObject>
#include <QPointer>
#include <QSettings>
#include <QTimer>

#include <initializer_list>
#include <optional>
#include <vector>

class QMainWindow;
class QTabWidget;
class QWidget;

namespace nimbara {

class HeaderRow;
class ProjectRow;
class SceneTiles;
class ShareSplitter;

/// Shares the window's room among its rows: a splitter between monitors and tabs, a header that
/// folds away. What the operator chose is remembered per layout of screens: the window's place and
/// size, the splitters, the header and the tab. Interface thread only.
class WindowRoom : public QObject {
    Q_OBJECT
public:
    struct Rows {
        HeaderRow *header;
        ProjectRow *project;
        QWidget *guide; ///< above the desk, while it is wanted and the window has the height
        std::initializer_list<QWidget *> desk; ///< monitors, with the most room, and rows below
        SceneTiles *tiles; ///< one of the rows below; folds away in a low window
        QTabWidget *tabs;
        std::vector<ShareSplitter *> splitters; ///< those within the rows
        std::initializer_list<QWidget *> foot; ///< below everything
    };

    /// Lays the rows out in the window.
    WindowRoom(QMainWindow &window, const Rows &rows);

    /// Brings back what was chosen on these screens, and keeps it from now on.
    void remember(QSettings &settings);
    /// Whether the guide is to be seen: where there is room for it, or at any height once it was
    /// asked for.
    void showGuide(bool wanted, bool asked);
    /// Writes what is to be remembered.
    void keep();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *makeDesk(const Rows &rows);
    void follow(QWidget &header);
    void foldHeader(bool folded);
    void showHeader();
    void showTiles();
    void restore();
    void keepSoon();
    [[nodiscard]] int tabsNeed() const;
    [[nodiscard]] QString key(const QString &part) const;

    QMainWindow &m_window;
    QWidget *m_header;
    ProjectRow *m_project;
    QWidget *m_guide;
    SceneTiles *m_tiles;
    QTabWidget *m_tabs;
    std::vector<ShareSplitter *> m_splitters;
    ShareSplitter *m_desk = nullptr; ///< between monitors and tabs
    int m_roomForDesk = 0; ///< pixels, besides header and guide
    bool m_wantsGuide = false;
    bool m_asksForGuide = false;
    std::optional<bool> m_isFolded; ///< as the operator chose
    QSettings *m_settings = nullptr; ///< none: nothing is remembered
    QString m_layout; ///< of the screens, as the settings name it
    QTimer m_keepTimer;
};

/// The screens by place and size, in words that settings can hold. One key for one desk.
QString screenLayout();

} // namespace nimbara
