#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// What cameras and capture cards offer, and what comes of it.
constexpr TextPair pairs[] = {
    TextPair { "La cámara solo ofrece imagen infrarroja",
        "The camera offers an infrared picture alone" },
    TextPair { "Modo de la cámara", "Camera mode" },
    TextPair { "Automático", "Automatic" },
    TextPair { "lo que ofrezca", "what it offers" },
    TextPair { "Pedido: %1", "Asked for: %1" },
    TextPair { "Pedido: %1. Acordado: %2. Llega: %3 × %4, %5 imágenes por segundo.",
        "Asked for: %1. Agreed: %2. Coming in: %3 × %4, %5 pictures per second." },
    TextPair { " Llegan menos de las acordadas: suele faltar luz.",
        " Fewer than agreed are coming in: there is often too little light." },
    TextPair { "Hay varias cámaras como %1: elige cuál en las propiedades de la capa.",
        "There are several cameras like %1: choose which in the properties of the layer." },
    TextPair { "Cambiar de cámara", "Change the camera" },
    TextPair { "Cámara que se muestra", "Camera shown" },
    TextPair { "Muestra su propia cámara, esté o no conectada en \"Fuentes y pantallas\".",
        "Shows a camera of its own, connected in \"Sources and screens\" or not." },
    TextPair { "Cámara principal", "Principal camera" },
    TextPair { "%1 (no conectada)", "%1 (not connected)" },
    TextPair { "Abrir las cámaras de las capas solo mientras se ven",
        "Open the cameras of layers only while they are seen" },
};

} // namespace

std::span<const TextPair> cameraTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
