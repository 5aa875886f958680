#include "output/encode/failure_text.h"

#include "media/gst/bus_error.h"

namespace nimbara {

Message failureText(int code)
{
    return { "Fallo de salida (codigo %1). Revisa destino, permisos y codecs.",
        { Message::verbatim(QString::number(code)) } };
}

Message failureText(GstMessage *message)
{
    const GErrorPtr error = busError(message).error;
    return error ? failureText(error->code) : Message("Fallo de salida");
}

} // namespace nimbara
