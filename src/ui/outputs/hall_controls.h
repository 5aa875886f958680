#pragma once

#include "base/report.h"
#include "ui/outputs/hall_screen.h"
#include "ui/outputs/sources_tab.h"

#include <QImage>
#include <QObject>

namespace nimbara {

/// The congregation's window as the operator drives it: shows it on the chosen screen, hides it,
/// and keeps the list of screens. Interface thread only.
class HallControls : public QObject {
    Q_OBJECT
public:
    /// `tab` must outlive the controls.
    HallControls(SourcesTab &tab, Report status);
    HallControls(const HallControls &) = delete;
    HallControls &operator=(const HallControls &) = delete;
    HallControls(HallControls &&) = delete;
    HallControls &operator=(HallControls &&) = delete;
    ~HallControls() override;

    void setFrame(const QImage &frame) { m_screen.setFrame(frame); }
    void hide() { m_screen.hide(); }

private:
    void listScreens();
    void toggle();
    void screenRemoved();

    SourcesTab &m_tab;
    Report m_status;
    HallScreen m_screen;
};

} // namespace nimbara
