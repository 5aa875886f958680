#pragma once

#include <QString>

namespace bible {

/// The words of a verse that is marked as OSIS, ThML or GBF: without notes, headings, numbers of a
/// lexicon, and with entities as the signs that they mean.
QString withoutMarkup(const QString &text);

} // namespace bible
