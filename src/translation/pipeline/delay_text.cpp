#include "translation/pipeline/delay_text.h"

namespace nimbara::delay_text {

Message seconds(std::int64_t ms)
{
    return Message::verbatim(QString::number(static_cast<double>(ms) / 1000, 'f', 1));
}

Message summary(const DelayMeter::Figures &figures)
{
    if (figures.phrases == 0) {
        return {};
    }
    return Message("Retraso %1 s (9 de cada 10: %2 s)",
        { seconds(figures.medianMs), seconds(figures.p90Ms) });
}

Message stages(const DelayMeter::Figures &figures)
{
    constexpr auto held = static_cast<std::size_t>(DelayStage::Held);
    const bool isHeld = figures.stageMs.at(held) > 0;
    QList<Message> parts;
    for (std::size_t stage = 0; stage < delayStages; ++stage) {
        if (stage != held || isHeld) {
            parts.append(seconds(figures.stageMs.at(stage)));
        }
    }
    return isHeld
        ? Message(" Oír %1 · transcribir %2 · pedir %3 · traducir %4 · retener %5 · mostrar %6 s.",
            parts)
        : Message(" Oír %1 · transcribir %2 · pedir %3 · traducir %4 · mostrar %5 s.", parts);
}

} // namespace nimbara::delay_text
