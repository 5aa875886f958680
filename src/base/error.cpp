#include "base/error.h"

namespace nimbara {

Error::Error(const QString &text)
    : std::runtime_error(text.toStdString())
{
}

QString Error::text() const
{
    return errorText(*this);
}

QString errorText(const std::exception &error)
{
    return QString::fromUtf8(error.what());
}

} // namespace nimbara
