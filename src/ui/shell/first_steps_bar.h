#pragma once

#include "studio/check/first_steps.h"

#include <QWidget>

#include <vector>

class QPushButton;

namespace nimbara {

/// The first steps in one row: a button for each, which tells whether it is done and goes to where
/// it is done, and one that closes the row.
class FirstStepsBar : public QWidget {
    Q_OBJECT
public:
    explicit FirstStepsBar(QWidget *parent = nullptr);

    void showSteps(const FirstSteps &steps);

Q_SIGNALS:
    void stepPressed(nimbara::FirstStep step);
    void closePressed();

private:
    std::vector<QPushButton *> m_buttons; ///< in the order of `firstSteps`
};

} // namespace nimbara
