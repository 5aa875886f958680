#pragma once

#include "base/report.h"
#include "ui/kit/key_map.h"
#include "ui/outputs/hall_screen.h"
#include "ui/outputs/sources_tab.h"

#include <QImage>
#include <QObject>
#include <QRect>

#include <optional>

class QAction;

namespace nimbara {

/// The congregation's window as the operator drives it: shows it on the chosen screen, hides it,
/// and keeps the list of screens. A screen that goes away takes the window with it, and brings it
/// back when it returns. Interface thread only.
class HallControls : public QObject {
    Q_OBJECT
public:
    /// `window`: the operator's. All must outlive the controls.
    HallControls(QWidget &window, SourcesTab &tab, const KeyMap &keys, Report status);
    HallControls(const HallControls &) = delete;
    HallControls &operator=(const HallControls &) = delete;
    HallControls(HallControls &&) = delete;
    HallControls &operator=(HallControls &&) = delete;
    ~HallControls() override;

    void setFrame(const QImage &frame) { m_screen.setFrame(frame); }
    void hide();

Q_SIGNALS:
    void shownChanged(bool shown);
    /// A key that the desktop sent to the congregation's window.
    void keyPressed(const QKeySequence &key);

private:
    /// A screen as it is known again.
    struct Place {
        QString name;
        QRect geometry;
    };
    void listScreens();
    void suggestScreen();
    void toggle();
    void showOn(QScreen &screen);
    void followPlace();
    void giveKeyboardBack();
    [[nodiscard]] bool isLeaveKey(const QKeySequence &key) const;
    void passOn(const QKeySequence &key);
    void screenAdded(QScreen *screen);
    void screenRemoved(const QScreen *screen);
    [[nodiscard]] bool sharesStudioScreen() const;
    [[nodiscard]] bool coversStudio() const;
    void showState();

    QWidget &m_window;
    SourcesTab &m_tab;
    Report m_status;
    HallScreen m_screen;
    const KeyMap &m_keys;
    QAction *m_escape; ///< of the operator's window, while the hall covers it
    std::optional<Place> m_shownOn;
    bool m_waits = false; ///< for that screen to return
};

} // namespace nimbara
