#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// The Bibles that the operator imports.
constexpr TextPair pairs[] = {
    TextPair { "Importar Biblia…", "Import Bible…" },
    TextPair { "Importar Biblia", "Import Bible" },
    TextPair { "Quitar Biblia", "Remove Bible" },
    TextPair { "¿Quitar “%1” de este equipo?", "Remove “%1” from this computer?" },
    TextPair { "Biblias OSIS, Zefania o USFM (*.xml *.osis *.usfm *.sfm *.txt)",
        "OSIS, Zefania or USFM Bibles (*.xml *.osis *.usfm *.sfm *.txt)" },
    TextPair { "Todos los archivos (*)", "All files (*)" },
    TextPair { "De un archivo…", "From a file…" },
    TextPair { "De SWORD: %1", "From SWORD: %1" },
    TextPair { "el módulo está dañado", "the module is damaged" },
    TextPair { "el módulo está cifrado", "the module is locked" },
    TextPair { "no se lee su compresión, %1", "its compression, %1, is not read" },
    TextPair { "no se lee su numeración, %1", "its numbering, %1, is not read" },
    TextPair { "%1 (importada)", "%1 (imported)" },
    TextPair { "%1 (no está en este equipo)", "%1 (not on this computer)" },
    TextPair { "Idioma: %1 · Licencia: %2", "Language: %1 · License: %2" },
    TextPair { "sin texto de licencia", "no license text" },
    TextPair { "Ya se está importando una Biblia.", "A Bible is being imported already." },
    TextPair { "Importando la Biblia…", "Importing the Bible…" },
    TextPair { "Biblia importada: %1", "Bible imported: %1" },
    TextPair { "Biblia quitada.", "Bible removed." },
    TextPair { "No se pudo borrar el archivo de la Biblia.",
        "The file of the Bible could not be deleted." },
    TextPair { "No se pudo guardar la Biblia: %1", "The Bible could not be saved: %1" },
    TextPair { "No se pudo leer %1", "%1 could not be read" },
    TextPair { "%1, línea %2: %3", "%1, line %2: %3" },
    TextPair { "“%1” no es un número de capítulo o versículo",
        "“%1” is no number of a chapter or verse" },
    TextPair { "XML dañado: ", "Damaged XML: " },
    TextPair { "versículo mal nombrado: “%1”", "verse named wrongly: “%1”" },
    TextPair { "un versículo sin capítulo", "a verse without a chapter" },
    TextPair { "un versículo sin libro (\\id)", "a verse without a book (\\id)" },
    TextPair { "una nota no termina: %1", "a note does not end: %1" },
    TextPair { "una barra “\\” sin marca", "a “\\” without a marker" },
    TextPair { "falta el código del libro detrás de \\id",
        "the book's code is missing behind \\id" },
    TextPair { "el libro %1 está dos veces", "the book %1 is there twice" },
    TextPair { "no es OSIS ni Zefania", "it is neither OSIS nor Zefania" },
    TextPair { "no es OSIS, USFM ni Zefania", "it is neither OSIS, USFM nor Zefania" },
    TextPair { "no es texto UTF-8", "it is no UTF-8 text" },
    TextPair { "%1 no tiene ningún versículo", "%1 has no verse" },
    TextPair { "Elige un solo archivo OSIS o Zefania, o varios USFM.",
        "Choose one OSIS or Zefania file only, or several of USFM." },
    TextPair { "No está en %1: %2.", "Not in %1: %2." },
    TextPair { "En %1, %2 tiene %3 versículos.", "In %1, %2 has %3 verses." },
    TextPair { " Esa Biblia numera allí de otra forma.",
        " That Bible is numbered otherwise there." },
    TextPair { "La Biblia %1 no está en este equipo: impórtala o elige otra.",
        "The Bible %1 is not on this computer: import it or choose another one." },
    TextPair { "La Biblia elegida no está en este equipo: impórtala o elige otra.",
        "The chosen Bible is not on this computer: import it or choose another one." },
    TextPair { "La Biblia %1 no está en este equipo: se muestra sola la primera.",
        "The Bible %1 is not on this computer: the first one is shown alone." },
    TextPair { "El proyecto usa Biblias que no están en este equipo: %1",
        "The project uses Bibles that are not on this computer: %1" },
};

} // namespace

std::span<const TextPair> bibleTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
