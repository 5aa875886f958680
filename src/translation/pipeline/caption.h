#pragma once

#include "translation/pipeline/phrase_delay.h"

#include <QString>

namespace nimbara {

/// A phrase that is ready for the screens.
struct Caption {
    QString text; ///< translated
    QString original; ///< as it was transcribed
    PhraseTimes times; ///< of the stages, all but the last
};

} // namespace nimbara
