#pragma once

#include <QList>
#include <QString>

#include <functional>

namespace nimbara {

/// A text for the operator, not yet translated. Rooms below the window make messages in Spanish;
/// whoever shows one translates it once, with `nimbara_i18n::tr`.
///
/// A message is one text of the text table, with arguments in the places %1 to %9, or several
/// messages one behind the other. A plain value; cheap to copy, and its copies do not throw.
class Message {
public:
    Message() = default;
    /// A text as it stands in the text table. One that has no row there is shown as it is.
    Message(QString spanish, QList<Message> arguments = {}); // NOLINT: implicit
    Message(const char *spanish, QList<Message> arguments = {}); // NOLINT: the same in UTF-8

    /// A text that is never translated: a name, a number, the words of a peer or of a library.
    static Message verbatim(const QString &text);

    [[nodiscard]] bool isEmpty() const { return m_text.isEmpty(); }

    /// The whole text in Spanish, for the log.
    [[nodiscard]] QString spanish() const;

    /// The whole text, each part of the table passed through `translate`.
    [[nodiscard]] QString rendered(const std::function<QString(const QString &)> &translate) const;

    friend bool operator==(const Message &a, const Message &b);

    /// One behind the other: "Cámara: " + reason.
    friend Message operator+(const Message &first, const Message &second);
    Message &operator+=(const Message &next) { return *this = *this + next; }

private:
    QString m_text;
    QList<Message> m_arguments;
    bool m_verbatim = false;
};

} // namespace nimbara

namespace nimbara_i18n {

/// The text to show, in the current language.
QString tr(const nimbara::Message &message);

} // namespace nimbara_i18n
