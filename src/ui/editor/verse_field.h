#pragma once

#include "bible/suggestions.h"

#include <QLineEdit>
#include <QList>
#include <QString>

class QCompleter;
class QStandardItemModel;

namespace nimbara {

/// A field that takes a reference, with what it may become in a list below it. The arrows choose in
/// the list, Return takes the choice, Escape closes it; without a choice Return is the field's own.
/// A click elsewhere closes it, too, and does there what it does without a list.
class VerseField : public QLineEdit {
    Q_OBJECT
public:
    explicit VerseField(QWidget *parent = nullptr);

    /// Shows the suggestions for a text, if that is still what the operator has typed here.
    void offer(const QString &typed, const QList<bible::Suggestion> &suggestions);
    /// Shows another text, and no longer what the one before may become.
    void replaceText(const QString &text);

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// The operator typed; suggestions are wanted.
    void typed(const QString &text);
    /// The operator chose a whole reference, which is in the field now.
    void chosen(const QString &reference);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void take(int row);
    void passOn(const QMouseEvent &press);

    QStandardItemModel *m_model;
    QCompleter *m_completer;
    QList<bible::Suggestion> m_suggestions;
};

} // namespace nimbara
