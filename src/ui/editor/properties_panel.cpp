#include "ui/editor/properties_panel.h"

#include "base/i18n.h"
#include "document/layer_geometry.h"
#include "ui/editor/camera_row.h"
#include "ui/editor/color_button.h"
#include "ui/editor/position_row.h"
#include "ui/editor/verse_field.h"
#include "ui/editor/verse_rows.h"
#include "ui/kit/controls.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCheckBox>
#include <QFileInfo>
#include <QFontComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
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

QLabel *makeNote(const QString &text)
{
    auto *note = new QLabel(text);
    note->setTextFormat(Qt::PlainText); // names of files and sources may look like markup
    note->setWordWrap(true);
    return note;
}

constexpr int columnWidth = 350; ///< pixels that a column of rows needs

/// The verse layer's reference line: label, middle dot, name of the source.
const QString referenceDot = QStringLiteral(" · ");

template <LayerKind... kinds> bool isOneOf(LayerKind kind)
{
    return ((kind == kinds) || ...);
}

bool isAny(LayerKind)
{
    return true;
}

} // namespace

PropertiesPanel::PropertiesPanel(QWidget *parent)
    : QScrollArea(parent)
    , m_cameras(new CameraRow(this))
{
    m_cameras->hide(); // until a camera layer is shown
    named(this, "properties", label("Propiedades"));
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMinimumWidth(346);
}

void PropertiesPanel::showCameras(const DeviceLists &devices)
{
    m_cameras->showDevices(devices.video);
}

bool PropertiesPanel::isTyping() const
{
    const QWidget *focused = QApplication::focusWidget();
    return focused != nullptr && isAncestorOf(focused)
        && (qobject_cast<const QLineEdit *>(focused) != nullptr
            || qobject_cast<const QPlainTextEdit *>(focused) != nullptr
            || qobject_cast<const QAbstractSpinBox *>(focused) != nullptr);
}

void PropertiesPanel::showLayer(const Layer *layer)
{
    const bool same = layer != nullptr && layer->id == m_shown && layer->kind == m_kind;
    if (same) {
        refresh(*layer);
    } else if (layer != nullptr || m_shown || widget() == nullptr) {
        turnTo(layer);
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
    if (typedIn != nullptr && typedIn->isVisibleTo(this)) {
        typedIn->setFocus(); // a space that is typed on is no TAKE
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

void PropertiesPanel::editName()
{
    if (m_name != nullptr) {
        ensureWidgetVisible(m_name);
        m_name->setFocus();
        m_name->selectAll();
    }
}

void PropertiesPanel::showWaiting(LayerId layer, bool waiting)
{
    if (layer != m_shown || m_waiting == nullptr || m_waiting->isHidden() != waiting) {
        return;
    }
    const QWidget *typedIn = isTyping() ? QApplication::focusWidget() : nullptr;
    const auto place = [&] { return typedIn == nullptr ? 0 : typedIn->mapTo(this, QPoint()).y(); };
    const int before = place();
    m_waiting->setVisible(waiting);
    // What comes or goes above the operator's hands does not move what is under them.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    verticalScrollBar()->setValue(verticalScrollBar()->value() + place() - before);
}

/// Undo is the project's, also while a field of the panel has the keyboard.
bool PropertiesPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->matches(QKeySequence::Undo) || key->matches(QKeySequence::Redo)) {
            event->ignore();
            return true;
        }
    }
    return QScrollArea::eventFilter(watched, event);
}

void PropertiesPanel::build()
{
    auto *content = new QWidget;
    content->setMinimumWidth(330);
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
    addTextRows();
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
        form->setVerticalSpacing(6);
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

void PropertiesPanel::addCommonRows()
{
    auto *title = new QLabel;
    onRefresh([title](const Layer &layer) {
        title->setText(QStringLiteral("<b>") + displayName(layer.kind) + QStringLiteral("</b>"));
    });
    addRow(isAny, title);

    m_name = named(new QLineEdit, "layerName", label("Nombre"));
    connect(m_name, &QLineEdit::textEdited, this, [this](const QString &text) {
        Q_EMIT edited(m_shown, LayerField::Name, text);
    });
    onRefresh([this](const Layer &layer) { showText(m_name, layer.name); });
    addRow(isAny, "Nombre", m_name);
    addRow(isAny, "Posición", makePosition());
    addRow(isAny, "Alinear en pantalla", makeAlignmentGrid());
    addRow(isAny, "Opacidad", makeOpacity());
    addButton(isAny, "Ajustar a pantalla completa", "fitToFrame", &PropertiesPanel::fitPressed);
}

QWidget *PropertiesPanel::makePosition()
{
    auto *position = new PositionRow;
    connect(position, &PositionRow::edited, this, [this, position] {
        if (const Layer *layer = layerOf(m_shown)) {
            Q_EMIT edited(m_shown,
                LayerField::Box,
                editedBox(layer->kind, boxOf(*layer), position->percent()));
        }
    });
    onRefresh([position](const Layer &layer) { position->showBox(boxOf(layer)); });
    return position;
}

/// A ride goes on with the layer that it began with, whatever is shown meanwhile.
QWidget *PropertiesPanel::makeOpacity()
{
    auto *opacity = named(new QSlider(Qt::Horizontal), "opacity", label("Opacidad"));
    opacity->setRange(0, 100);
    connect(opacity, &QSlider::valueChanged, this, [this, opacity](int percent) {
        Q_EMIT edited(opacity->isSliderDown() ? m_ridden : m_shown,
            LayerField::Opacity,
            percent / 100.0);
    });
    connect(opacity, &QSlider::sliderPressed, this, [this] {
        m_ridden = m_shown;
        Q_EMIT rideBegan();
    });
    connect(opacity, &QSlider::sliderReleased, this, [this] {
        Q_EMIT rideEnded();
        if (const Layer *layer = layerOf(m_shown)) {
            refresh(*layer);
        }
    });
    onRefresh([this, opacity](const Layer &layer) {
        const QSignalBlocker blocker(opacity);
        const double percent = layer.opacity * 100;
        const bool isRidden = opacity->isSliderDown() && layer.id != m_ridden;
        if (!isRidden && (m_anew || std::abs(percent - opacity->value()) >= 1)) {
            opacity->setValue(static_cast<int>(percent));
        }
    });
    return opacity;
}

QWidget *PropertiesPanel::makeAlignmentGrid()
{
    static constexpr std::array arrows { "↖", "↑", "↗", "←", "●", "→", "↙", "↓", "↘" };
    auto *owner = new QWidget;
    auto *grid = new QGridLayout(owner);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(2);
    for (int place = 0; place < 9; ++place) {
        const int column = place % 3;
        const int row = place / 3;
        auto *button
            = new QPushButton(QString::fromUtf8(arrows.at(static_cast<std::size_t>(place))));
        button->setObjectName(QStringLiteral("align%1%2").arg(column).arg(row));
        button->setFixedSize(30, 26);
        button->setStyleSheet(QStringLiteral("padding: 0;"));
        button->setToolTip(label("Alinear"));
        button->setAccessibleName(label("Alinear") + QLatin1Char(' ') + button->text());
        connect(button, &QPushButton::clicked, this, [this, column, row] {
            if (const Layer *layer = layerOf(m_shown)) {
                Q_EMIT edited(m_shown, LayerField::Box, alignedBox(boxOf(*layer), column, row));
            }
        });
        grid->addWidget(button, row, column);
    }
    grid->setColumnStretch(3, 1);
    return owner;
}

VerseField *PropertiesPanel::makeReference()
{
    auto *reference = named(new VerseField, "verseReference", label("Cita"));
    reference->setPlaceholderText(label("Juan 3:16"));
    onRefresh([this, reference, last = QString()](const Layer &layer) mutable {
        const QString cited = layer.reference.section(referenceDot, 0, 0);
        const bool isNew = std::exchange(last, cited) != cited;
        // What is being typed stays.
        if (m_anew || (isNew && !reference->isModified())) {
            reference->replaceText(cited);
        }
    });
    connect(reference, &VerseField::typed, this, [this, reference](const QString &text) {
        Q_EMIT verseTyped(reference, text);
    });
    return reference;
}

void PropertiesPanel::addVerseRows()
{
    constexpr Kinds verse = isOneOf<LayerKind::Verse>;
    VerseField *reference = makeReference();
    auto *look = makeButton("Buscar versículo", "findVerse");
    const auto request = [this, reference] {
        reference->setModified(false); // the answer may write it out
        Q_EMIT verseRequested(m_shown, reference->text());
    };
    connect(reference, &QLineEdit::returnPressed, this, request);
    connect(reference, &VerseField::chosen, this, request);
    connect(look, &QPushButton::clicked, this, request);
    addRow(verse, "Cita", reference);
    addRow(verse, look);
    addRow(verse, "Biblia", makeLiveNote([](const Layer &layer) {
        return layer.reference.section(referenceDot, 1);
    }));

    m_waiting = named(new QWidget, "verseWaiting");
    auto *column = new QVBoxLayout(m_waiting);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(
        makeNote(label("Ha llegado el texto pedido. Se conserva lo que escribiste.")));
    auto *use = makeButton("Usar el texto recibido", "useWaiting");
    connect(use, &QPushButton::clicked, this, [this] { Q_EMIT waitingWanted(m_shown); });
    column->addWidget(use);
    m_waiting->hide(); // shown for itself
    m_column->addWidget(m_waiting);
}

void PropertiesPanel::addTextRows()
{
    addRow(isOneOf<LayerKind::Subtitle>,
        makeNote(label(
            "El texto lo pone la traducción IA. Aquí eliges posición, tamaño, color y fondo.")));
    auto *text = named(new QPlainTextEdit, "layerText", label("Texto"));
    text->setMaximumHeight(64);
    text->setTabChangesFocus(true);
    connect(text, &QPlainTextEdit::textChanged, this, [this, text] {
        Q_EMIT edited(m_shown, LayerField::Text, text->toPlainText());
    });
    onRefresh([text](const Layer &layer) {
        if (text->toPlainText() != layer.text) {
            const QSignalBlocker blocker(text);
            text->setPlainText(layer.text);
        }
    });
    addRow(isOneOf<LayerKind::Text, LayerKind::Verse>, "Texto", text);
}

void PropertiesPanel::addStyleRows()
{
    constexpr Kinds verse = isOneOf<LayerKind::Verse>;
    addRow(isText, "Tipo de letra", makeFontList());
    addRow(isText,
        "Tamaño",
        makeNumber("Tamaño", "textSize", LayerField::Size, { Layer::minSize, Layer::maxSize }));
    addRow(verse,
        makeCheck("Achicar y dividir en páginas lo que no cabe", "paged", LayerField::Paged));
    addRow(verse,
        "Tamaño mínimo (%)",
        makeNumber("Tamaño mínimo (%)",
            "smallestSize",
            LayerField::Smallest,
            { Layer::minSmallest, 100 }));
    addRow(isText, makeCheck("Negrita", "bold", LayerField::Bold));
    addRow(isText,
        "Color del texto",
        makeColorButton("Color del texto", "textColor", LayerField::Color, false));
    addRow(isText,
        "Fondo (con transparencia)",
        makeColorButton("Fondo (con transparencia)",
            "backgroundColor",
            LayerField::Background,
            true));
    addRow(isText, makeCheck("Sombra / contorno oscuro", "shadow", LayerField::Shadow));
    addRow(isText, "Alineación", makeAlignment());
    addVerseLook();
}

void PropertiesPanel::addVerseLook()
{
    auto *rows = new VerseRows(*formOf(isOneOf<LayerKind::Verse>), this);
    connect(rows, &VerseRows::edited, this, [this](LayerField field, const FieldValue &value) {
        Q_EMIT edited(m_shown, field, value);
    });
    connect(rows, &VerseRows::secondWanted, this, [this](const QString &bible) {
        Q_EMIT secondBibleWanted(m_shown, bible);
    });
    connect(rows, &VerseRows::styleKept, this, [this] { Q_EMIT verseStyleKept(m_shown); });
    onRefresh([rows](const Layer &layer) { rows->refresh(layer); });
}

QWidget *PropertiesPanel::makeFontList()
{
    auto *font = named(new QFontComboBox, "font", label("Tipo de letra"));
    connect(font, &QFontComboBox::currentFontChanged, this, [this](const QFont &chosen) {
        Q_EMIT edited(m_shown, LayerField::Font, chosen.family());
    });
    onRefresh([this, font, last = QString()](const Layer &layer) mutable {
        const QSignalBlocker blocker(font);
        if (std::exchange(last, layer.font) != layer.font) {
            font->setCurrentFont(QFont(layer.font));
        } else if (m_anew) {
            font->setEditText(layer.font); // in place of what was typed for another layer
        }
    });
    return font;
}

QWidget *PropertiesPanel::makeNumber(const char *spanish,
    const char *name,
    LayerField field,
    std::pair<int, int> range)
{
    auto *number = named(new QSpinBox, name, label(spanish));
    number->setRange(range.first, range.second);
    connect(number, &QSpinBox::valueChanged, this, [this, field](int value) {
        Q_EMIT edited(m_shown, field, std::int32_t { value });
    });
    onRefresh([number, field](const Layer &layer) {
        const std::int32_t value = std::get<std::int32_t>(fieldOf(layer, field));
        if (number->value() != value) {
            const QSignalBlocker blocker(number);
            number->setValue(value);
        }
    });
    return number;
}

QWidget *PropertiesPanel::makeAlignment()
{
    auto *alignment = named(new QComboBox, "textAlign", label("Alineación"));
    alignment->addItems({ label("Izquierda"), label("Centro"), label("Derecha") });
    connect(alignment, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (const Layer *layer = layerOf(m_shown)) {
            Q_EMIT edited(m_shown,
                LayerField::Align,
                withHorizontalAlign(layer->align, static_cast<HorizontalAlign>(index)));
        }
    });
    onRefresh([alignment](const Layer &layer) {
        const QSignalBlocker blocker(alignment);
        alignment->setCurrentIndex(static_cast<int>(horizontalAlign(layer.align)));
    });
    return alignment;
}

void PropertiesPanel::addPictureRows()
{
    constexpr Kinds image = isOneOf<LayerKind::Image>;
    constexpr Kinds video = isOneOf<LayerKind::Video>;
    addRow(isPicture,
        makeCheck("Rellenar el recuadro (recorta bordes, sin franjas negras)",
            "cover",
            LayerField::Cover));
    addRow(isOneOf<LayerKind::Color>,
        "Color",
        makeColorButton("Color", "fillColor", LayerField::Fill, false));
    addRow(image, "Archivo", makeLiveNote([](const Layer &layer) {
        return QFileInfo(layer.path).fileName();
    }));
    addButton(image, "Cambiar imagen...", "changeImage", &PropertiesPanel::changeImagePressed);
    addRow(video, makeCheck("Audio del video cuando esté en Programa", "sound", LayerField::Sound));
    addRow(video, "Origen", makeLiveNote([](const Layer &layer) { return layer.uri; }));
    addButton(video, "Reiniciar video", "restartVideo", &PropertiesPanel::restartVideoPressed);
    constexpr Kinds camera = isOneOf<LayerKind::Camera>;
    connect(m_cameras, &CameraRow::chosen, this, [this](const QString &device) {
        Q_EMIT edited(m_shown, LayerField::Device, device);
    });
    onRefresh([this](const Layer &layer) { m_cameras->showChoice(layer.uri); });
    addRow(camera, "Cámara que se muestra", m_cameras);
    addRow(camera, makeLiveNote([](const Layer &layer) {
        return layer.uri.isEmpty()
            ? label("Muestra la cámara conectada en \"Fuentes y pantallas\".")
            : label("Muestra su propia cámara, esté o no conectada en \"Fuentes y pantallas\".");
    }));
    addRow(isOneOf<LayerKind::Screen>,
        makeNote(label("Captura la pantalla principal de este equipo.")));
}

QWidget *PropertiesPanel::makeLiveNote(std::function<QString(const Layer &)> text)
{
    QLabel *note = makeNote(QString());
    onRefresh([note, text = std::move(text)](const Layer &layer) { note->setText(text(layer)); });
    return note;
}

QWidget *PropertiesPanel::makeColorButton(const char *spanish,
    const char *name,
    LayerField field,
    bool alpha)
{
    auto *button = named(new ColorButton(QColor()), name, label(spanish));
    connect(button, &QPushButton::clicked, this, [this, field, alpha] {
        Q_EMIT colorWanted(m_shown, field, alpha);
    });
    onRefresh([button, field](const Layer &layer) {
        button->showColor(std::get<QColor>(fieldOf(layer, field)));
    });
    return button;
}

QWidget *PropertiesPanel::makeCheck(const char *spanish, const char *name, LayerField field)
{
    auto *check = named(new QCheckBox(label(spanish)), name);
    connect(check, &QCheckBox::toggled, this, [this, field](bool on) {
        Q_EMIT edited(m_shown, field, on);
    });
    onRefresh([check, field](const Layer &layer) {
        const QSignalBlocker blocker(check);
        check->setChecked(std::get<bool>(fieldOf(layer, field)));
    });
    return check;
}

} // namespace nimbara
