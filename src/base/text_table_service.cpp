#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// What comes, goes and returns while a service is on, and how it is recorded.
constexpr TextPair pairs[] = {
    TextPair { "La escena no salió al aire; “%1” no se puede reproducir. ",
        "The scene did not go on air; “%1” cannot be played. " },
    TextPair { "El servidor rechaza la clave; no se reconecta.",
        "The server refuses the key; it will not reconnect." },
    TextPair { "El certificado del servidor no es válido; no se reconecta.",
        "The server's certificate is not valid; it will not reconnect." },
    TextPair { "El servidor sigue con la transmisión anterior; no se reconecta.",
        "The server still has the stream before; it will not reconnect." },
    TextPair { "El servidor aún tiene la transmisión anterior; reintento en %1 s · intento %2",
        "The server still has the stream before; trying again in %1 s · attempt %2" },
    TextPair { "El servidor la cierra una y otra vez: revisa la clave.",
        "The server closes it again and again: check the key." },
    TextPair { "El servidor la cierra: revisa la clave; reintento en %1 s · intento %2",
        "The server closes it: check the key; trying again in %1 s · attempt %2" },
    TextPair { "El campo de %1 quedó vacío sin haber mostrado su clave guardada. ¿Eliminar la "
               "guardada?",
        "The field of %1 is empty again without having shown its stored key. Remove the stored "
        "one?" },
    TextPair { "Claves que el llavero del sistema puede conservar: ",
        "Keys that the system's key ring may still keep: " },
    TextPair { "Reconectando en %1 s · intento %2", "Reconnecting in %1 s · attempt %2" },
    TextPair { "Se vuelve a conectar sola.", "It reconnects by itself." },
    TextPair { "%1: la transmisión ha vuelto.", "%1: the stream is back." },
    TextPair { "%1: se perdió a las %2 y ha vuelto.", "%1: it was lost at %2 and is back." },
    TextPair { "%1: se perdió %3 veces, la última a las %2, y ha vuelto.",
        "%1: it was lost %3 times, the last time at %2, and is back." },
    TextPair { "%1: la transmisión se perdió y no se reconecta.",
        "%1: the stream was lost and is not tried again." },
    TextPair { "Volver a conectar solo", "Reconnect by itself" },
    TextPair { "Ahora", "Now" },
    TextPair { "Servicio", "Service" },
    TextPair { "MKV, lo mismo que las transmisiones (*.mkv)",
        "MKV, the same as the streams (*.mkv)" },
    TextPair { "El equipo no puede empezar más tareas; se vuelve a intentar cada segundo.",
        "The computer cannot begin any more tasks; it is tried again every second." },
    TextPair { "Fuente recuperada: %1", "Source is back: %1" },
    TextPair { "El video de red terminó.", "The network video has ended." },
    TextPair { "La fuente de red terminó; se vuelve a abrir.",
        "The network source has ended; it will be opened again." },
    TextPair { "Calidad de video", "Video quality" },
    TextPair {
        "Vale desde el próximo inicio. A 1080p y 30 imágenes: YouTube hasta 10, Facebook hasta 6, "
        "Twitch hasta 6 Mbit/s.",
        "Takes effect at the next start. At 1080p and 30 pictures: YouTube up to 10, Facebook up "
        "to 6, "
        "Twitch up to 6 Mbit/s." },
    TextPair { "Pausar", "Pause" },
    TextPair { "Reanudar", "Resume" },
    TextPair { "Un solo archivo", "A single file" },
    TextPair { "Partes de", "Parts of" },
    TextPair { "Partes de la grabación", "Parts of the recording" },
    TextPair { "Grabando en %1", "Recording into %1" },
    TextPair { "Grabación terminada.", "Recording ended." },
    TextPair { "Grabación detenida antes de empezar.", "Recording stopped before it began." },
    TextPair { "Preparando la grabación: empieza cuando el disco abra su archivo.",
        "Preparing the recording: it begins when the disk opens its file." },
    TextPair { "Grabación en pausa.", "Recording paused." },
    TextPair { "La grabación sigue en cuanto se guarde la parte anterior.",
        "The recording goes on as soon as the part before is saved." },
    TextPair {
        "Los archivos de la traducción no terminaron de guardarse; pueden estar incompletos.",
        "The files of the translation were not finished; they may be incomplete." },
    TextPair { "Las claves no terminaron de guardarse; revísalas en el próximo inicio.",
        "The keys were not saved in time; check them at the next start." },
    TextPair { "El proyecto no terminó de guardarse; su archivo puede seguir como estaba.",
        "The project was not saved in time; its file may still be as it was." },
    TextPair { "La grabación sigue en pausa: ", "The recording stays paused: " },
    TextPair { "No se pudo iniciar la grabación: ", "The recording could not be started: " },
    TextPair { "La grabación sigue en el mismo archivo: ",
        "The recording goes on in the same file: " },
    TextPair {
        "Quedan menos de 500 MB en el disco: la grabación se cerró. Las transmisiones siguen.",
        "Less than 500 MB are left on the disk: the recording was closed. The streams go on." },
    TextPair { "El archivo de la grabación no crecía; sigue en %1",
        "The recording's file did not grow; it goes on in %1" },
    TextPair { "El archivo de la grabación no crece; se busca otro a su lado.",
        "The recording's file does not grow; another one is looked for beside it." },
    TextPair { "El disco de la grabación responde muy tarde; la grabación sigue.",
        "The recording's disk answers very late; the recording goes on." },
    TextPair { "No se pudo terminar una parte de la grabación; se reparará en el próximo inicio.",
        "A part of the recording could not be finished; it will be mended at the next start." },
    TextPair {
        "No hay sitio en el disco para reparar la grabación interrumpida %1; se intentará en el "
        "próximo inicio.",
        "There is no room on the disk to mend the interrupted recording %1; it will be tried at "
        "the "
        "next start." },
    TextPair { "el disco no responde.", "the disk does not answer." },
    TextPair { "el disco no recibe nada más.", "the disk takes nothing more." },
    TextPair { "Grabación interrumpida reparada: %1", "Interrupted recording mended: %1" },
    TextPair { "No se pudo reparar la grabación interrumpida %1; el archivo queda como está.",
        "The interrupted recording %1 could not be mended; the file stays as it is." },
    TextPair { "El equipo no da abasto para grabar en WebM. Graba en MKV: usa lo mismo que las "
               "transmisiones.",
        "This computer cannot keep up with WebM. Record in MKV: it uses the same as the streams." },
    TextPair { "El equipo vuelve a dar abasto: se codifica como siempre.",
        "This computer keeps up again: encoding as usual." },
    TextPair { "El equipo va justo: se codifica con menos detalle.",
        "This computer is at its limit: encoding with less detail." },
    TextPair { "El equipo va justo: salen cinco imágenes de cada seis.",
        "This computer is at its limit: five of six pictures go out." },
    TextPair { "El equipo no da abasto: sale una imagen de cada dos.",
        "This computer cannot keep up: every second picture goes out." },
    TextPair { "Estado del servicio", "State of the service" },
    TextPair { "En directo %1", "Live %1" },
    TextPair { "%1 de %2 destinos", "%1 of %2 destinations" },
    TextPair { "%1 kbit/s", "%1 kbit/s" },
    TextPair { "Grabando %1", "Recording %1" },
    TextPair { "En pausa %1", "Paused %1" },
    TextPair { "Una imagen de cada dos", "Every second picture" },
    TextPair { "Abriendo archivo %1", "Opening the file %1" },
    TextPair { "Imágenes perdidas: %1", "Pictures lost: %1" },
    TextPair { "Imágenes tarde: %1", "Pictures late: %1" },
    TextPair { "CPU %1 %", "CPU %1 %" },
    TextPair { "Disco: %1 min", "Disk: %1 min" },
    TextPair { "%1 kbit/s · en cola %2 s · perdidas %3 · reconexiones %4",
        "%1 kbit/s · queued %2 s · lost %3 · reconnections %4" },
    TextPair { "kbit/s en el último minuto", "kbit/s in the last minute" },
};

} // namespace

std::span<const TextPair> serviceTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
