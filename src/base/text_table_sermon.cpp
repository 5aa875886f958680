#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// How a sermon is heard, translated and shown.
constexpr TextPair pairs[] = {
    TextPair { "El versículo espera: en PREVIEW no está la escena que está al aire.",
        "The verse waits: PREVIEW does not have the scene that is on air." },
    TextPair { "El versículo espera: en PREVIEW hay cambios que no están al aire.",
        "The verse waits: PREVIEW has changes that are not on air." },
    TextPair { "En vivo", "Live" },
    TextPair { "Por frases", "Phrase by phrase" },
    TextPair { "En espera de la red", "Waiting for the network" },
    TextPair { "el servidor no responde", "the server is not responding" },
    TextPair { "Retraso %1 s (9 de cada 10: %2 s)", "Delay %1 s (9 in 10: %2 s)" },
    TextPair { " Oír %1 · transcribir %2 · pedir %3 · traducir %4 · mostrar %5 s.",
        " Hear %1 · transcribe %2 · ask %3 · translate %4 · show %5 s." },
    TextPair { "El micrófono llega muy bajo: sube la ganancia.",
        "The microphone comes in very low: raise the gain." },
    TextPair { "Retraso de los últimos 5 minutos", "Delay of the last 5 minutes" },
    TextPair { "Retraso de la traducción: mediana %1 s, 9 de cada 10 en %2 s, %3 frases.",
        "Delay of the translation: median %1 s, 9 in 10 within %2 s, %3 phrases." },
    TextPair { "Glosario", "Glossary" },
    TextPair { "Glosario…", "Glossary…" },
    TextPair { "Nombre o término", "Name or term" },
    TextPair { "Traducción (vacía: igual)", "Translation (empty: the same)" },
    TextPair { "Idioma (vacío: todos)", "Language (empty: all)" },
    TextPair {
        "Nombres y términos de tu iglesia: se dicen a la IA, y se corrigen si vuelven escritos "
        "de otra forma. Se guardan en el proyecto.",
        "Names and terms of your church: the AI is told of them, and they are corrected when they "
        "come back written otherwise. They are saved in the project." },
    TextPair { "Versículo dicho", "Spoken verse" },
    TextPair { "A PREVIEW", "To PREVIEW" },
    TextPair { "Al aire", "On air" },
    TextPair { "Descartar", "Dismiss" },
    TextPair { "Versículos dichos, al aire por sí solos", "Spoken verses go on air by themselves" },
    TextPair { "Ningún versículo dicho está en PREVIEW: prepáralo primero.",
        "No spoken verse is on PREVIEW: prepare it first." },
    TextPair { "La traducción a %1 terminó sola: sus capas muestran %2 hasta el próximo inicio.",
        "The translation into %1 ended by itself: its layers show %2 until the next start." },
    TextPair { "No se pueden escribir los archivos de la traducción en %1",
        "The files of the translation cannot be written in %1" },
    TextPair { "Lectura", "Easy reading" },
    TextPair { "Lectura con retraso: sube a 20 caracteres por segundo.",
        "Reading is behind: up to 20 characters per second." },
    TextPair { "Lectura al día: vuelve a 15 caracteres por segundo.",
        "Reading is up to date: back to 15 characters per second." },
    TextPair { " Oír %1 · transcribir %2 · pedir %3 · traducir %4 · retener %5 · mostrar %6 s.",
        " Hear %1 · transcribe %2 · ask %3 · translate %4 · hold %5 · show %6 s." },
    TextPair { "Retener subtítulos", "Hold subtitles" },
    TextPair { "Borrar ya", "Clear now" },
    TextPair { "Siguiente subtítulo", "Next subtitle" },
    TextPair { "y %1 más", "and %1 more" },
    TextPair { "Al glosario…", "To the glossary…" },
    TextPair { "El subtítulo salió como estaba: su corrección tardó más de 30 s.",
        "The subtitle left as it was: its correction took over 30 s." },
    TextPair { "Segundo idioma", "Second language" },
    TextPair { "Ninguno", "None" },
    TextPair { "Idioma de la voz", "Language of the voice" },
    TextPair { "Idioma de los subtítulos", "Language of the subtitles" },
    TextPair { "Primer idioma", "First language" },
    TextPair { "Segundo idioma (si lo hay)", "Second language (if there is one)" },
    TextPair { "Precios…", "Prices…" },
    TextPair { "Lo que cuesta la traducción", "What the translation costs" },
    TextPair { "Gasto estimado %1 · %2 min · %3 pedidos",
        "Estimated cost %1 · %2 min · %3 requests" },
    TextPair { "Voz en vivo", "Live voice" },
    TextPair { "Frases enviadas", "Uploaded phrases" },
    TextPair { "Textos traducidos", "Translated texts" },
    TextPair { "Voz sintética", "Synthetic voice" },
    TextPair { "%1: el gasto estimado pasó del 80 % de su límite. Nada se detiene.",
        "%1: the estimated cost is past 80 % of its limit. Nothing is stopped." },
    TextPair { "Minutos", "Minutes" },
    TextPair { "Pedidos", "Requests" },
    TextPair { "Precio por minuto", "Price per minute" },
    TextPair { "Precio por pedido", "Price per request" },
    TextPair { "Estimado", "Estimate" },
    TextPair { "Límite (0: ninguno)", "Limit (0: none)" },
    TextPair { "Total", "Total" },
    TextPair { "De la traducción que corre, o de la última. Escribe los precios de tu contrato: "
               "los que ves "
               "al principio son aproximados. Al 80 % de un límite se avisa; nada se detiene.",
        "Of the translation that runs, or of the last one. Enter the prices of your contract: "
        "those you "
        "see at first are approximate. At 80 % of a limit you are warned; nothing is stopped." },
};

} // namespace

std::span<const TextPair> sermonTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
