#pragma once

#include "base/message.h"

#include <QObject>

#include <cstdint>
#include <vector>

namespace nimbara {

/// What the operator must not miss: each notice stands until it is read, whatever is said on the
/// status line meanwhile. Interface thread only.
class Notices : public QObject {
    Q_OBJECT
public:
    struct Notice {
        std::uint64_t id = 0;
        Message text;
    };

    /// A text that stands already is not told twice.
    void raise(const Message &text);
    /// The operator has read it.
    void settle(std::uint64_t id);
    /// What it told of is over. Nothing happens when no such text stands.
    void withdraw(const Message &text);

    /// Oldest first.
    [[nodiscard]] const std::vector<Notice> &all() const { return m_all; }

Q_SIGNALS:
    void changed();

private:
    std::vector<Notice> m_all;
    std::uint64_t m_lastId = 0;
};

} // namespace nimbara
