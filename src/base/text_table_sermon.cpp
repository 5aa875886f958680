#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// How a sermon is heard, translated and shown.
constexpr TextPair pairs[] = {
    TextPair { "En vivo", "Live" },
    TextPair { "Por frases", "Phrase by phrase" },
    TextPair { "En espera de la red", "Waiting for the network" },
    TextPair { "el servidor no responde", "the server is not responding" },
    TextPair { "Lectura", "Easy reading" },
    TextPair { "Lectura con retraso: sube a 20 caracteres por segundo.",
        "Reading is behind: up to 20 characters per second." },
    TextPair { "Lectura al día: vuelve a 15 caracteres por segundo.",
        "Reading is up to date: back to 15 characters per second." },
};

} // namespace

std::span<const TextPair> sermonTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
