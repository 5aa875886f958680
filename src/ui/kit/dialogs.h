#pragma once

#include "media/sources/source_login.h"

#include <QColor>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class QMessageBox;
class QWidget;

namespace nimbara {

/// What becomes of work that is not saved.
enum class SaveChoice { Save, Discard, Cancel };

/// The questions that the window puts to the operator. A seam: tests answer from a script.
///
/// All texts are already translated. Interface thread only; an answer may run a nested event loop,
/// during which the frame timer goes on.
class Dialogs {
public:
    Dialogs() = default;
    Dialogs(const Dialogs &) = delete;
    Dialogs &operator=(const Dialogs &) = delete;
    Dialogs(Dialogs &&) = delete;
    Dialogs &operator=(Dialogs &&) = delete;
    virtual ~Dialogs() = default;

    /// An existing file; empty when cancelled.
    virtual QString openFile(const QString &title, const QString &startPath, const QString &filter)
        = 0;
    /// Existing files, one or several; empty when cancelled.
    virtual QStringList
    openFiles(const QString &title, const QString &startPath, const QString &filter)
    {
        const QString file = openFile(title, startPath, filter);
        return file.isEmpty() ? QStringList() : QStringList(file);
    }
    /// A file to write; empty when cancelled. The dialog asks before an existing one is replaced.
    virtual QString saveFile(const QString &title, const QString &startPath, const QString &filter)
        = 0;
    /// An existing folder; empty when cancelled.
    virtual QString folder(const QString &title, const QString &startPath) = 0;
    /// A line of text; none when cancelled.
    virtual std::optional<QString>
    text(const QString &title, const QString &label, const QString &proposed) = 0;
    /// A colour; none when cancelled.
    virtual std::optional<QColor> color(const QColor &current, bool withAlpha) = 0;
    /// Yes or No, without a default button; false for anything but Yes.
    virtual bool question(const QString &title, const QString &text) = 0;
    /// "Guardar", "No guardar" or "Cancelar"; anything else is cancelling.
    virtual SaveChoice saveChoice(const QString &title, const QString &text) = 0;
    /// A warning box with an OK button, which stays while the program goes on: this does not wait
    /// for it. Every line of a long text can be read.
    virtual void warning(const QString &title, const QString &text) = 0;
    /// A warning that waits until it is read, for a program that ends then.
    virtual void tellAtEnd(const QString &title, const QString &text) = 0;
    /// A warning with the button `action` beside OK; `taken` runs once that is pressed.
    virtual void offer(const QString &title,
        const QString &text,
        const QString &action,
        const std::function<void()> &taken)
        = 0;
    /// A box for user and password that keeps nobody from going on with other work: this does not
    /// wait for it. `user`: the proposed one; none: a password alone. `done` runs once, with none
    /// when the box is cancelled or closed.
    virtual void login(const QString &title,
        const QString &text,
        const std::optional<QString> &user,
        const std::function<void(const std::optional<Login> &)> &done)
        = 0;
};

/// The toolkit's dialogs, on top of `parent`, which must outlive them.
class QtDialogs final : public Dialogs {
public:
    static constexpr int mostLines = 20; ///< of a warning; a longer one has the rest in its details

    explicit QtDialogs(QWidget *parent)
        : m_parent(parent)
    {
    }
    QString
    openFile(const QString &title, const QString &startPath, const QString &filter) override;
    QStringList
    openFiles(const QString &title, const QString &startPath, const QString &filter) override;
    QString
    saveFile(const QString &title, const QString &startPath, const QString &filter) override;
    QString folder(const QString &title, const QString &startPath) override;
    std::optional<QString>
    text(const QString &title, const QString &label, const QString &proposed) override;
    std::optional<QColor> color(const QColor &current, bool withAlpha) override;
    bool question(const QString &title, const QString &text) override;
    SaveChoice saveChoice(const QString &title, const QString &text) override;
    void warning(const QString &title, const QString &text) override;
    void tellAtEnd(const QString &title, const QString &text) override;
    void offer(const QString &title,
        const QString &text,
        const QString &action,
        const std::function<void()> &taken) override;
    void login(const QString &title,
        const QString &text,
        const std::optional<QString> &user,
        const std::function<void(const std::optional<Login> &)> &done) override;

private:
    [[nodiscard]] QMessageBox *makeWarning(const QString &title, const QString &text) const;

    QWidget *m_parent;
};

} // namespace nimbara
