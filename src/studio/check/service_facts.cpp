#include "studio/check/service_facts.h"

#include "studio/outputs/recording_desk.h"

#include <algorithm>
#include <cmath>

namespace nimbara {

namespace {

using State = CheckLine::State;

constexpr double quiet = 0.01; ///< −40 dBFS
constexpr double loud = 0.98;
constexpr double enoughPictures = 24;
constexpr std::int64_t cautionMinutes = 60;
constexpr std::int64_t badMinutes = 20;
constexpr std::int64_t soundKbits = 160;

Message number(qint64 value)
{
    return Message::verbatim(QString::number(value));
}

Message listed(const QStringList &names)
{
    return Message::verbatim(names.join(QStringLiteral(", ")));
}

CheckLine screenLine(const ServiceFacts &facts)
{
    if (facts.screens > 1) {
        return { State::Good, "Pantallas", { "Hay %1.", { number(facts.screens) } } };
    }
    return { State::Caution,
        "Pantallas",
        "Solo está la tuya. Conecta el proyector como pantalla extendida." };
}

CheckLine soundLine(const ServiceFacts &facts)
{
    const Message what = "Sonido";
    if (!facts.hasInput) {
        return { State::Caution, what, "No hay entrada elegida en “Fuentes y pantallas”." };
    }
    if (facts.inputIsLost) {
        return { State::Bad, what, "La entrada no está. Revisa la consola y su cable." };
    }
    if (facts.isMuted) {
        return { State::Caution, what, "Está silenciado." };
    }
    if (facts.inputPeak < quiet) {
        return { State::Caution, what, "No se oye nada. Habla al micrófono y repite la revisión." };
    }
    const auto level = static_cast<qint64>(std::lround(20 * std::log10(facts.inputPeak)));
    if (facts.inputPeak > loud) {
        return { State::Caution, what, "Satura. Baja el volumen en la consola." };
    }
    return { State::Good, what, { "Llega a %1 dB.", { number(level) } } };
}

CheckLine pictureLine(const Message &what, const ServiceFacts::Camera &camera)
{
    if (camera.isLost) {
        return { State::Bad, what, "No está. Revisa su cable." };
    }
    if (camera.isClosed) {
        return { State::Caution,
            what,
            "No se abre hasta que se ve. Pon su escena en Preparación y repite la revisión." };
    }
    const Message rate = Message("%1 imágenes por segundo.", { number(std::lround(camera.rate)) });
    if (camera.rate < enoughPictures) {
        return { State::Caution,
            what,
            rate + Message(" Son pocas: da más luz o elige otro modo.") };
    }
    return { State::Good, what, rate };
}

void addCameras(std::vector<CheckLine> &lines, const ServiceFacts &facts)
{
    const Message what = "Cámara";
    if (facts.hasCamera) {
        lines.push_back(pictureLine(what, { {}, facts.cameraRate, facts.cameraIsLost }));
    } else {
        lines.push_back(
            { State::Caution, what, "No hay cámara elegida: se ven las barras de prueba." });
    }
    for (const ServiceFacts::Camera &camera : facts.sceneCameras) {
        lines.push_back(pictureLine({ "Cámara %1", { Message::verbatim(camera.name) } }, camera));
    }
}

void addDisk(std::vector<CheckLine> &lines, const ServiceFacts &facts)
{
    const Message what = "Disco";
    if (facts.diskHangs) {
        lines.push_back({ State::Bad,
            what,
            "No responde. Revisa su cable o su conexión de red, o graba en otro disco." });
        return;
    }
    if (!facts.freeBytes) {
        return;
    }
    const std::int64_t perMinute = (facts.kbits + soundKbits) * 1000 / 8 * 60;
    const std::int64_t free
        = std::max<std::int64_t>(*facts.freeBytes - RecordingDisk::reserveBytes, 0);
    const std::int64_t minutes = free / perMinute;
    const Message room = Message("Caben %1 minutos de grabación.", { number(minutes) });
    if (minutes >= cautionMinutes) {
        lines.push_back({ State::Good, what, room });
    } else {
        lines.push_back({ minutes < badMinutes ? State::Bad : State::Caution,
            what,
            room + Message(" Libera espacio o graba en otro disco.") });
    }
}

CheckLine destinationLine(const ServiceFacts &facts)
{
    const Message what = "Destinos";
    if (facts.destinations.isEmpty()) {
        return { State::Caution, what, "Ninguno está marcado: no se transmite." };
    }
    const Message server("Falta el servidor de %1.", { listed(facts.withoutServer) });
    const Message key("Falta la clave de %1.", { listed(facts.withoutKey) });
    if (!facts.withoutServer.isEmpty()) {
        const Message both = server + Message::verbatim(QStringLiteral(" ")) + key;
        return { State::Bad, what, facts.withoutKey.isEmpty() ? server : both };
    }
    if (!facts.withoutKey.isEmpty()) {
        return { State::Caution, what, key };
    }
    return { State::Good, what, listed(facts.destinations) };
}

void addLine(std::vector<CheckLine> &lines, const ServiceFacts &facts)
{
    if (facts.lineHadRoom) {
        lines.push_back(
            { *facts.lineHadRoom ? State::Good : State::Bad, "Conexión", facts.lineVerdict });
    } else if (!facts.destinations.isEmpty()) {
        lines.push_back({ State::Caution,
            "Conexión",
            "No se ha probado: pulsa “Probar la conexión” en “Transmitir y grabar”." });
    }
}

void addService(std::vector<CheckLine> &lines, const ServiceFacts &facts)
{
    const Message what = "Traducción";
    if (!facts.hasServiceKey) {
        lines.push_back({ State::Caution,
            what,
            "El almacén de claves no responde: no se sabe si hay API key." });
    } else if (!*facts.hasServiceKey) {
        lines.push_back({ State::Caution, what, "No hay API key: no habrá traducción." });
    } else if (facts.serviceAnswers) {
        lines.push_back(
            { *facts.serviceAnswers ? State::Good : State::Bad, what, facts.serviceAnswer });
    } else {
        lines.push_back(
            { State::Bad, what, "El servicio no responde. Revisa la conexión a internet." });
    }
}

/// One that cannot be had is no end of the service: a built-in Bible stands in.
void addOnlineBible(std::vector<CheckLine> &lines, const ServiceFacts &facts)
{
    const Message what = "Biblia en línea";
    if (!facts.usesOnlineBible) {
        return;
    }
    if (!facts.onlineBible) {
        lines.push_back(
            { State::Caution, what, "El servicio no responde. Revisa la conexión a internet." });
    } else if (facts.onlineBible->isEmpty()) {
        lines.push_back({ State::Good, what, "API.Bible responde." });
    } else {
        lines.push_back({ State::Caution, what, *facts.onlineBible });
    }
}

void addFit(std::vector<CheckLine> &lines,
    const Message &what,
    const QStringList &failing,
    const Message &fits,
    const char *hidden)
{
    if (failing.isEmpty()) {
        lines.push_back({ State::Good, what, fits });
    } else {
        lines.push_back({ State::Caution, what, { hidden, { listed(failing) } } });
    }
}

void addTexts(std::vector<CheckLine> &lines, const ServiceFacts &facts)
{
    const Message what = "Textos y versículos";
    if (!facts.texts) {
        lines.push_back(
            { State::Caution, what, "No dio tiempo a medir si caben. Repite la revisión." });
        return;
    }
    addFit(lines,
        what,
        facts.texts->hidden,
        "Caben en su recuadro.",
        "No caben en su recuadro: %1. Agranda el recuadro o reduce la letra.");
    if (facts.texts->longVerse) {
        addFit(lines,
            "Versículo más largo",
            *facts.texts->longVerse,
            "Cabe en su recuadro o se divide en páginas.",
            "No cabe en su recuadro: %1. Agranda el recuadro, reduce la letra o divide en "
            "páginas.");
    }
    if (facts.texts->caption) {
        addFit(lines,
            "Subtítulos",
            *facts.texts->caption,
            "Caben dos líneas de 37 letras.",
            "No caben dos líneas de 37 letras: %1. Agranda el recuadro o reduce la letra.");
    }
}

void addMachine(std::vector<CheckLine> &lines, const ServiceFacts &facts)
{
    if (facts.clockIsSet) {
        lines.push_back({ *facts.clockIsSet ? State::Good : State::Caution,
            "Reloj",
            *facts.clockIsSet ? "Está en hora." : "No se pone en hora por la red. Compruébalo." });
    }
    if (facts.onBattery) {
        lines.push_back({ *facts.onBattery ? State::Bad : State::Good,
            "Corriente",
            *facts.onBattery ? "Funciona con la batería. Enchufa el cargador."
                             : "Está enchufado." });
    }
}

} // namespace

std::vector<CheckLine> judge(const ServiceFacts &facts)
{
    std::vector<CheckLine> lines { screenLine(facts), soundLine(facts) };
    addCameras(lines, facts);
    addDisk(lines, facts);
    lines.push_back(destinationLine(facts));
    addLine(lines, facts);
    addService(lines, facts);
    addOnlineBible(lines, facts);
    addTexts(lines, facts);
    addMachine(lines, facts);
    return lines;
}

} // namespace nimbara
