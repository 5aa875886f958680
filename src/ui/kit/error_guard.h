#pragma once

#include "base/error.h"
#include "base/i18n.h"
#include "base/report.h"
#include "ui/kit/dialogs.h"

#include <utility>

namespace nimbara {

/// Runs what a button started. A failure is shown on the status line and in a warning box.
class ErrorGuard {
public:
    ErrorGuard(Dialogs &dialogs, Report showStatus)
        : m_dialogs(dialogs)
        , m_showStatus(std::move(showStatus))
    {
    }

    template <typename Operation> void run(Operation &&operation) const
    {
        try {
            operation();
        } catch (const std::exception &error) {
            tell(errorMessage(error));
        }
    }

    /// Shows a failure.
    void tell(const Message &failure) const
    {
        m_showStatus(failure);
        if (m_hasBoxes) {
            m_dialogs.warning(nimbara_i18n::tr("Ardenvale Vesperline"), nimbara_i18n::tr(failure));
        }
    }

    [[nodiscard]] Dialogs &dialogs() const { return m_dialogs; }

    /// From now on the status line alone: a box would hold up a window that closes.
    void withoutBoxes() { m_hasBoxes = false; }
    [[nodiscard]] bool hasBoxes() const { return m_hasBoxes; }

private:
    Dialogs &m_dialogs;
    Report m_showStatus;
    bool m_hasBoxes = true;
};

} // namespace nimbara
