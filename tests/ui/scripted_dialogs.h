#pragma once

#include "ui/kit/dialogs.h"

#include <QCoreApplication>
#include <QStringList>

#include <deque>
#include <functional>

namespace nimbara::testing {

/// Answers the window's questions from what the test put in, and keeps what was asked.
class ScriptedDialogs final : public Dialogs {
public:
    std::deque<QString> files; ///< for open and save, in order; none left: cancelled
    std::deque<QString> texts;
    std::deque<bool> answers;
    std::deque<QColor> colors;
    std::deque<std::optional<Login>> logins; ///< none left: the box stays open
    std::deque<SaveChoice> choices; ///< about unsaved work; none left: discarded
    QStringList asked; ///< titles and texts of every box, "title: text"

    std::function<void()> meanwhile = [] {}; ///< happens while a box is open

    QString openFile(const QString &title, const QString &, const QString &filter) override
    {
        return nextFile(title, filter);
    }
    QString saveFile(const QString &title, const QString &, const QString &filter) override
    {
        return nextFile(title, filter);
    }
    QString folder(const QString &title, const QString &) override { return nextFile(title, {}); }
    std::optional<QString>
    text(const QString &title, const QString &label, const QString &proposed) override
    {
        ask(title, label + u'|' + proposed);
        return take(texts);
    }
    std::optional<QColor> color(const QColor &, bool) override { return take(colors); }
    bool question(const QString &title, const QString &text) override
    {
        ask(title, text);
        return take(answers).value_or(false);
    }
    SaveChoice saveChoice(const QString &title, const QString &text) override
    {
        ask(title, text);
        return take(choices).value_or(SaveChoice::Discard);
    }
    void warning(const QString &title, const QString &text) override { ask(title, text); }
    void tellAtEnd(const QString &title, const QString &text) override { ask(title, text); }
    void offer(const QString &title,
        const QString &text,
        const QString &action,
        const std::function<void()> &taken) override
    {
        ask(title, text + u'|' + action);
        if (take(answers).value_or(false)) {
            taken();
        }
    }
    void login(const QString &title,
        const QString &text,
        const std::optional<QString> &user,
        const std::function<void(const std::optional<Login> &)> &done) override
    {
        ask(title, text + u'|' + user.value_or(QStringLiteral("-")));
        if (!logins.empty()) {
            const std::optional<Login> given = logins.front();
            logins.pop_front();
            done(given);
        }
    }

private:
    void ask(const QString &title, const QString &text)
    {
        asked << title + QStringLiteral(": ") + text;
    }
    /// Answers like a real box: the program's event loop runs meanwhile.
    template <typename Value> std::optional<Value> take(std::deque<Value> &script)
    {
        QCoreApplication::processEvents();
        meanwhile();
        QCoreApplication::processEvents();
        if (script.empty()) {
            return std::nullopt;
        }
        Value next = script.front();
        script.pop_front();
        return next;
    }
    QString nextFile(const QString &title, const QString &filter)
    {
        ask(title, filter);
        return take(files).value_or(QString());
    }
};

} // namespace nimbara::testing
