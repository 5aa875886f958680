#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// How the streams fit the machine's encoders and the line.
constexpr TextPair pairs[] = {
    TextPair { "Codificador", "Encoder" },
    TextPair { "Solo el programa", "The program alone" },
    TextPair { "Codifica el equipo: %1", "The computer encodes: %1" },
    TextPair { "Codifica el programa: %1", "The program encodes: %1" },
    TextPair { "Se prueba el codificador del equipo; mientras tanto, %1",
        "The computer's encoder is being tested; meanwhile, %1" },
    TextPair { "El codificador del equipo falló; se usa %1",
        "The computer's encoder failed; %1 is used" },
    TextPair { "El codificador del equipo no pasó la prueba; se usa %1",
        "The computer's encoder did not pass its test; %1 is used" },
    TextPair { "La conexión no da abasto en la mayoría de los destinos: se baja la calidad de "
               "video.",
        "The connection cannot keep up for most destinations: the video quality goes down." },
    TextPair { "La conexión vuelve a dar abasto: la calidad de video es la elegida.",
        "The connection keeps up again: the video quality is the chosen one." },
    TextPair { "Calidad al %1 %", "Quality at %1 %" },
    TextPair { "Probar la conexión", "Test the connection" },
    TextPair { "Cancelar la prueba", "Cancel the test" },
    TextPair { "Prueba de conexión", "Connection test" },
    TextPair { "Publicar y probar", "Publish and test" },
    TextPair { "Durante 10 s se publica ruido en %1: lo verá quien mire allí. Otra forma de "
               "probarlos no hay.",
        "Noise is published for 10 s on %1: whoever watches there will see it. There is no other "
        "way to test them." },
    TextPair { "Marca los destinos que quieres probar.", "Tick the destinations to be tested." },
    TextPair { "Hay una transmisión al aire: la prueba le quitaría conexión.",
        "A stream is on air: the test would take from its connection." },
    TextPair { "Conectando con los destinos…", "Connecting to the destinations…" },
    TextPair { "Probando la conexión: faltan %1 s", "Testing the connection: %1 s left" },
    TextPair { "Prueba de conexión cancelada.", "Connection test cancelled." },
    TextPair { "No se pudo conectar a tiempo", "It could not be connected in time" },
    TextPair { "La prueba no llegó a ningún destino.", "The test reached no destination." },
    TextPair { "Tu conexión alcanza para %1 de %2 destinos a %3 Mbit/s",
        "Your connection is enough for %1 of %2 destinations at %3 Mbit/s" },
};

} // namespace

std::span<const TextPair> outputsTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
