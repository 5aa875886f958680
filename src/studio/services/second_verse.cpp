#include "studio/services/second_verse.h"

#include "bible/reader.h"
#include "bible/verse_flow.h"

namespace nimbara {

QString labelOf(const QString &reference)
{
    return reference.section(QStringLiteral(" · "), 0, 0);
}

QString sourceOf(const QString &reference)
{
    return reference.section(QStringLiteral(" · "), 1);
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
    if (layer.second.isEmpty() || layer.reference.isEmpty()) {
        return {};
    }
    const bible::BiblePtr bible = bible::bibleWithId(layer.second);
    if (bible == nullptr) {
        return layer.secondText.isEmpty()
            ? Message("La Biblia %1 no está en este equipo: se muestra sola la primera.",
                { Message::verbatim(layer.second) })
            : Message();
    }
    const auto passage = passageOf(layer.reference);
    const Message missing = passage ? bible::missingVerses(*bible, *passage) : Message();
    if (!missing.isEmpty()) {
        return layer.secondText.isEmpty()
            ? missing + " Se muestra sola la primera Biblia."
            : missing + " En esos versículos se muestra sola la primera Biblia.";
    }
    return layer.secondText.isEmpty() ? Message("No está en %1: se muestra sola la primera Biblia.",
               { Message::verbatim(bible->name) })
                                      : Message();
}

Message missingText(const Layer &layer)
{
    if (!layer.text.isEmpty() || layer.secondText.isEmpty()) {
        return missingSecond(layer);
    }
    return { "No está en %1: se muestra en su lugar %2.",
        { Message::verbatim(sourceOf(layer.reference)),
            Message::verbatim(sourceOf(layer.secondReference)) } };
}

} // namespace nimbara
