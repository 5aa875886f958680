#include "ui/editor/passage_box.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace nimbara {

namespace {

void fill(QListWidget *list, const std::vector<KeptPassage> &passages)
{
    const int row = std::max(list->currentRow(), 0);
    list->clear();
    for (const KeptPassage &passage : passages) {
        auto *item
            = new QListWidgetItem(passage.reference + QStringLiteral("   ·   ") + passage.words);
        item->setData(Qt::UserRole, passage.reference);
        list->addItem(item);
    }
    list->setCurrentRow(std::min(row, list->count() - 1));
}

QPushButton *makeTool(const char *spanish, const char *name, const char *tip)
{
    QPushButton *button = makeButton(spanish, name);
    button->setAutoDefault(false); // Return is the list's and the field's
    button->setToolTip(nimbara_i18n::tr(tip));
    button->setAccessibleName(nimbara_i18n::tr(tip));
    return button;
}

} // namespace

PassageBox::PassageBox(QWidget *parent)
    : QDialog(parent)
    , m_field(named(new VerseField, "passageReference", nimbara_i18n::tr("Cita")))
    , m_kept(makeList("keptPassages", "Pasajes de hoy"))
    , m_recent(makeList("recentPassages", "Mostrados últimamente"))
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
    connect(up, &QPushButton::clicked, this, [this] { move(-1); });
    connect(down, &QPushButton::clicked, this, [this] { move(1); });
    connect(remove, &QPushButton::clicked, this, [this] {
        Q_EMIT removePressed(m_kept->currentRow());
    });
}

QListWidget *PassageBox::makeList(const char *name, const char *spanish)
{
    auto *list = named(new QListWidget, name, nimbara_i18n::tr(spanish));
    list->setTextElideMode(Qt::ElideRight);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(list, &QListWidget::itemActivated, this, [this](const QListWidgetItem *item) {
        Q_EMIT cued(item->data(Qt::UserRole).toString());
    });
    return list;
}

void PassageBox::move(int delta)
{
    const int row = m_kept->currentRow();
    Q_EMIT movePressed(row, delta);
    m_kept->setCurrentRow(std::clamp(row + delta, 0, std::max(m_kept->count() - 1, 0)));
}

void PassageBox::showKept(const std::vector<KeptPassage> &passages)
{
    fill(m_kept, passages);
}

void PassageBox::showRecent(const std::vector<KeptPassage> &passages)
{
    fill(m_recent, passages);
}

void PassageBox::open()
{
    show(); // without stopping the window below
    raise();
    activateWindow();
    m_kept->setFocus();
}

} // namespace nimbara
