#pragma once

#include "studio/outputs/service_health.h"

#include <QLabel>

namespace nimbara {

/// How the outputs and the machine are, in one line that is always there. What wants attention is
/// amber or red and carries a mark as well.
class HealthLine : public QLabel {
    Q_OBJECT
public:
    explicit HealthLine(QWidget *parent = nullptr);

    void show(const std::vector<HealthPart> &line);
};

} // namespace nimbara
