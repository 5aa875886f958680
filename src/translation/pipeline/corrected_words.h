#pragma once

#include <QString>

namespace nimbara {

/// The words in `after` that stand in place of others in `before`: from the first word that differs
/// to the last. Empty when words were only taken away, or nothing differs. Pure.
QString correctedWords(const QString &before, const QString &after);

} // namespace nimbara
