#include "ui/captions/glossary_dialog.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QAction>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <functional>
#include <set>

namespace nimbara {

namespace {

enum Column { Said, Shown, Language, Columns };

} // namespace

GlossaryDialog::GlossaryDialog(Document &document,
    const KeyMap &keys,
    std::function<QString()> language,
    QWidget *parent)
    : QDialog(parent)
    , m_document(document)
    , m_language(std::move(language))
    , m_table(named(new QTableWidget(0, Columns), "glossary", nimbara_i18n::tr("Glosario")))
{
    setObjectName(QStringLiteral("glossaryDialog"));
    setWindowTitle(nimbara_i18n::tr("Glosario"));
    resize(640, 420);
    m_table->setHorizontalHeaderLabels({ nimbara_i18n::tr("Nombre o término"),
        nimbara_i18n::tr("Traducción (vacía: igual)"),
        nimbara_i18n::tr("Idioma (vacío: todos)") });
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_table->verticalHeader()->hide();
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    auto *remove = makeButton("Quitar", "removeTerms");
    auto *close = makeButton("Cerrar", "closeGlossary");
    remove->setAutoDefault(false); // Return ends the edit of a cell
    close->setAutoDefault(false);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(remove);
    buttons->addStretch();
    buttons->addWidget(close);
    auto *column = new QVBoxLayout(this);
    column->addWidget(
        makeNote("Nombres y términos de tu iglesia: se dicen a la IA, y se corrigen si "
                 "vuelven escritos de otra forma. Se guardan en el proyecto."));
    column->addWidget(m_table);
    column->addLayout(buttons);
    showTerms();
    addKeys(keys);
    connect(m_table, &QTableWidget::cellChanged, this, &GlossaryDialog::takeEdit);
    connect(remove, &QPushButton::clicked, this, &GlossaryDialog::removeSelected);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    connect(&m_document, &Document::changed, this, [this](const Change &change) {
        if (change.terms && terms() != m_document.project().terms) {
            showTerms();
        }
    });
}

void GlossaryDialog::addKeys(const KeyMap &keys)
{
    const auto add = [this, &keys](KeyAction what, void (Document::*step)()) {
        auto *action = new QAction(this);
        keys.bind(action, what);
        addAction(action);
        connect(action, &QAction::triggered, &m_document, step);
    };
    add(KeyAction::Undo, &Document::undo);
    add(KeyAction::Redo, &Document::redo);
}

void GlossaryDialog::showTerms()
{
    const QSignalBlocker blocker(m_table);
    m_table->setRowCount(0);
    for (const Term &term : m_document.project().terms) {
        appendRow(term);
    }
    appendRow({});
}

void GlossaryDialog::appendRow(const Term &term)
{
    const int row = m_table->rowCount();
    m_table->insertRow(row);
    m_table->setItem(row, Said, new QTableWidgetItem(term.said));
    m_table->setItem(row, Shown, new QTableWidgetItem(term.shown));
    m_table->setItem(row, Language, new QTableWidgetItem(term.language));
}

QString GlossaryDialog::textAt(int row, int column) const
{
    const QTableWidgetItem *item = m_table->item(row, column);
    return item == nullptr ? QString() : item->text().simplified().left(Project::maxTermLength);
}

Terms GlossaryDialog::terms() const
{
    Terms terms;
    for (int row = 0; row < m_table->rowCount(); ++row) {
        if (const QString said = textAt(row, Said);
            !said.isEmpty() && terms.size() < Project::maxTerms) {
            terms.append({ said, textAt(row, Shown), textAt(row, Language) });
        }
    }
    return terms;
}

/// A term that is new is of the language that is translated into now.
void GlossaryDialog::takeEdit(int row)
{
    const bool isNew = row == m_table->rowCount() - 1 && !textAt(row, Said).isEmpty();
    if (isNew) {
        const QSignalBlocker blocker(m_table);
        if (textAt(row, Language).isEmpty()) {
            m_table->item(row, Language)->setText(m_language());
        }
        appendRow({});
    }
    m_document.setTerms(terms());
}

void GlossaryDialog::propose(const QString &shown, const QString &language)
{
    const int row = m_table->rowCount() - 1;
    {
        const QSignalBlocker blocker(m_table); // no term yet
        m_table->item(row, Shown)->setText(shown);
        m_table->item(row, Language)->setText(language);
    }
    m_table->setCurrentCell(row, Said);
    m_table->editItem(m_table->item(row, Said));
}

void GlossaryDialog::removeSelected()
{
    std::set<int, std::greater<>> rows; // from below: none moves before it is removed
    for (const QTableWidgetItem *item : m_table->selectedItems()) {
        rows.insert(item->row());
    }
    {
        const QSignalBlocker blocker(m_table);
        for (const int row : rows) {
            m_table->removeRow(row);
        }
        if (m_table->rowCount() == 0 || !textAt(m_table->rowCount() - 1, Said).isEmpty()) {
            appendRow({});
        }
    }
    m_document.setTerms(terms());
}

} // namespace nimbara
