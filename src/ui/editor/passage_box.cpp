#include "ui/editor/passage_box.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace nimbara {

namespace {

void fill(QListWidget *list, const QStringList &lines)
{
    const int row = std::max(list->currentRow(), 0);
    list->clear();
    list->addItems(lines);
    list->setCurrentRow(std::min(row, list->count() - 1));
}

QString lineOf(const QString &reference, const QString &words)
{
    return reference + QStringLiteral("   ·   ") + words;
}

QPushButton *makeTool(const char *spanish, const char *name, const char *tip)
{
    QPushButton *button = makeButton(spanish, name);
    button->setAutoDefault(false); // Return is the list's and the field's
    button->setToolTip(nimbara_i18n::tr(tip));
    button->setAccessibleName(nimbara_i18n::tr(tip));
    return button;
}

QListWidget *makePassages(const char *name, const char *spanish)
{
    auto *list = named(new QListWidget, name, nimbara_i18n::tr(spanish));
    list->setTextElideMode(Qt::ElideRight);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    return list;
}

} // namespace

PassageBox::PassageBox(QWidget *parent)
    : QDialog(parent)
    , m_field(named(new VerseField, "passageReference", nimbara_i18n::tr("Cita")))
    , m_kept(makePassages("keptPassages", "Pasajes de hoy"))
    , m_recent(makePassages("recentPassages", "Mostrados últimamente"))
{
    setObjectName(QStringLiteral("passages"));
    setWindowTitle(nimbara_i18n::tr("Pasajes de hoy"));
    resize(560, 620);
    auto *column = new QVBoxLayout(this);
    auto *adding = new QHBoxLayout;
    m_field->setPlaceholderText(nimbara_i18n::tr("Juan 3:16"));
    QPushButton *add = makeTool("Añadir", "addPassage", "Añadir a los pasajes de hoy");
    adding->addWidget(m_field, 1);
    adding->addWidget(add);
    column->addLayout(adding);
    column->addWidget(m_kept, 3);
    auto *tools = new QHBoxLayout;
    QPushButton *up = makeTool("▲", "passageUp", "Subir el pasaje");
    QPushButton *down = makeTool("▼", "passageDown", "Bajar el pasaje");
    QPushButton *remove = makeTool("Quitar", "removePassage", "Quitar el pasaje");
    for (QPushButton *tool : { up, down, remove }) {
        tools->addWidget(tool);
    }
    tools->addStretch();
    column->addLayout(tools);
    column->addWidget(makeNote("Mostrados últimamente"));
    column->addWidget(m_recent, 2);
    column->addWidget(makeNote("Intro prepara el pasaje elegido."));

    const auto typed = [this] { Q_EMIT addPressed(m_field->text()); };
    connect(add, &QPushButton::clicked, this, typed);
    connect(m_field, &QLineEdit::returnPressed, this, typed);
    connect(m_field, &VerseField::chosen, this, typed);
    connect(m_kept, &QListWidget::itemActivated, this, [this] {
        Q_EMIT cued(m_references.value(m_kept->currentRow()));
    });
    connect(m_recent, &QListWidget::itemActivated, this, [this] {
        Q_EMIT recalled(m_recent->currentRow());
    });
    connect(up, &QPushButton::clicked, this, [this] { move(-1); });
    connect(down, &QPushButton::clicked, this, [this] { move(1); });
    connect(remove, &QPushButton::clicked, this, [this] {
        Q_EMIT removePressed(m_kept->currentRow());
    });
}

void PassageBox::move(int delta)
{
    const int row = m_kept->currentRow();
    Q_EMIT movePressed(row, delta);
    m_kept->setCurrentRow(std::clamp(row + delta, 0, std::max(m_kept->count() - 1, 0)));
}

void PassageBox::showKept(const std::vector<KeptPassage> &passages)
{
    QStringList lines;
    m_references.clear();
    for (const KeptPassage &each : passages) {
        m_references << each.reference;
        lines << lineOf(each.reference, each.words);
    }
    fill(m_kept, lines);
}

void PassageBox::showRecent(const std::vector<ShownPassage> &passages)
{
    QStringList lines;
    for (const ShownPassage &each : passages) {
        const QString bible = each.bible.isEmpty() ? QString() : QStringLiteral(" · ") + each.bible;
        lines << lineOf(each.passage.reference + bible, each.passage.words);
    }
    const QListWidgetItem *chosen = m_recent->currentItem();
    const auto place = chosen != nullptr ? lines.indexOf(chosen->text()) : qsizetype { -1 };
    fill(m_recent, lines);
    if (place >= 0) {
        m_recent->setCurrentRow(static_cast<int>(place)); // a second Return asks for the same
    }
}

void PassageBox::open()
{
    show(); // without stopping the window below
    raise();
    activateWindow();
    m_kept->setFocus();
}

} // namespace nimbara
