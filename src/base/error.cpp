#include "base/error.h"

namespace nimbara {

Error::Error(const Message &message)
    : std::runtime_error(message.spanish().toStdString())
    , m_message(message)
{
}

QString Error::text() const
{
    return errorText(*this);
}

Message errorMessage(const std::exception &error)
{
    const auto *own = dynamic_cast<const Error *>(&error);
    return own == nullptr ? Message(QString::fromUtf8(error.what())) : own->message();
}

QString errorText(const std::exception &error)
{
    return QString::fromUtf8(error.what());
}

} // namespace nimbara
