#include "base/text_table.h"

namespace nimbara_i18n {

namespace {

// What cameras and capture cards offer, and what comes of it.
constexpr TextPair pairs[] = {
    TextPair { "La cámara solo ofrece imagen infrarroja",
        "The camera offers an infrared picture alone" },
    TextPair {
        "El servicio de sonido y cámaras del equipo se reinició: lo que conectes ahora aparece "
        "al abrir otra vez el programa.",
        "The computer's sound and camera service was restarted: what you connect now appears when "
        "you "
        "open the program again." },
    TextPair { "Modo de la cámara", "Camera mode" },
    TextPair { "Modo de %1", "Mode of %1" },
    TextPair { "Cámara que se ajusta", "Camera that is adjusted" },
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
    TextPair { "%1 (elige cuál)", "%1 (choose which one)" },
    TextPair { "Abrir las cámaras de las capas solo mientras se ven",
        "Open the cameras of layers only while they are seen" },
    TextPair { "Mantener el ritmo con poca luz", "Keep the rate in poor light" },
    TextPair { "\"%1\" trae también sonido: \"%2\"", "\"%1\" brings sound, too: %2" },
    TextPair { "Usar su sonido", "Use its sound" },
    TextPair { "%1 no deja mantener el ritmo con poca luz.",
        "%1 does not let its rate be kept in poor light." },
    TextPair { "El servicio de medios no entrega imágenes de %1; se abre directamente (V4L2).",
        "The media service hands over no pictures from %1; it is opened directly (V4L2)." },
    TextPair { "otro programa usa la cámara; ciérralo.",
        "another program is using the camera; close it." },
    TextPair { "%1 usa la cámara; ciérralo.", "%1 is using the camera; close it." },
    TextPair { "el bus USB está lleno; conéctala a otro puerto o elige un modo menor.",
        "the USB bus is full; plug it into another port or choose a smaller mode." },
    TextPair { "no hay permiso para usar la cámara; añade tu usuario al grupo video.",
        "there is no permission to use the camera; add your user to the group video." },
    TextPair { "pide usuario y contraseña.", "it asks for user and password." },
    TextPair { "%1 pide usuario y contraseña.", "%1 asks for user and password." },
    TextPair { "No se aceptó la contraseña para %1.", "The password for %1 was not accepted." },
    TextPair { "Sin usuario y contraseña no se abre; \"Reiniciar video\" vuelve a pedirlos.",
        "Without user and password it is not opened; \"Restart video\" asks for them again." },
    TextPair { "Conectar", "Connect" },
    TextPair { "Usuario", "User" },
    TextPair { "Contraseña", "Password" },
    TextPair { "Latencia de la red", "Network latency" },
    TextPair {
        "Súbela si la imagen se traba. Vale desde que la fuente se abre: \"Reiniciar video\".",
        "Raise it if the picture stutters. It holds from when the source is opened: \"Restart "
        "video\"." },
    TextPair { "Captura de pantalla no disponible: ", "Screen capture is not available: " },
    TextPair { "este escritorio no la ofrece (falta el portal de captura).",
        "this desktop does not offer it (the capture portal is missing)." },
    TextPair { "Captura de pantalla añadida. El escritorio pregunta qué compartir.",
        "Screen capture added. The desktop asks what to share." },
    TextPair { "El escritorio comparte la pantalla.", "The desktop shares the screen." },
    TextPair { "El escritorio no entregó ninguna pantalla.", "The desktop handed over no screen." },
    TextPair { "No se comparte ninguna pantalla. \"Elegir pantalla...\" vuelve a preguntar.",
        "No screen is shared. \"Choose screen...\" asks again." },
    TextPair {
        "El escritorio dejó de compartir la pantalla. \"Elegir pantalla...\" la vuelve a pedir.",
        "The desktop stopped sharing the screen. \"Choose screen...\" asks for it again." },
    TextPair { "Elegir pantalla...", "Choose screen..." },
    TextPair { "Captura lo que elijas compartir en el cuadro del escritorio.",
        "Captures what you choose to share in the desktop's box." },
    TextPair { "Desfase fuera de −500 a 2000 ms", "Offset outside −500 to 2000 ms" },
    TextPair { "Desfase del sonido", "Sound offset" },
    TextPair {
        "Por encima de 0 el sonido se oye después; por debajo, la imagen de las cámaras espera.",
        "Above 0 the sound is heard later; below, the picture of the cameras waits." },
    TextPair { "Medir con palmadas", "Measure with claps" },
    TextPair { "Dejar de medir", "Stop measuring" },
    TextPair { "Usar lo medido", "Use what was measured" },
    TextPair { "Usar %1 ms", "Use %1 ms" },
    TextPair { "Da tres palmadas ante la cámara, una cada cinco segundos.",
        "Clap three times in front of the camera, once every five seconds." },
    TextPair { "Se oyó una palmada que no se vio en la cámara.",
        "A clap was heard that the camera did not see." },
    TextPair { "Palmada %1 de %2: el sonido se adelanta %3 ms.",
        "Clap %1 of %2: the sound is early by %3 ms." },
    TextPair { "No se oyeron y vieron tres palmadas: comprueba la cámara y el micrófono.",
        "Three claps were not heard and seen: check the camera and the microphone." },
};

} // namespace

std::span<const TextPair> cameraTextPairs()
{
    return pairs;
}

} // namespace nimbara_i18n
