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

const bible::Bible *bibleWithId(const QString &id)
{
    if (id.isEmpty()) {
        return nullptr;
    }
    for (const bible::Bible *each : { &bible::spanish(), &bible::english() }) {
        if (each->valid && each->id == id) {
            return each;
        }
    }
    return nullptr;
}

SecondText secondOf(const Layer &layer, const bible::Passage &passage)
{
    const bible::Bible *bible = bibleWithId(layer.second);
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
    const bible::Bible *bible = bibleWithId(layer.second);
    const QString name = bible != nullptr ? bible->name : layer.second;
    return { "No está en %1: se muestra sola la primera Biblia.", { Message::verbatim(name) } };
}

} // namespace nimbara
