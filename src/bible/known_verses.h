#pragma once

#include "bible/reference.h"

#include <QList>

namespace bible {

/// Verses that are quoted, sung and preached on more than others, in canonical order. Where a few
/// words may be of many verses, these are meant before the others.
QList<Ref> knownVerses();

} // namespace bible
