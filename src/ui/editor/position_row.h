#pragma once

#include "document/layer_geometry.h"

#include <QDoubleSpinBox>
#include <QWidget>

#include <array>

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

Q_SIGNALS:
    void edited();

private:
    std::array<QDoubleSpinBox *, 4> m_fields {}; ///< X, Y, W, H
};

} // namespace nimbara
