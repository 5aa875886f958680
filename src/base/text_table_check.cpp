#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// What is looked at before a service.
constexpr TextPair pairs[] = {
    TextPair { "Revisar antes del servicio…", "Check before the service…" },
    TextPair { "Revisión antes del servicio", "Check before the service" },
    TextPair { "Revisando… Habla al micrófono.", "Checking… Speak into the microphone." },
    TextPair { "Revisar otra vez", "Check again" },
    TextPair { "Guardar página…", "Save page…" },
    TextPair { "Página (*.html)", "Page (*.html)" },
    TextPair { "No se pudo escribir la página.", "The page could not be written." },
    TextPair { "Todo está listo.", "Everything is ready." },
    TextPair { "Por mirar: %1.", "To be looked at: %1." },
    TextPair { "Bien", "Good" },
    TextPair { "Atención", "Caution" },
    TextPair { "Mal", "Bad" },
    TextPair { "Pantallas", "Screens" },
    TextPair { "Hay %1.", "There are %1." },
    TextPair { "Solo está la tuya. Conecta el proyector como pantalla extendida.",
        "There is only yours. Connect the projector as an extended screen." },
    TextPair { "Sonido", "Sound" },
    TextPair { "No hay entrada elegida en “Fuentes y pantallas”.",
        "No input is chosen in “Sources and screens”." },
    TextPair { "La entrada no está. Revisa la consola y su cable.",
        "The input is not there. Check the mixer and its cable." },
    TextPair { "Está silenciado.", "It is muted." },
    TextPair { "No se oye nada. Habla al micrófono y repite la revisión.",
        "Nothing is heard. Speak into the microphone and check again." },
    TextPair { "Satura. Baja el volumen en la consola.",
        "It is distorted. Lower the volume on the mixer." },
    TextPair { "Llega a %1 dB.", "It reaches %1 dB." },
    TextPair { "No hay cámara elegida: se ven las barras de prueba.",
        "No camera is chosen: test bars are shown." },
    TextPair { "No está. Revisa su cable.", "It is not there. Check its cable." },
    TextPair { "Cámara %1", "Camera %1" },
    TextPair { "No se abre hasta que se ve. Pon su escena en Preparación y repite la revisión.",
        "It is not opened until it is seen. Put its scene in Preview and check again." },
    TextPair { "No responde. Revisa su cable o su conexión de red, o graba en otro disco.",
        "It does not respond. Check its cable or its network, or record to another disk." },
    TextPair { "%1 imágenes por segundo.", "%1 pictures per second." },
    TextPair { " Son pocas: da más luz o elige otro modo.",
        " They are few: give more light or choose another mode." },
    TextPair { "Disco", "Disk" },
    TextPair { "Caben %1 minutos de grabación.", "There is room for %1 minutes of recording." },
    TextPair { " Libera espacio o graba en otro disco.", " Make room or record on another disk." },
    TextPair { "Destinos", "Destinations" },
    TextPair { "Ninguno está marcado: no se transmite.", "None is ticked: nothing is streamed." },
    TextPair { "Falta el servidor de %1.", "The server of %1 is missing." },
    TextPair { "Falta la clave de %1.", "The key of %1 is missing." },
    TextPair { "Traducción", "Translation" },
    TextPair { "El servicio no responde. Revisa la conexión a internet.",
        "The service does not answer. Check the connection to the internet." },
    TextPair { "No se ha probado: pulsa “Probar la conexión” en “Transmitir y grabar”.",
        "It was not tested: press “Test the connection” in “Stream and record”." },
    TextPair { "No hay API key: no habrá traducción.",
        "There is no API key: there will be no translation." },
    TextPair { "El almacén de claves no responde: no se sabe si hay API key.",
        "The key store does not answer: nobody can tell whether there is an API key." },
    TextPair { "Biblia en línea", "Online Bible" },
    TextPair { "API.Bible responde.", "API.Bible answers." },
    TextPair { "Falta la clave o la Biblia de API.Bible: se mostrará la Reina-Valera 1909.",
        "The key or the Bible of API.Bible is missing: the Reina-Valera 1909 will be shown." },
    TextPair { "Conexión", "Connection" },
    TextPair { "Textos y versículos", "Texts and verses" },
    TextPair { "Caben en su recuadro.", "They fit their boxes." },
    TextPair { "No caben en su recuadro: %1. Agranda el recuadro o reduce la letra.",
        "They do not fit their boxes: %1. Make the box larger or the letters smaller." },
    TextPair { "No dio tiempo a medir si caben. Repite la revisión.",
        "There was no time to measure whether they fit. Check again." },
    TextPair { "Versículo más largo", "Longest verse" },
    TextPair { "Cabe en su recuadro o se divide en páginas.",
        "It fits its box or is split into pages." },
    TextPair {
        "No cabe en su recuadro: %1. Agranda el recuadro, reduce la letra o divide en páginas.",
        "It does not fit its box: %1. Make the box larger or the letters smaller, or split into "
        "pages." },
    TextPair { "Caben dos líneas de 37 letras.", "Two lines of 37 letters fit." },
    TextPair { "No caben dos líneas de 37 letras: %1. Agranda el recuadro o reduce la letra.",
        "Two lines of 37 letters do not fit: %1. Make the box larger or the letters smaller." },
    TextPair { "Reloj", "Clock" },
    TextPair { "Está en hora.", "It is right." },
    TextPair { "No se pone en hora por la red. Compruébalo.",
        "It is not set by the network. Check it." },
    TextPair { "Corriente", "Power" },
    TextPair { "Funciona con la batería. Enchufa el cargador.",
        "It runs on its battery. Plug in the charger." },
    TextPair { "Está enchufado.", "It is plugged in." },
};

} // namespace

std::span<const TextPair> checkTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
