#include "studio/services/second_verse.h"

#include "bible/reader.h"
#include "bible/verse_flow.h"

namespace nimbara {

QString labelOf(const QString &reference)
{
    return reference.section(QStringLiteral(" · "), 0, 0);
}

std::optional<bible::Passage> passageOf(const QString &reference)
{
    const bible::Reading reading = bible::read(labelOf(reference));
    return reading.status == bible::Reading::Status::Found ? std::optional(reading.passages.first())
                                                           : std::nullopt;
}

SecondText secondOf(const Layer &layer, const bible::Passage &passage)
{
    const bible::BiblePtr bible = bible::bibleWithId(layer.second);
    if (bible == nullptr) {
        return {};
    }
    const QString text = bible::presentText(*bible, passage);
    return text.isEmpty() ? SecondText {}
                          : SecondText { text, bible::referenceLine(*bible, passage) };
}

SecondText secondOf(const Layer &layer, const QString &reference)
{
    if (layer.second.isEmpty()) {
        return {};
    }
    const auto passage = passageOf(reference);
    return passage ? secondOf(layer, *passage) : SecondText {};
}

Message missingSecond(const Layer &layer)
{
    if (layer.second.isEmpty() || !layer.secondText.isEmpty() || layer.reference.isEmpty()) {
        return {};
    }
    const bible::BiblePtr bible = bible::bibleWithId(layer.second);
    return bible != nullptr ? Message("No está en %1: se muestra sola la primera Biblia.",
               { Message::verbatim(bible->name) })
                            : Message("La Biblia %1 no está en este equipo: se muestra sola la "
                                      "primera.",
                                { Message::verbatim(layer.second) });
}

} // namespace nimbara
