#include "ui/editor/properties_panel.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileInfo>
#include <QFontComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

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

/// The verse layer's reference line: label, middle dot, name of the source.
const QString referenceDot = QStringLiteral(" · ");

} // namespace

PropertiesPanel::PropertiesPanel(QWidget *parent)
    : QScrollArea(parent)
{
    named(this, "properties", label("Propiedades"));
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMinimumWidth(346);
}

template <typename Edit> void PropertiesPanel::edit(Edit change)
{
    if (Layer *edited = layer()) {
        change(*edited);
        Q_EMIT layerEdited();
    }
}

QWidget *PropertiesPanel::focusedControl() const
{
    QWidget *focused = QApplication::focusWidget();
    return focused != nullptr && isAncestorOf(focused) ? focused : nullptr;
}

bool PropertiesPanel::isTyping() const
{
    const QWidget *focused = focusedControl();
    return qobject_cast<const QLineEdit *>(focused) != nullptr
        || qobject_cast<const QPlainTextEdit *>(focused) != nullptr
        || qobject_cast<const QAbstractSpinBox *>(focused) != nullptr;
}

void PropertiesPanel::rebuild(bool sameLayer)
{
    const QWidget *focused = sameLayer ? focusedControl() : nullptr;
    const QString focusedName = focused != nullptr ? focused->objectName() : QString();
    m_position = nullptr;
    // One of the old controls may have asked for this: it must live until its signal is over.
    if (QWidget *old = takeWidget()) {
        old->hide();
        old->deleteLater();
    }
    auto *content = new QWidget;
    content->setMinimumWidth(330);
    auto *column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 8, 0);
    auto *formOwner = new QWidget;
    auto *form = new QFormLayout(formOwner);
    form->setContentsMargins(0, 0, 0, 0);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows); // on a small screen
    column->addWidget(formOwner);
    column->addStretch();

    if (const Layer *shown = layer()) {
        addCommonRows(*form, *shown);
        addVerseRows(*form, *shown);
        addTextRows(*form, *shown);
        addStyleRows(*form, *shown);
        addPictureRows(*form, *shown);
        refreshPosition();
    } else {
        form->addRow(makeNote(label("Selecciona una fuente en la lista o en Preparación.")));
    }
    setWidget(content);
    if (focused != nullptr) {
        auto *successor = content->findChild<QWidget *>(focusedName);
        (successor != nullptr ? successor : this)->setFocus();
    }
}

void PropertiesPanel::refreshPosition()
{
    const Layer *shown = layer();
    if (shown != nullptr && m_position != nullptr) {
        m_position->showBox(boxOf(*shown));
    }
}

void PropertiesPanel::addCommonRows(QFormLayout &form, const Layer &shown)
{
    form.addRow(
        new QLabel(QStringLiteral("<b>") + displayName(shown.kind) + QStringLiteral("</b>")));

    auto *name = named(new QLineEdit(shown.name), "layerName", label("Nombre"));
    connect(name, &QLineEdit::textEdited, this, [this](const QString &text) {
        if (Layer *edited = layer()) {
            edited->name = text;
            Q_EMIT nameEdited();
        }
    });
    form.addRow(label("Nombre"), name);

    m_position = new PositionRow;
    connect(m_position, &PositionRow::edited, this, [this] {
        if (const Layer *edited = layer()) {
            setBoxOf(editedBox(edited->kind, boxOf(*edited), m_position->percent()));
        }
    });
    form.addRow(label("Posición"), m_position);
    form.addRow(label("Alinear en pantalla"), makeAlignmentGrid());

    auto *opacity = named(new QSlider(Qt::Horizontal), "opacity", label("Opacidad"));
    opacity->setRange(0, 100);
    opacity->setValue(static_cast<int>(shown.opacity * 100));
    connect(opacity, &QSlider::valueChanged, this, [this](int percent) {
        edit([percent](Layer &edited) { edited.opacity = percent / 100.0; });
    });
    form.addRow(label("Opacidad"), opacity);

    auto *fit = makeButton("Ajustar a pantalla completa", "fitToFrame");
    connect(fit, &QPushButton::clicked, this, &PropertiesPanel::fitToFrame);
    form.addRow(fit);
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
            if (const Layer *edited = layer()) {
                setBoxOf(alignedBox(boxOf(*edited), column, row));
            }
        });
        grid->addWidget(button, row, column);
    }
    grid->setColumnStretch(3, 1);
    return owner;
}

void PropertiesPanel::addVerseRows(QFormLayout &form, const Layer &shown)
{
    if (shown.kind != LayerKind::Verse) {
        return;
    }
    auto *reference = named(new QLineEdit(shown.reference.section(referenceDot, 0, 0)),
        "verseReference",
        label("Cita"));
    reference->setPlaceholderText(label("Juan 3:16"));
    auto *find = makeButton("Buscar versículo", "findVerse");
    const auto request = [this, reference] { Q_EMIT verseRequested(reference->text()); };
    connect(reference, &QLineEdit::returnPressed, this, request);
    connect(find, &QPushButton::clicked, this, request);
    form.addRow(label("Cita"), reference);
    form.addRow(find);
    form.addRow(label("Biblia"), makeNote(shown.reference.section(referenceDot, 1)));
}

void PropertiesPanel::addTextRows(QFormLayout &form, const Layer &shown)
{
    if (shown.kind == LayerKind::Subtitle) {
        form.addRow(makeNote(label(
            "El texto lo pone la traducción IA. Aquí eliges posición, tamaño, color y fondo.")));
    }
    if (shown.kind != LayerKind::Text && shown.kind != LayerKind::Verse) {
        return;
    }
    auto *text = named(new QPlainTextEdit(shown.text), "layerText", label("Texto"));
    text->setMaximumHeight(64);
    text->setTabChangesFocus(true);
    connect(text, &QPlainTextEdit::textChanged, this, [this, text] {
        edit([text](Layer &edited) { edited.text = text->toPlainText(); });
    });
    form.addRow(label("Texto"), text);
}

void PropertiesPanel::addStyleRows(QFormLayout &form, const Layer &shown)
{
    if (!isText(shown.kind)) {
        return;
    }
    auto *font = named(new QFontComboBox, "font", label("Tipo de letra"));
    font->setCurrentFont(QFont(shown.font));
    connect(font, &QFontComboBox::currentFontChanged, this, [this](const QFont &chosen) {
        edit([&chosen](Layer &edited) { edited.font = chosen.family(); });
    });
    form.addRow(label("Tipo de letra"), font);

    auto *size = named(new QSpinBox, "textSize", label("Tamaño"));
    size->setRange(Layer::minSize, Layer::maxSize);
    size->setValue(shown.size);
    connect(size, &QSpinBox::valueChanged, this, [this](int pixels) {
        edit([pixels](Layer &edited) { edited.size = pixels; });
    });
    form.addRow(label("Tamaño"), size);

    form.addRow(makeCheck("Negrita", "bold", &Layer::bold));
    form.addRow(label("Color del texto"),
        makeColorButton("Color del texto", "textColor", &Layer::color, false));
    form.addRow(label("Fondo (con transparencia)"),
        makeColorButton("Fondo (con transparencia)", "backgroundColor", &Layer::background, true));
    form.addRow(makeCheck("Sombra / contorno oscuro", "shadow", &Layer::shadow));

    auto *alignment = named(new QComboBox, "textAlign", label("Alineación"));
    alignment->addItems({ label("Izquierda"), label("Centro"), label("Derecha") });
    alignment->setCurrentIndex(static_cast<int>(horizontalAlign(shown.align)));
    connect(alignment, &QComboBox::currentIndexChanged, this, [this](int index) {
        edit([index](Layer &edited) {
            edited.align = withHorizontalAlign(edited.align, static_cast<HorizontalAlign>(index));
        });
    });
    form.addRow(label("Alineación"), alignment);
}

void PropertiesPanel::addPictureRows(QFormLayout &form, const Layer &shown)
{
    if (isPicture(shown.kind)) {
        form.addRow(makeCheck("Rellenar el recuadro (recorta bordes, sin franjas negras)",
            "cover",
            &Layer::cover));
    }
    switch (shown.kind) {
    case LayerKind::Color:
        form.addRow(label("Color"), makeColorButton("Color", "fillColor", &Layer::fill, false));
        break;
    case LayerKind::Image: {
        form.addRow(label("Archivo"), makeNote(QFileInfo(shown.path).fileName()));
        auto *change = makeButton("Cambiar imagen...", "changeImage");
        connect(change, &QPushButton::clicked, this, &PropertiesPanel::changeImagePressed);
        form.addRow(change);
        break;
    }
    case LayerKind::Video: {
        form.addRow(makeCheck("Audio del video cuando esté en Programa", "sound", &Layer::sound));
        form.addRow(label("Origen"), makeNote(shown.uri));
        auto *restart = makeButton("Reiniciar video", "restartVideo");
        connect(restart, &QPushButton::clicked, this, &PropertiesPanel::restartVideoPressed);
        form.addRow(restart);
        break;
    }
    case LayerKind::Camera:
        form.addRow(makeNote(label("Muestra la cámara conectada en \"Fuentes y pantallas\".")));
        break;
    case LayerKind::Screen:
        form.addRow(makeNote(label("Captura la pantalla principal de este equipo.")));
        break;
    default:
        break;
    }
}

QWidget *PropertiesPanel::makeColorButton(const char *spanish,
    const char *name,
    QColor Layer::*field,
    bool withAlpha)
{
    const Layer *shown = layer();
    auto *button = new ColorButton(shown->*field,
        [this, withAlpha](const QColor &current) { return askColor(current, withAlpha); });
    named(button, name, label(spanish));
    connect(button, &ColorButton::colorChosen, this, [this, field](const QColor &color) {
        edit([field, &color](Layer &edited) { edited.*field = color; });
    });
    return button;
}

QWidget *PropertiesPanel::makeCheck(const char *spanish, const char *name, bool Layer::*field)
{
    auto *check = named(new QCheckBox(label(spanish)), name);
    check->setChecked(layer()->*field);
    connect(check, &QCheckBox::toggled, this, [this, field](bool on) {
        edit([field, on](Layer &edited) { edited.*field = on; });
    });
    return check;
}

void PropertiesPanel::setBoxOf(const nimbara::Box &box)
{
    edit([&box](Layer &edited) { setBox(edited, box); });
    refreshPosition();
}

void PropertiesPanel::fitToFrame()
{
    if (const Layer *edited = layer()) {
        setBoxOf(fittedBox(edited->kind, contentSize(*edited), profileSize()));
        rebuild(true);
    }
}

} // namespace nimbara
