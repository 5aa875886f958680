#include "translation/pipeline/heard_line.h"

#include "base/i18n.h"

namespace nimbara::heard {

QString label(const QString &text)
{
    return nimbara_i18n::tr("Escuchado: ") + text.right(300);
}

std::optional<QString> logText(const QString &text)
{
    if (text.startsWith(QStringLiteral("… "))) {
        return std::nullopt;
    }
    return QStringLiteral("IA escuchó: ") + text;
}

} // namespace nimbara::heard
