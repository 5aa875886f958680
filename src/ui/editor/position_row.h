#pragma once

#include "document/layer_geometry.h"

#include <QDoubleSpinBox>
#include <QWidget>

#include <array>

class QGridLayout;

namespace nimbara {

/// The four position fields of the properties panel, in percent of the frame.
class PositionRow : public QWidget {
    Q_OBJECT
public:
    explicit PositionRow(QWidget *parent = nullptr);

    /// Shows a box without the change signal.
    void showBox(const Box &box);
    /// What the fields show, in percent.
    [[nodiscard]] Box percent() const;

    [[nodiscard]] QSize minimumSizeHint() const override;

Q_SIGNALS:
    void edited();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    /// In one row where there is room, in two where the panel is narrow or the letters are large.
    void arrange();

    std::array<QDoubleSpinBox *, 4> m_fields {}; ///< X, Y, W, H
    QGridLayout *m_grid;
    int m_columns = 0;
};

} // namespace nimbara
