#include "bible/raw_bible.h"

namespace bible {

using nimbara::Message;

void RawBible::add(std::int32_t book, std::int32_t chapter, std::int32_t verse, const QString &text)
{
    static const QChar pilcrow(0xb6);
    QString plain = text;
    plain = plain.remove(pilcrow).simplified();
    if (plain.isEmpty() || chapter == 0) {
        return;
    }
    QString &whole = books[book][chapter][verse];
    whole += (whole.isEmpty() ? QString() : QStringLiteral(" ")) + plain;
}

ImportError::ImportError(const QString &file, std::int64_t line, const Message &reason)
    : Error(Message("%1, línea %2: %3",
        { Message::verbatim(file), Message::verbatim(QString::number(line)), reason }))
{
}

std::int32_t
requireNumber(const QString &text, const QString &file, std::int64_t line, std::int32_t least)
{
    constexpr std::int32_t most = 999;
    bool isNumber = false;
    const std::int32_t number = text.trimmed().toInt(&isNumber);
    if (!isNumber || number < least || number > most) {
        throw ImportError(file,
            line,
            Message("“%1” no es un número de capítulo o versículo",
                { Message::verbatim(text.left(40)) }));
    }
    return number;
}

} // namespace bible
