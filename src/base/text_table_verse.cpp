#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// Verses: their pages, and what finds them.
constexpr TextPair pairs[] = {
    TextPair { "Dividir en páginas", "Split into pages" },
    TextPair { "Tamaño mínimo", "Smallest size" },
    TextPair { "Tamaño mínimo (%)", "Smallest size (%)" },
    TextPair { "Página", "Page" },
    TextPair { "página %1 de %2", "page %1 of %2" },
    TextPair { "Página o versículo anterior", "Previous page or verse" },
    TextPair { "Página o versículo siguiente", "Next page or verse" },
    TextPair { "Achicar y dividir en páginas lo que no cabe",
        "Shrink and split into pages what does not fit" },
    TextPair { "No hay ningún versículo en la escena ni en Programa.",
        "There is no verse in the scene or on Program." },
    TextPair { "El texto no tiene más páginas.", "The text has no more pages." },
    TextPair { "El texto es de %1, que no es la Biblia elegida: elígela para seguir.",
        "The text is from %1, which is not the chosen Bible: choose it to go on." },
    TextPair { "Es el último versículo de la Biblia.", "That is the last verse of the Bible." },
    TextPair { "Segunda Biblia", "Second Bible" },
    TextPair { "Ninguna", "None" },
    TextPair { "Disposición", "Arrangement" },
    TextPair { "Una sobre otra", "One above the other" },
    TextPair { "Lado a lado", "Side by side" },
    TextPair { "Versículos alternados", "Alternating verses" },
    TextPair { "Biblias que se muestran", "Bibles shown" },
    TextPair { "Las dos", "Both" },
    TextPair { "Solo la primera", "The first alone" },
    TextPair { "Solo la segunda", "The second alone" },
    TextPair { "Números de versículo", "Verse numbers" },
    TextPair { "Como el texto", "As the text" },
    TextPair { "Pequeños y tenues", "Small and dim" },
    TextPair { "Ocultos", "Hidden" },
    TextPair { "Lugar de la cita", "Place of the reference" },
    TextPair { "Después del texto", "After the text" },
    TextPair { "Antes del texto", "Before the text" },
    TextPair { "Oculta", "Hidden" },
    TextPair { "Usar este estilo en los versículos nuevos", "Use this style for new verses" },
    TextPair { "Los versículos nuevos del proyecto tendrán este estilo.",
        "New verses of the project will have this style." },
    TextPair { "No está en %1: se muestra sola la primera Biblia.",
        "Not in %1: the first Bible is shown alone." },
    TextPair { "No está en %1: se muestra en su lugar %2.",
        "Not in %1: %2 is shown in its place." },
    TextPair { " Se muestra sola la primera Biblia.", " The first Bible is shown alone." },
    TextPair { " En esos versículos se muestra sola la primera Biblia.",
        " In those verses the first Bible is shown alone." },
    TextPair { "Lista", "List" },
    TextPair { "Pasajes de hoy", "Today's passages" },
    TextPair { "Mostrados últimamente", "Shown lately" },
    TextPair { "Añadir", "Add" },
    TextPair { "Añadir a los pasajes de hoy", "Add to today's passages" },
    TextPair { "Subir el pasaje", "Move the passage up" },
    TextPair { "Bajar el pasaje", "Move the passage down" },
    TextPair { "El texto en línea está por llegar.", "The online text is on its way." },
    TextPair { "Quitar", "Remove" },
    TextPair { "Quitar el pasaje", "Remove the passage" },
    TextPair { "Intro prepara el pasaje elegido.", "Enter prepares the chosen passage." },
    TextPair { "Citas y versículos encontrados", "References and verses found" },
    TextPair { "Es el primer versículo de la Biblia.", "That is the first verse of the Bible." },
    TextPair { "Es el último versículo de %1.", "That is the last verse of %1." },
    TextPair { "Es el primer versículo de %1.", "That is the first verse of %1." },
};

} // namespace

std::span<const TextPair> verseTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
