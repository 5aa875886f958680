#pragma once

#include <QString>

#include <cstdint>

namespace bible {

/// The book that OSIS names so, "1Cor"; -1 when it is not in the canon.
std::int32_t osisBook(const QString &code);

} // namespace bible
