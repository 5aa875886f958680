#include "output/encode/failure_text.h"

#include "media/gst/gst_handles.h"

namespace nimbara {

Message failureText(int code)
{
    return { "Fallo de salida (codigo %1). Revisa destino, permisos y codecs.",
        { Message::verbatim(QString::number(code)) } };
}

Message failureText(GstMessage *message)
{
    GError *raw = nullptr;
    gst_message_parse_error(message, &raw, nullptr);
    const GErrorPtr error(raw);
    if (!error) {
        return "Fallo de salida";
    }
    return failureText(error->code);
}

} // namespace nimbara
