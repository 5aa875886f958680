#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// The room of the window, and what it tells of the air.
constexpr TextPair pairs[] = {
    TextPair { "El texto no cabe en su recuadro: 1 línea oculta",
        "The text does not fit its box: 1 line hidden" },
    TextPair { "El texto no cabe en su recuadro: %1 líneas ocultas",
        "The text does not fit its box: %1 lines hidden" },
    TextPair { "Arrastra para repartir el espacio; doble clic: automático",
        "Drag to share the room; double click: automatic" },
    TextPair { "Cuesta leerlo: contraste %1 : 1, hacen falta 4,5 : 1.",
        "Hard to read: contrast %1 : 1, it takes 4.5 : 1." },
    TextPair { "Letras pequeñas para la última fila: desde tamaño %1 se leen.",
        "Small letters for the last row: from size %1 on they are read." },
    TextPair { "Hacer legible", "Make it readable" },
    TextPair { "cuesta leerlo", "hard to read" },
    TextPair { "Bloqueada", "Locked" },
    TextPair { "Bloqueada: no se mueve en la preparación",
        "Locked: it does not move in the preview" },
    TextPair { "Bloquear: no se moverá en la preparación",
        "Lock: it will not move in the preview" },
    TextPair { "Bloquear o desbloquear", "Lock or unlock" },
    TextPair { "Copiar", "Copy" },
    TextPair { "Cortar", "Cut" },
    TextPair { "Pegar", "Paste" },
    TextPair { "Plegar la cabecera", "Fold the header away" },
    TextPair { "Mostrar la cabecera", "Show the header" },
    TextPair { "Clic o teclas 1 a 9: a Preparación. Doble clic: al aire. Arrastra para ordenar. "
               "Ctrl+R: renombrar.",
        "Click or keys 1 to 9: to Preview. Double click: on air. Drag to order. Ctrl+R: rename." },
    TextPair { "FUERA DEL AIRE", "OFF AIR" },
    TextPair { "AL AIRE", "ON AIR" },
    TextPair { "EN VIVO (%1)", "LIVE (%1)" },
    TextPair { "GRABANDO", "RECORDING" },
    TextPair { "GRABACIÓN EN PAUSA", "RECORDING PAUSED" },
    TextPair { "Servicio %1", "Service %1" },
    TextPair { "Hora y duración del servicio", "Time of day and length of the service" },
};

} // namespace

std::span<const TextPair> deskTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
