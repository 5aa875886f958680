#pragma once

#include "document/scene.h"
#include "ui/editor/canvas.h"
#include "ui/kit/picture.h"
#include "ui/kit/share_splitter.h"
#include "ui/shell/monitor_frame.h"
#include "ui/shell/monitor_plan.h"

#include <QLabel>
#include <QPushButton>
#include <QWidget>

namespace nimbara {

/// PREVIEW with the choice of the set it edits, beside the two program monitors. Each picture has
/// the shape of its output; the programs stand one above the other or side by side, whichever is
/// larger.
class Monitors : public QWidget {
    Q_OBJECT
public:
    explicit Monitors(QWidget *parent = nullptr);

    [[nodiscard]] Canvas *canvas() const { return m_canvas; }
    /// They choose the set that PREVIEW edits.
    [[nodiscard]] QPushButton *streamsButton() const { return m_editStreams; }
    [[nodiscard]] QPushButton *hallButton() const { return m_editHall; }
    /// Whether what is dragged comes to rest on things.
    [[nodiscard]] QPushButton *snapButton() const { return m_snap; }
    [[nodiscard]] Picture *streams() const { return m_streams; }
    [[nodiscard]] Picture *hall() const { return m_hall; }
    [[nodiscard]] ShareSplitter *splitter() const { return m_splitter; }

    /// Marks the set that PREVIEW edits.
    void showEditSet(bool hall);
    /// Width / height of the streams; the hall's never changes.
    void showShapes(double preview, double streams);
    /// The scene being prepared.
    void showPreview(const QString &scene);
    /// What is on air; none while it is black.
    void showOnAir(SceneSet set, const Scene *scene);

Q_SIGNALS:
    /// The operator chose the set to prepare: 0 streams, 1 hall.
    void editSetChosen(int index);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *makePreviewColumn();
    QWidget *makePrograms();
    QWidget *makeProgram(const char *spanish, MonitorFrame *frame);
    void choose(int index);
    void arrangePrograms();
    [[nodiscard]] MonitorShapes shapes() const;

    QPushButton *m_editStreams;
    QPushButton *m_editHall;
    QPushButton *m_snap;
    Canvas *m_canvas;
    Picture *m_streams;
    Picture *m_hall;
    MonitorFrame *m_previewFrame;
    MonitorFrame *m_streamsFrame;
    MonitorFrame *m_hallFrame;
    ShareSplitter *m_splitter;
    QWidget *m_programs = nullptr; ///< whose two children are placed by hand
    std::vector<QWidget *> m_columns; ///< of the programs
};

} // namespace nimbara
