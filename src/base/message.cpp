#include "base/message.h"

#include "base/i18n.h"

#include <utility>

namespace nimbara {

namespace {

/// Fills %1 to %9 in one pass: what an argument holds is no place for the next one.
QString filled(const QString &pattern, const QStringList &arguments)
{
    QString text;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const int place = pattern.at(i) == QLatin1Char('%') ? pattern.mid(i + 1, 1).toInt() : 0;
        if (place > 0 && place <= arguments.size()) {
            text += arguments.at(place - 1);
            ++i;
        } else {
            text += pattern.at(i);
        }
    }
    return text;
}

} // namespace

Message::Message(QString spanish, QList<Message> arguments)
    : m_text(std::move(spanish))
    , m_arguments(std::move(arguments))
{
}

Message::Message(const char *spanish, QList<Message> arguments)
    : Message(QString::fromUtf8(spanish), std::move(arguments))
{
}

Message Message::verbatim(const QString &text)
{
    Message message(text);
    message.m_verbatim = true;
    return message;
}

QString Message::spanish() const
{
    return rendered([](const QString &text) { return text; });
}

QString Message::rendered(const std::function<QString(const QString &)> &translate) const
{
    if (m_verbatim) {
        return m_text;
    }
    QStringList arguments;
    for (const Message &argument : m_arguments) {
        arguments.append(argument.rendered(translate));
    }
    return filled(translate(m_text), arguments);
}

bool operator==(const Message &a, const Message &b)
{
    return a.m_verbatim == b.m_verbatim && a.m_text == b.m_text && a.m_arguments == b.m_arguments;
}

Message operator+(const Message &first, const Message &second)
{
    if (first.isEmpty() || second.isEmpty()) {
        return first.isEmpty() ? second : first;
    }
    return Message(QStringLiteral("%1%2"), { first, second });
}

} // namespace nimbara

namespace nimbara_i18n {

QString tr(const nimbara::Message &message)
{
    return message.rendered([](const QString &text) { return tr(text); });
}

} // namespace nimbara_i18n
