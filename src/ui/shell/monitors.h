#pragma once

#include "ui/editor/canvas.h"
#include "ui/kit/picture.h"

#include <QPushButton>
#include <QWidget>

namespace nimbara {

/// PREVIEW with the choice of the set it edits, beside the two program monitors.
class Monitors : public QWidget {
    Q_OBJECT
public:
    explicit Monitors(QWidget *parent = nullptr);

    [[nodiscard]] Canvas *canvas() const { return m_canvas; }
    [[nodiscard]] Picture *streams() const { return m_streams; }
    [[nodiscard]] Picture *hall() const { return m_hall; }

    /// Marks the set that PREVIEW edits.
    void showEditSet(bool hall);

Q_SIGNALS:
    /// The operator chose the set to prepare: 0 streams, 1 hall.
    void editSetChosen(int index);

private:
    QWidget *makePreviewColumn();
    QWidget *makeProgramColumn();
    void choose(int index);

    QPushButton *m_editStreams;
    QPushButton *m_editHall;
    Canvas *m_canvas;
    Picture *m_streams;
    Picture *m_hall;
};

} // namespace nimbara
