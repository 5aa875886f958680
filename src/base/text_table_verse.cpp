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
    TextPair { "Es el último versículo de la Biblia.", "That is the last verse of the Bible." },
    TextPair { "Citas y versículos encontrados", "References and verses found" },
    TextPair { "Es el primer versículo de la Biblia.", "That is the first verse of the Bible." },
};

} // namespace

std::span<const TextPair> verseTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
