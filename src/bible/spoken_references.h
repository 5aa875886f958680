#pragma once

#include "bible/passage.h"
#include "bible/spoken_words.h"

#include <QList>
#include <QString>

namespace bible {

/// A reference in what was said.
struct SpokenReference {
    Passage passage;
    qsizetype from = 0; ///< where it stands in the transcript
    qsizetype to = 0;
};

/// The references in a transcript, finished or still growing, in the order in which they were said:
/// "primera de Corintios trece, del cuatro al siete", "the third chapter of John, verse sixteen",
/// "Psalm one nineteen". Numbers may be in words or digits. What the Bible does not have is none,
/// and neither is a name with a number that may be anything: "tres Juanes", "mark two boxes". What
/// a reference means is decided by `read`. While the transcript `isGrowing`, its end closes
/// nothing: "en Marcos tres" may become "en Marcos tres cosas". Callable from any thread.
QList<SpokenReference>
findSpoken(const QString &transcript, spoken::Language language, bool isGrowing = false);

} // namespace bible
