#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// How a program passes from one scene to the next.
constexpr TextPair pairs[] = {
    TextPair { "Transiciones", "Transitions" },
    TextPair { "Transición del proyecto", "Transition of the project" },
    TextPair { "Transición de la escena", "Transition of the scene" },
    TextPair { "También en las pantallas de sala", "On the hall screens too" },
    TextPair { "Como el proyecto", "As the project" },
    TextPair { "Duración", "Length" },
    TextPair { "Corte", "Cut" },
    TextPair { "Fundido", "Fade" },
    TextPair { "Deslizar ←", "Slide ←" },
    TextPair { "Deslizar →", "Slide →" },
    TextPair { "Deslizar ↑", "Slide ↑" },
    TextPair { "Deslizar ↓", "Slide ↓" },
    TextPair { "Barrido ←", "Wipe ←" },
    TextPair { "Barrido →", "Wipe →" },
    TextPair { "Barrido ↑", "Wipe ↑" },
    TextPair { "Barrido ↓", "Wipe ↓" },
    TextPair { "Clip", "Clip" },
    TextPair { "Elegir clip...", "Choose clip..." },
    TextPair { "Ningún clip", "No clip" },
    TextPair { "La escena nueva entra a los", "The new scene comes in after" },
    TextPair { "Un video con transparencia (WebM, MOV) que tapa el corte. Se oye su sonido.",
        "A video with transparency (WebM, MOV) that covers the cut. Its sound is heard." },
    TextPair { "El clip de la transición no se puede reproducir; la escena entró por corte.",
        "The clip of the transition cannot be played; the scene came in by a cut." },
    TextPair { "Cómo pasa el programa de una escena a otra. Sin marcar, todo cambia de golpe.",
        "How the program passes from one scene to the next. Unchecked, all changes at once." },
    TextPair { "Sin marcar, las pantallas de sala cambian de golpe, salvo en las escenas con "
               "transición propia.",
        "Unchecked, the hall screens change at once, but for scenes with a transition of their "
        "own." },
};

} // namespace

std::span<const TextPair> transitionTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
