#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// What comes, goes and returns while a service is on, and how it is recorded.
constexpr TextPair pairs[] = {
    TextPair { "La escena no salió al aire; “%1” no se puede reproducir. ",
        "The scene did not go on air; “%1” cannot be played. " },
    TextPair { "El servidor rechaza la clave; no se reconecta.",
        "The server refuses the key; it will not reconnect." },
    TextPair { "El certificado del servidor no es válido; no se reconecta.",
        "The server's certificate is not valid; it will not reconnect." },
    TextPair { "El servidor sigue con la transmisión anterior; no se reconecta.",
        "The server still has the stream before; it will not reconnect." },
    TextPair { "El servidor aún tiene la transmisión anterior; reintento en %1 s · intento %2",
        "The server still has the stream before; trying again in %1 s · attempt %2" },
    TextPair { "El servidor la cierra una y otra vez: revisa la clave.",
        "The server closes it again and again: check the key." },
    TextPair { "Reconectando en %1 s · intento %2", "Reconnecting in %1 s · attempt %2" },
    TextPair { "Se vuelve a conectar sola.", "It reconnects by itself." },
    TextPair { "%1: la transmisión ha vuelto.", "%1: the stream is back." },
    TextPair { "Volver a conectar solo", "Reconnect by itself" },
    TextPair { "Ahora", "Now" },
    TextPair { "Servicio", "Service" },
    TextPair { "MKV, lo mismo que las transmisiones (*.mkv)",
        "MKV, the same as the streams (*.mkv)" },
    TextPair { "Fuente recuperada: %1", "Source is back: %1" },
    TextPair { "El video de red terminó.", "The network video has ended." },
    TextPair { "La fuente de red terminó; se vuelve a abrir.",
        "The network source has ended; it will be opened again." },
};

} // namespace

std::span<const TextPair> serviceTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
