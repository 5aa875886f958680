#include "ui/shell/key_page.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QVBoxLayout>

namespace nimbara {

namespace {

enum Column { What, Where, Which, Columns };

QString words(const char *spanish)
{
    return nimbara_i18n::tr(spanish);
}

bool isModifier(int key)
{
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt
        || key == Qt::Key_AltGr || key == Qt::Key_Meta || key == Qt::Key_unknown;
}

/// What leads through a window stays what it is.
bool isReserved(int key)
{
    return key == Qt::Key_Tab || key == Qt::Key_Backtab || key == Qt::Key_Return
        || key == Qt::Key_Enter;
}

} // namespace

KeyPage::KeyPage(KeyMap &keys, bool clicker, QWidget *parent)
    : QDialog(parent)
    , m_keys(keys)
    , m_table(named(new QTableWidget(0, Columns), "keyTable", words("Teclas")))
    , m_note(named(makeNote(QString()), "keyNote"))
    , m_change(makeButton("Cambiar", "changeKeys"))
    , m_add(makeButton("Añadir otra", "addKeys"))
    , m_remove(makeButton("Quitar", "removeKeys"))
    , m_clicker(
          named(new QCheckBox(words("Escuchar pedal o mando en todas las ventanas del estudio")),
              "listenToClicker"))
{
    setObjectName(QStringLiteral("keyPage"));
    setWindowTitle(words("Teclas"));
    m_clicker->setChecked(clicker);
    layOut();
    makeRows();
    showKeys();
    ask(Wanted::Nothing);
    qApp->installEventFilter(this);
    connect(&m_keys, &KeyMap::changed, this, &KeyPage::showKeys);
    connect(m_clicker, &QCheckBox::toggled, this, &KeyPage::clickerChosen);
    connect(m_change, &QPushButton::clicked, this, [this] { ask(Wanted::Other); });
    connect(m_add, &QPushButton::clicked, this, [this] { ask(Wanted::Another); });
    connect(m_remove, &QPushButton::clicked, this, &KeyPage::removeKeys);
    connect(m_table, &QTableWidget::cellActivated, this, [this] { ask(Wanted::Other); });
    connect(m_table, &QTableWidget::itemSelectionChanged, this, [this] { ask(Wanted::Nothing); });
}

void KeyPage::layOut()
{
    resize(640, 560);
    m_table->setHorizontalHeaderLabels({ words("Acción"), words("Dónde"), words("Teclas") });
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_table->horizontalHeader()->setSectionResizeMode(What, QHeaderView::Stretch);
    m_table->verticalHeader()->hide();
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setTabKeyNavigation(false);
    auto *reset = makeButton("Restablecer", "resetKeys");
    auto *close = makeButton("Cerrar", "closeKeys");
    auto *buttons = new QHBoxLayout;
    for (QPushButton *button : { m_change, m_add, m_remove, reset, close }) {
        button->setAutoDefault(false); // Return in the table asks for a key
        if (button == close) {
            buttons->addStretch();
        }
        buttons->addWidget(button);
    }
    reset->setToolTip(words("Todas las teclas como al principio"));
    auto *column = new QVBoxLayout(this);
    column->addWidget(m_table, 1);
    column->addWidget(m_note);
    column->addLayout(buttons);
    column->addWidget(m_clicker);
    column->addWidget(
        makeNote("Con un pedal o un mando de presentaciones: sus teclas pasan de página y "
                 "quitan del aire, también con otra ventana del estudio delante. Mientras "
                 "escribes son letras."));
    connect(reset, &QPushButton::clicked, this, [this] {
        m_keys.reset();
        ask(Wanted::Nothing);
    });
    connect(close, &QPushButton::clicked, this, &QDialog::close);
}

void KeyPage::makeRows()
{
    for (const KeyRow &row : keyTable()) {
        const int place = m_table->rowCount();
        m_table->insertRow(place);
        m_table->setItem(place, What, new QTableWidgetItem(keyActionText(row.action)));
        m_table->setItem(place, Where, new QTableWidgetItem(keyPlaceText(row.place)));
        m_table->setItem(place, Which, new QTableWidgetItem);
    }
    m_table->setCurrentCell(0, What);
}

void KeyPage::showKeys()
{
    for (const KeyRow &row : keyTable()) {
        m_table->item(static_cast<int>(row.action), Which)->setText(m_keys.text(row.action));
    }
}

std::optional<KeyAction> KeyPage::chosen() const
{
    const int row = m_table->currentRow();
    return row < 0 ? std::nullopt : std::optional(static_cast<KeyAction>(row));
}

void KeyPage::ask(Wanted wanted)
{
    m_wanted = chosen() ? wanted : Wanted::Nothing;
    tell(m_wanted == Wanted::Nothing
            ? words("Elige una acción y pulsa Intro o Cambiar.")
            : words("Pulsa las teclas para “%1”. Esc: dejarlo.").arg(keyActionText(*chosen())));
}

void KeyPage::tell(const QString &text)
{
    m_note->setText(text);
    m_note->setAccessibleName(text);
}

void KeyPage::removeKeys()
{
    if (const auto action = chosen()) {
        m_keys.setKeys(*action, {});
        ask(Wanted::Nothing);
    }
}

void KeyPage::take(const QKeySequence &key)
{
    const KeyAction action = *chosen();
    if (const auto other = m_keys.holder(key, action)) {
        tell(words("%1 ya es de “%2”. Pulsa otras teclas, o Esc.")
                 .arg(keyText(key), keyActionText(*other)));
        return;
    }
    QList<QKeySequence> keys
        = m_wanted == Wanted::Another ? m_keys.keys(action) : QList<QKeySequence>();
    keys.removeAll(key);
    m_keys.setKeys(action, keys << key);
    ask(Wanted::Nothing);
    tell(QStringLiteral("“%1”: %2").arg(keyActionText(action), m_keys.text(action))
        + alsoDone(action, key));
}

/// What else the key does, where the two do not meet: what listens to a clicker goes first.
QString KeyPage::alsoDone(KeyAction action, const QKeySequence &key) const
{
    for (const KeyRow &row : keyTable()) {
        if (!placesMeet(row.place, keyRow(action).place) && m_keys.has(row.action, key)) {
            return QLatin1Char(' ')
                + words("%1 es también de “%2” (%3).")
                      .arg(keyText(key), keyActionText(row.action), keyPlaceText(row.place));
        }
    }
    return {};
}

/// The keys that are asked for mean nothing else, neither here nor in the window.
bool KeyPage::eventFilter(QObject *watched, QEvent *event)
{
    const bool isKey
        = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    const auto *widget = qobject_cast<QWidget *>(watched);
    if (m_wanted == Wanted::Nothing || !isKey || widget == nullptr || widget->window() != this) {
        return QDialog::eventFilter(watched, event);
    }
    event->accept();
    const auto *key = static_cast<QKeyEvent *>(event);
    if (event->type() == QEvent::ShortcutOverride || isModifier(key->key())) {
        return true;
    }
    if (key->key() == Qt::Key_Escape) {
        ask(Wanted::Nothing);
    } else if (!isReserved(key->key())) {
        take(sequenceOf(*key));
    }
    return true;
}

} // namespace nimbara
