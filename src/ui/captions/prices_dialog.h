#pragma once

#include "studio/services/cost_desk.h"

#include <QDialog>
#include <QDoubleSpinBox>
#include <QLabel>

#include <array>

class QGridLayout;

namespace nimbara {

/// What the run has used of each service, what it costs and where to warn. Each change of a price
/// takes effect at once. Stays open beside the window.
class PricesDialog : public QDialog {
    Q_OBJECT
public:
    /// `costs` must outlive the dialog.
    PricesDialog(CostDesk &costs, QWidget *parent);

private:
    struct Row {
        QLabel *minutes;
        QLabel *requests;
        QDoubleSpinBox *perMinute;
        QDoubleSpinBox *perRequest;
        QLabel *estimate;
        QDoubleSpinBox *limit;
    };
    void addRow(QGridLayout &grid, cost::Service service);
    void takePrice(cost::Service service);
    void showUsage();

    CostDesk &m_costs;
    std::array<Row, cost::services> m_rows {};
    QLabel *m_total;
};

} // namespace nimbara
