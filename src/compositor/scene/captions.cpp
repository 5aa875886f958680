#include "compositor/scene/captions.h"

#include "base/i18n.h"

namespace nimbara {

namespace {

QString placeholder()
{
    return nimbara_i18n::tr(
        "Aquí aparecerá la traducción en vivo: se escribe de izquierda a derecha y hacia "
        "abajo, sin moverse; al llenarse salen las frases de arriba y la nueva queda "
        "resaltada.");
}

void fill(Layer &layer, const Captions &captions)
{
    layer.text.clear();
    layer.reference.clear();
    if (!captions.shown) {
        return;
    }
    // Phrases that flow as one paragraph have no newest line to highlight.
    if (captions.phrases.size() < 2 || captions.separator == QLatin1String(" ")) {
        layer.text = captions.text();
        return;
    }
    layer.text = captions.phrases.mid(0, captions.phrases.size() - 1).join(captions.separator);
    layer.reference = captions.phrases.last();
    if (captions.separator == QLatin1String("\n\n")) {
        layer.reference.prepend(QLatin1Char('\n'));
    }
}

} // namespace

void fillSubtitle(Layer &layer, const Captions &captions, bool isPreview)
{
    fill(layer, captions);
    if (isPreview && layer.text.isEmpty()) {
        layer.text = placeholder();
    }
}

} // namespace nimbara
