#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// Clocks, styles of texts, and what a new operator begins with.
constexpr TextPair pairs[] = {
    TextPair { "Reloj o cuenta atrás", "Clock or countdown" },
    TextPair { "Lo que muestra el reloj", "What the clock shows" },
    TextPair { "Muestra", "Shows" },
    TextPair { "La hora", "The time" },
    TextPair { "La hora con segundos", "The time in seconds" },
    TextPair { "Cuenta atrás a una hora", "Countdown to a time" },
    TextPair { "Cuenta atrás de un tiempo", "Countdown of a length" },
    TextPair { "Hora final", "Final time" },
    TextPair { "Duración (h:min:s)", "Length (h:min:s)" },
    TextPair { "Al llegar a cero", "At zero" },
    TextPair { "Reiniciar", "Reset" },
    TextPair { "Interlineado", "Line spacing" },
    TextPair { "Interlineado (%)", "Line spacing (%)" },
    TextPair { "Líneas", "Lines" },
    TextPair { "Grosor del contorno", "Outline width" },
    TextPair { "Grosor del contorno (%)", "Outline width (%)" },
    TextPair { "Fuerza de la sombra", "Shadow strength" },
    TextPair { "Fuerza de la sombra (%)", "Shadow strength (%)" },
    TextPair { "Mayúsculas", "Capitals" },
    TextPair { "Todo en mayúsculas", "All capitals" },
    TextPair { "Estilo", "Style" },
    TextPair { "Sin estilo", "No style" },
    TextPair { "Estilos del proyecto", "Styles of the project" },
    TextPair { "Guardar estilo", "Keep style" },
    TextPair { "Ya hay un estilo “%1”. ¿Cambiarlo, con todos los textos que lo usan?",
        "There is a style “%1” already. Change it, with every text that uses it?" },
    TextPair { "Guardar como estilo...", "Keep as a style..." },
    TextPair { "Eliminar estilo", "Delete style" },
    TextPair { "Lo que cambias en un texto con estilo cambia en todos los que lo usan.",
        "What you change in a text with a style changes in all that use it." },
    TextPair { "El proyecto ya tiene demasiados estilos.", "The project has too many styles." },
    TextPair { "Escenas para empezar", "Scenes to start from" },
    TextPair { "Título y cinta inferior", "Title and lower third" },
    TextPair { "Versículo a pantalla completa", "Full-screen verse" },
    TextPair { "Versículo en la parte inferior", "Lower-third verse" },
    TextPair { "Subtítulos para la sala", "Subtitles for the hall" },
    TextPair { "Subtítulos para la transmisión", "Subtitles for the stream" },
    TextPair { "Cuenta atrás", "Countdown" },
    TextPair { "Versículo abajo", "Verse below" },
    TextPair { "Subtítulos", "Subtitles" },
    TextPair { "Subtítulos abajo", "Subtitles below" },
    TextPair { "Bienvenida", "Welcome" },
    TextPair { "Bienvenidos", "Welcome" },
    TextPair { "Empezamos en", "We start in" },
    TextPair { "Nos alegra que estés aquí", "We are glad that you are here" },
    TextPair { "Nombre o cita", "Name or reference" },
    TextPair { "Cinta", "Band" },
    TextPair { "Adorno", "Ornament" },
    TextPair { "Título", "Title" },
    TextPair { "Hora", "Time" },
    TextPair { "Primeros pasos", "First steps" },
    TextPair { "Cerrar los primeros pasos", "Close the first steps" },
    TextPair { "Pantalla de sala", "Hall screen" },
    TextPair { "Una escena", "A scene" },
    TextPair { "Grabación de prueba", "Test recording" },
    TextPair { "Un destino", "A destination" },
    TextPair { "hecho", "done" },
    TextPair { "por hacer", "to do" },
    TextPair { "Elige tu cámara y pulsa “Conectar fuentes”.",
        "Choose your camera and press “Connect sources”." },
    TextPair { "Elige la entrada de audio y pulsa “Conectar fuentes”.",
        "Choose the audio input and press “Connect sources”." },
    TextPair { "Elige el monitor del proyector y muestra en él las pantallas de sala.",
        "Choose the projector's monitor and show the hall screens on it." },
    TextPair { "Empieza por una escena hecha y cambia sus textos.",
        "Begin with a ready scene and change its texts." },
    TextPair { "Graba unos segundos y mira el archivo.",
        "Record a few seconds and look at the file." },
    TextPair { "Pega la clave de tu canal y marca el destino.",
        "Paste the key of your channel and check the destination." },
};

} // namespace

std::span<const TextPair> startTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
