#include "ui/captions/hold_row.h"

#include "base/i18n.h"
#include "translation/pipeline/corrected_words.h"
#include "ui/kit/controls.h"
#include "ui/kit/typing.h"

#include <QFocusEvent>
#include <QHBoxLayout>
#include <QKeyEvent>

#include <utility>

namespace nimbara {

namespace {

bool isEscape(const QEvent &event, QEvent::Type type)
{
    return event.type() == type && static_cast<const QKeyEvent &>(event).key() == Qt::Key_Escape;
}

bool isPage(const QEvent &event, QEvent::Type type)
{
    if (event.type() != type) {
        return false;
    }
    const auto &key = static_cast<const QKeyEvent &>(event);
    return (key.key() == Qt::Key_PageUp || key.key() == Qt::Key_PageDown)
        && (key.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == Qt::NoModifier;
}

} // namespace

HoldRow::HoldRow(const QString &prefix, QWidget *parent)
    : QWidget(parent)
    , m_text(named(new QLineEdit, "nextCaption"))
    , m_others(named(new QLabel, "heldBehind"))
    , m_drop(makeButton("Descartar", "dropCaption"))
    , m_toGlossary(makeButton("Al glosario…", "correctionToGlossary"))
{
    setObjectName(QStringLiteral("holdRow"));
    showLanguage({});
    m_text->installEventFilter(this);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_text, 1);
    row->addWidget(m_others);
    row->addWidget(m_drop);
    row->addWidget(m_toGlossary);
    connect(m_text, &QLineEdit::textEdited, this, &HoldRow::begin);
    connect(m_text, &QLineEdit::editingFinished, this, &HoldRow::finish);
    // A click must not end the edit: its caption would leave, and the one behind it be dropped.
    m_drop->setFocusPolicy(Qt::TabFocus);
    connect(m_drop, &QPushButton::clicked, this, [this] {
        m_isEdited = false;
        Q_EMIT dropped(m_next.id);
    });
    connect(m_toGlossary, &QPushButton::clicked, this, [this] {
        const QString words = m_correction;
        showCorrection({});
        Q_EMIT glossaryPressed(words);
    });
    if (!prefix.isEmpty()) {
        for (QWidget *each : QList<QWidget *> { this, m_text, m_others, m_drop, m_toGlossary }) {
            const QString name = each->objectName();
            each->setObjectName(prefix + name.left(1).toUpper() + name.mid(1));
        }
    }
    showNext({});
    showCorrection({});
}

void HoldRow::showNext(const Next &next)
{
    const bool isAnother = next.id != m_next.id;
    m_next = next;
    if (isAnother && std::exchange(m_isEdited, false)) {
        m_hasLeft = true; // what is still typed is not meant for this one, nor for the window
    }
    if (!m_isEdited && m_text->text() != next.text) {
        m_text->setText(next.text);
        m_text->setCursorPosition(0);
    }
    m_text->setToolTip(next.original);
    showWritable();
    m_drop->setEnabled(next.id != 0);
    m_others->setText(next.others == 0
            ? QString()
            : nimbara_i18n::tr("y %1 más").arg(static_cast<qulonglong>(next.others)));
}

void HoldRow::showLanguage(const QString &language)
{
    const QString next = nimbara_i18n::tr("Siguiente subtítulo");
    const QString name = language.isEmpty() ? next : next + QStringLiteral(" · ") + language;
    m_text->setPlaceholderText(name);
    m_text->setAccessibleName(name);
}

void HoldRow::showCorrection(const QString &words)
{
    m_correction = words;
    m_toGlossary->setEnabled(!words.isEmpty());
    m_toGlossary->setToolTip(words);
}

void HoldRow::showWritable()
{
    m_text->setReadOnly(m_next.id == 0 || m_hasLeft);
    keepPageKeys(*m_text, hasCaption());
}

/// Who comes into the text anew means the caption that is there.
void HoldRow::enter()
{
    m_hasLeft = false;
    showWritable();
    begin();
}

void HoldRow::begin()
{
    if (m_next.id != 0 && !std::exchange(m_isEdited, true)) {
        Q_EMIT editBegun(m_next.id);
    }
}

void HoldRow::finish()
{
    if (!std::exchange(m_isEdited, false)) {
        return;
    }
    const QString text = m_text->text().trimmed();
    if (text == m_next.text) {
        Q_EMIT editLeft(m_next.id);
        return;
    }
    if (const QString words = correctedWords(m_next.text, text); !words.isEmpty()) {
        showCorrection(words);
    }
    Q_EMIT changed(m_next.id, text);
}

void HoldRow::leave()
{
    if (std::exchange(m_isEdited, false)) {
        m_text->setText(m_next.text);
        Q_EMIT editLeft(m_next.id);
    }
}

/// The line is one page. Who reads a caption here means it, and no verse that would step.
void HoldRow::turnPage(const QKeyEvent &key)
{
    const bool marks = key.modifiers().testFlag(Qt::ShiftModifier);
    if (key.key() == Qt::Key_PageUp) {
        m_text->home(marks);
    } else {
        m_text->end(marks);
    }
}

/// Who goes into the text means to change it: it must not leave meanwhile.
bool HoldRow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn) {
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason) {
            enter();
        }
    } else if (event->type() == QEvent::FocusOut) {
        m_hasLeft = false;
        showWritable();
    } else if (event->type() == QEvent::MouseButtonPress) {
        enter();
    } else if ((m_isEdited && isEscape(*event, QEvent::ShortcutOverride))
        || (hasCaption() && isPage(*event, QEvent::ShortcutOverride))) {
        event->accept(); // it is this edit's before it hides anything, or turns another page
        return true;
    } else if (m_isEdited && isEscape(*event, QEvent::KeyPress)) {
        leave();
        return true;
    } else if (hasCaption() && isPage(*event, QEvent::KeyPress)) {
        turnPage(*static_cast<QKeyEvent *>(event));
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace nimbara
