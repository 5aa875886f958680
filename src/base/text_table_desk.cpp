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
    TextPair { "Ni un contorno ni un fondo bastan con esta opacidad: súbela al %1 %.",
        "Neither an outline nor a background will do at this opacity: raise it to %1 %." },
    TextPair {
        "Ni un contorno ni un fondo bastan: el color de las letras es demasiado transparente.",
        "Neither an outline nor a background will do: the letters' colour is too transparent." },
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
    TextPair { "Clic o tecla: a Preparación. Doble clic: al aire. Arrastra para ordenar. "
               "Renombrar: %1",
        "Click or key: to Preview. Double click: on air. Drag to order. Rename: %1" },
    TextPair { "Mover fuentes", "Move sources" },
    TextPair { "Eliminar fuentes", "Delete sources" },
    TextPair { "%1 fuentes seleccionadas: se mueven, escalan, copian, ordenan, ocultan, bloquean y "
               "eliminan juntas.",
        "%1 sources selected: they are moved, scaled, copied, ordered, hidden, locked and deleted "
        "together." },
    TextPair { "Imán", "Snap" },
    TextPair {
        "Lo que arrastras se ajusta a bordes, centros, tercios y otras fuentes. Alt: sin imán",
        "What you drag snaps to edges, centres, thirds and other sources. Alt: no snapping" },
    TextPair { "Escena %1 a Preparación", "Scene %1 to Preview" },
    TextPair { "Preparación al aire", "Preview on air" },
    TextPair { "Versículo dicho a PREVIEW", "Spoken verse to PREVIEW" },
    TextPair { "Versículo dicho al aire", "Spoken verse on air" },
    TextPair { "Seleccionar todo", "Select all" },
    TextPair { "Mover 1 píxel a la izquierda", "Move 1 pixel left" },
    TextPair { "Mover 1 píxel a la derecha", "Move 1 pixel right" },
    TextPair { "Mover 1 píxel hacia arriba", "Move 1 pixel up" },
    TextPair { "Mover 1 píxel hacia abajo", "Move 1 pixel down" },
    TextPair { "Mover 10 píxeles a la izquierda", "Move 10 pixels left" },
    TextPair { "Mover 10 píxeles a la derecha", "Move 10 pixels right" },
    TextPair { "Mover 10 píxeles hacia arriba", "Move 10 pixels up" },
    TextPair { "Mover 10 píxeles hacia abajo", "Move 10 pixels down" },
    TextPair { "Imán de la preparación", "Snapping in the preview" },
    TextPair { "Acercar la preparación", "Zoom the preview in" },
    TextPair { "Alejar la preparación", "Zoom the preview out" },
    TextPair { "Ver la preparación entera", "See the whole preview" },
    TextPair { "Teclas", "Keys" },
    TextPair { "Ventana", "Window" },
    TextPair { "Fuentes y escenas", "Sources and scenes" },
    TextPair { "Preparación", "Preview" },
    TextPair { "Pedal o mando", "Foot switch or clicker" },
    TextPair { "Escuchar pedal o mando en todas las ventanas del estudio",
        "Listen to a foot switch or clicker in all windows of the studio" },
    TextPair { "Con un pedal o un mando de presentaciones: sus teclas pasan de página y quitan del "
               "aire, también con otra ventana del estudio delante. Mientras escribes son letras.",
        "For a foot switch or a presenter's clicker: its keys turn pages and take off air, also "
        "with another window of the studio in front. While you type they are letters." },
    TextPair { "Cambiar", "Change" },
    TextPair { "Añadir otra", "Add another" },
    TextPair { "Restablecer", "Restore" },
    TextPair { "Todas las teclas como al principio", "All keys as they were at first" },
    TextPair { "Acción", "Action" },
    TextPair { "Dónde", "Where" },
    TextPair { "Elige una acción y pulsa Intro o Cambiar.",
        "Choose an action and press Enter or Change." },
    TextPair { "Pulsa las teclas para “%1”. Esc: dejarlo.",
        "Press the keys for “%1”. Esc: leave it." },
    TextPair { "%1 es también de “%2” (%3).", "%1 is also for “%2” (%3)." },
    TextPair { "%1 ya es de “%2”. Pulsa otras teclas, o Esc.",
        "%1 belongs to “%2”. Press other keys, or Esc." },
    TextPair { "Espacio", "Space" },
    TextPair { "Re Pág", "Page Up" },
    TextPair { "Av Pág", "Page Down" },
    TextPair { "Supr", "Delete" },
    TextPair { "Mayús", "Shift" },
    TextPair { "Retroceso", "Backspace" },
    TextPair { "Intro", "Enter" },
    TextPair { "Inicio", "Home" },
    TextPair { "Fin", "End" },
    TextPair { "FUERA DEL AIRE", "OFF AIR" },
    TextPair { "AL AIRE", "ON AIR" },
    TextPair { "EN VIVO (%1)", "LIVE (%1)" },
    TextPair { "GRABANDO", "RECORDING" },
    TextPair { "GRABACIÓN EN PAUSA", "RECORDING PAUSED" },
    TextPair { "ABRIENDO LA GRABACIÓN", "OPENING THE RECORDING" },
    TextPair { "Servicio %1", "Service %1" },
    TextPair { "Hora y duración del servicio", "Time of day and length of the service" },
    TextPair { "Pestañas de trabajo", "Work tabs" },
};

} // namespace

std::span<const TextPair> deskTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
