#include "ui/editor/verse_field.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCompleter>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStandardItemModel>
#include <QWindow>

#include <algorithm>

namespace nimbara {

namespace {

constexpr int listWidth = 560; ///< pixels; a reference and the first words of its verse

QString lineOf(const bible::Suggestion &suggestion)
{
    return suggestion.words.isEmpty()
        ? suggestion.reference
        : suggestion.reference + QStringLiteral("   ·   ") + suggestion.words;
}

} // namespace

VerseField::VerseField(QWidget *parent)
    : QLineEdit(parent)
    , m_model(new QStandardItemModel(this))
    , m_completer(new QCompleter(m_model, this))
{
    m_completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    m_completer->setMaxVisibleItems(10);
    m_completer->setWidget(this);
    m_completer->popup()->setObjectName(QStringLiteral("verseSuggestions"));
    m_completer->popup()->setAccessibleName(nimbara_i18n::tr("Citas y versículos encontrados"));
    m_completer->popup()->setTextElideMode(Qt::ElideRight);
    m_completer->popup()->setAttribute(Qt::WA_NoMouseReplay); // see `passOn`
    m_completer->popup()->installEventFilter(this);
    connect(this, &QLineEdit::textEdited, this, [this](const QString &text) {
        m_completer->popup()->setCurrentIndex({}); // what was chosen went with the text before
        Q_EMIT typed(text);
    });
    connect(m_completer,
        qOverload<const QModelIndex &>(&QCompleter::activated),
        this,
        [this](const QModelIndex &index) { take(index.row()); });
}

void VerseField::offer(const QString &typed, const QList<bible::Suggestion> &suggestions)
{
    if (!hasFocus() || text() != typed || !isModified()) {
        return;
    }
    const QAbstractItemView *list = m_completer->popup();
    if (list->isVisible() && list->currentIndex().isValid()) {
        return; // what the operator is about to take stays in its place
    }
    m_suggestions = suggestions;
    m_model->clear();
    for (const bible::Suggestion &suggestion : suggestions) {
        auto *item = new QStandardItem(lineOf(suggestion));
        item->setEditable(false);
        m_model->appendRow(item);
    }
    if (suggestions.isEmpty()) {
        m_completer->popup()->hide();
        return;
    }
    m_completer->complete(QRect(0, 0, std::max(width(), listWidth), height()));
    m_completer->popup()->setCurrentIndex({}); // Return takes a line that the arrows chose, alone
}

void VerseField::replaceText(const QString &text)
{
    m_completer->popup()->hide();
    setText(text);
}

void VerseField::keyPressEvent(QKeyEvent *event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    QAbstractItemView *list = m_completer->popup();
    if (isReturn && list->isVisible() && list->currentIndex().isValid()) {
        event->ignore(); // it is the list's
        return;
    }
    if (isReturn) {
        list->hide();
        setModified(false); // what is found only now comes too late to be offered
    }
    QLineEdit::keyPressEvent(event);
}

bool VerseField::eventFilter(QObject *watched, QEvent *event)
{
    const QWidget *list = m_completer->popup();
    if (watched == list && event->type() == QEvent::MouseButtonPress) {
        const auto *press = static_cast<QMouseEvent *>(event);
        if (!list->rect().contains(press->position().toPoint())) {
            passOn(*press);
            return true;
        }
    }
    return QLineEdit::eventFilter(watched, event);
}

/// An open list gets the clicks of the whole desktop, and the completer would keep the one that
/// closes it. Its window hears of the release, too, and hands that to what was pressed.
void VerseField::passOn(const QMouseEvent &press)
{
    m_completer->popup()->hide();
    const QWidget *under = QApplication::widgetAt(press.globalPosition().toPoint());
    if (QWindow *window = under != nullptr ? under->window()->windowHandle() : nullptr) {
        QMouseEvent passed(press.type(),
            window->mapFromGlobal(press.globalPosition()),
            press.globalPosition(),
            press.button(),
            press.buttons(),
            press.modifiers());
        QCoreApplication::sendEvent(window, &passed);
    }
}

void VerseField::take(int row)
{
    if (row < 0 || row >= m_suggestions.size()) {
        return;
    }
    const bible::Suggestion suggestion = m_suggestions.at(row);
    if (!suggestion.isBook) {
        setText(suggestion.reference);
        Q_EMIT chosen(suggestion.reference);
        return;
    }
    setText(suggestion.reference + QLatin1Char(' '));
    setModified(true);
    // Not from within the list's own signal: it closes behind it.
    QMetaObject::invokeMethod(
        this,
        [this] { Q_EMIT typed(text()); },
        Qt::QueuedConnection);
}

} // namespace nimbara
