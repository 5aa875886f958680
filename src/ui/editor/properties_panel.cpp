#include "ui/editor/properties_panel.h"

#include "base/i18n.h"
#include "document/layer_geometry.h"
#include "ui/editor/camera_row.h"
#include "ui/editor/color_button.h"
#include "ui/editor/position_row.h"
#include "ui/editor/verse_field.h"
#include "ui/editor/verse_rows.h"
#include "ui/kit/controls.h"
#include "ui/kit/typing.h"

#include <QApplication>
#include <QBoxLayout>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace nimbara {

namespace {

QString label(const char *spanish)
{
    return nimbara_i18n::tr(spanish);
}

constexpr int columnWidth = 370; ///< pixels that a column of rows needs

} // namespace

PropertiesPanel::PropertiesPanel(QWidget *parent)
    : QScrollArea(parent)
    , m_cameras(new CameraRow(this))
{
    m_cameras->hide(); // until a camera layer is shown
    named(this, "properties", label("Propiedades"));
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus); // it scrolls to what has the keyboard
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMinimumWidth(386);
}

void PropertiesPanel::showCameras(const DeviceLists &devices)
{
    m_cameras->showDevices(devices.video);
}

bool PropertiesPanel::isTyping() const
{
    const QWidget *focused = QApplication::focusWidget();
    return focused != nullptr && isAncestorOf(focused) && isTypedInto(focused);
}

void PropertiesPanel::showMany(int count)
{
    showLayer(nullptr);
    m_empty->setText(
        label("%1 fuentes seleccionadas: se mueven, escalan, copian, ordenan, ocultan, "
              "bloquean y eliminan juntas.")
            .arg(count));
}

void PropertiesPanel::showLayer(const Layer *layer)
{
    const bool same = layer != nullptr && layer->id == m_shown && layer->kind == m_kind;
    if (same) {
        refresh(*layer);
    } else if (layer != nullptr || m_shown || widget() == nullptr) {
        turnTo(layer);
    }
    if (layer == nullptr) {
        m_empty->setText(label("Selecciona una fuente en la lista o en Preparación."));
    }
}

/// What the fields hold uncommitted goes to the layer that they showed until now.
void PropertiesPanel::turnTo(const Layer *layer)
{
    QPointer<QWidget> typedIn = isTyping() ? QApplication::focusWidget() : nullptr;
    if (typedIn != nullptr) {
        typedIn->clearFocus();
    }
    if (widget() == nullptr) {
        build();
    }
    if (layer != nullptr && m_columns == nullptr) {
        buildRows();
    }
    m_shown = layer != nullptr ? layer->id : LayerId();
    m_empty->setVisible(layer == nullptr);
    if (m_columns == nullptr) {
        return;
    }
    m_columns->parentWidget()->setVisible(layer != nullptr);
    if (layer == nullptr) {
        keepTyping(typedIn);
        return;
    }
    const bool otherRows = m_kind != layer->kind;
    showRowsOf(layer->kind);
    m_waiting->hide();
    m_anew = true;
    refresh(*layer);
    m_anew = false;
    if (otherRows) { // in their places before anything is measured or scrolled to
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    }
    keepTyping(typedIn);
}

/// A space that is typed on is no TAKE.
void PropertiesPanel::keepTyping(QWidget *typedIn)
{
    if (typedIn != nullptr && typedIn->isVisibleTo(this)) {
        typedIn->setFocus();
    } else if (typedIn != nullptr) {
        holdTyping(*this);
    }
}

void PropertiesPanel::showRowsOf(LayerKind kind)
{
    if (m_kind == kind) {
        return;
    }
    m_kind = kind;
    for (const Group &group : m_groups) {
        group.owner->setVisible(group.kinds(kind));
    }
    verticalScrollBar()->setValue(0);
}

void PropertiesPanel::refresh(const Layer &layer)
{
    if (layer.id == m_shown) {
        for (const Refresher &refresher : m_refreshers) {
            refresher(layer);
        }
    }
}

void PropertiesPanel::showWaiting(LayerId layer, bool waiting)
{
    if (layer == m_shown && m_waiting != nullptr) {
        showInPlace(m_waiting, waiting);
    }
}

void PropertiesPanel::showInPlace(QWidget *note, bool shown)
{
    if (note->isHidden() != shown) {
        return;
    }
    const QWidget *typedIn = isTyping() ? QApplication::focusWidget() : nullptr;
    const auto place = [&] { return typedIn == nullptr ? 0 : typedIn->mapTo(this, QPoint()).y(); };
    const int before = place();
    note->setVisible(shown);
    // What comes or goes above the operator's hands does not move what is under them.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    verticalScrollBar()->setValue(verticalScrollBar()->value() + place() - before);
}

/// Undo is the project's, also while a field of the panel has the keyboard.
bool PropertiesPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        if (isUndo(*static_cast<QKeyEvent *>(event))) {
            event->ignore();
            return true;
        }
    }
    return QScrollArea::eventFilter(watched, event);
}

void PropertiesPanel::build()
{
    auto *content = new QWidget;
    content->setMinimumWidth(370);
    auto *column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 8, 0);
    m_empty = makeNote(label("Selecciona una fuente en la lista o en Preparación."));
    column->addWidget(m_empty);
    column->addStretch();
    setWidget(content);
}

/// Once, at the first layer: the fields are costly to make and cheap to write into.
void PropertiesPanel::buildRows()
{
    auto *owner = new QWidget;
    m_columns = new QBoxLayout(QBoxLayout::TopToBottom, owner);
    m_columns->setContentsMargins(0, 0, 0, 0);
    addColumn();
    addCommonRows();
    addColumn();
    addVerseRows();
    addTroubleNote();
    addTextRows();
    addClockRows();
    addStyleRows();
    addPictureRows();
    for (QWidget *field : owner->findChildren<QWidget *>()) {
        if (qobject_cast<QLineEdit *>(field) != nullptr
            || qobject_cast<QPlainTextEdit *>(field) != nullptr
            || qobject_cast<QAbstractSpinBox *>(field) != nullptr) {
            field->installEventFilter(this);
        }
    }
    static_cast<QVBoxLayout *>(widget()->layout())->insertWidget(0, owner);
    alignLabels();
    arrange();
}

void PropertiesPanel::addColumn()
{
    auto *owner = new QWidget;
    m_column = new QVBoxLayout(owner);
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(6);
    m_columns->addWidget(owner, 1, Qt::AlignTop);
}

QFormLayout *PropertiesPanel::formOf(Kinds kinds)
{
    const bool goesOn = !m_groups.empty() && m_groups.back().kinds == kinds
        && m_column->indexOf(m_groups.back().owner) == m_column->count() - 1;
    if (!goesOn) {
        auto *owner = new QWidget;
        auto *form = new QFormLayout(owner);
        form->setContentsMargins(0, 0, 0, 0);
        form->setVerticalSpacing(5);
        form->setRowWrapPolicy(QFormLayout::WrapLongRows); // on a small screen
        m_column->addWidget(owner);
        m_groups.push_back({ owner, form, kinds });
    }
    return m_groups.back().form;
}

/// The fields of all groups stand in one line.
void PropertiesPanel::alignLabels()
{
    QList<QWidget *> labels;
    int widest = 0;
    for (const Group &group : m_groups) {
        for (int row = 0; row < group.form->rowCount(); ++row) {
            if (const QLayoutItem *item = group.form->itemAt(row, QFormLayout::LabelRole)) {
                item->widget()->ensurePolished();
                labels << item->widget();
                widest = std::max(widest, item->widget()->sizeHint().width());
            }
        }
    }
    for (QWidget *each : labels) {
        each->setMinimumWidth(widest);
    }
}

/// Side by side where there is room for both, so that little has to be scrolled.
void PropertiesPanel::arrange()
{
    if (m_columns == nullptr) {
        return;
    }
    const bool wide = viewport()->width() >= 2 * columnWidth;
    m_columns->setDirection(wide ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    m_columns->setSpacing(wide ? 24 : 6);
}

void PropertiesPanel::resizeEvent(QResizeEvent *event)
{
    QScrollArea::resizeEvent(event);
    arrange();
}

void PropertiesPanel::addRow(Kinds kinds, QWidget *field)
{
    formOf(kinds)->addRow(field);
}

void PropertiesPanel::addRow(Kinds kinds, const char *spanish, QWidget *field)
{
    formOf(kinds)->addRow(label(spanish), field);
}

void PropertiesPanel::addButton(Kinds kinds,
    const char *spanish,
    const char *name,
    void (PropertiesPanel::*pressed)(LayerId))
{
    auto *button = makeButton(spanish, name);
    connect(button, &QPushButton::clicked, this, [this, pressed] { (this->*pressed)(m_shown); });
    addRow(kinds, button);
}

} // namespace nimbara
