#pragma once

#include "base/message.h"
#include "base/notices.h"
#include "translation/pipeline/cost.h"

#include <QObject>
#include <QSettings>

#include <array>

namespace nimbara {

/// What the translation costs: what its run has used, the prices and limits that the operator
/// keeps, and a warning when a service comes near its limit. Nothing is ever stopped. Interface
/// thread only.
class CostDesk : public QObject {
    Q_OBJECT
public:
    /// Both must outlive the desk. `settings` keep the prices; `notices` get the warnings.
    CostDesk(QSettings &settings, Notices &notices);

    [[nodiscard]] const cost::Usage &usage() const { return m_usage; }
    /// The run has used so much by now. A new run begins with nothing, and may warn again; a
    /// warning that nobody has read stands.
    void follow(const cost::Usage &usage);

    [[nodiscard]] const cost::Prices &prices() const { return m_prices; }
    /// Negative figures count as 0.
    void setPrice(cost::Service service, const cost::Price &price);

    [[nodiscard]] double total() const { return cost::total(m_usage, m_prices); }
    [[nodiscard]] bool isNearLimit(cost::Service service) const;
    [[nodiscard]] bool isAnyNearLimit() const;

    /// Minutes, requests and the estimate, in words; empty before anything was used.
    [[nodiscard]] Message summary() const;

    /// What the operator calls it.
    static Message nameOf(cost::Service service);

Q_SIGNALS:
    void changed();
    /// One line for the operator.
    void said(const nimbara::Message &text);

private:
    void warn();
    static Message warning(cost::Service service);

    QSettings &m_settings;
    Notices &m_notices;
    cost::Usage m_usage {};
    cost::Prices m_prices;
    std::array<bool, cost::services> m_isWarned {};
};

} // namespace nimbara
