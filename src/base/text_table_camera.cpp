#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// What cameras and capture cards offer, and what comes of it.
constexpr TextPair pairs[] = {
    TextPair { "La cámara solo ofrece imagen infrarroja",
        "The camera offers an infrared picture alone" },
    TextPair { "Modo de la cámara", "Camera mode" },
    TextPair { "Automático", "Automatic" },
};

} // namespace

std::span<const TextPair> cameraTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
