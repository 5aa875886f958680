#include "translation/pipeline/heard_line.h"

namespace nimbara::heard {

Message label(const QString &text)
{
    return "Escuchado: " + Message::verbatim(text.right(300));
}

std::optional<QString> logText(const QString &text)
{
    if (text.startsWith(QStringLiteral("… "))) {
        return std::nullopt;
    }
    return QStringLiteral("IA escuchó: ") + text;
}

} // namespace nimbara::heard
