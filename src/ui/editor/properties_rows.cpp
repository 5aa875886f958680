#include "base/i18n.h"
#include "document/layer_geometry.h"
#include "media/sources/platform_elements.h"
#include "ui/editor/camera_row.h"
#include "ui/editor/clock_rows.h"
#include "ui/editor/color_button.h"
#include "ui/editor/font_list.h"
#include "ui/editor/position_row.h"
#include "ui/editor/properties_panel.h"
#include "ui/editor/style_button.h"
#include "ui/editor/verse_field.h"
#include "ui/editor/verse_rows.h"
#include "ui/kit/controls.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <utility>

namespace nimbara {

namespace {

QString label(const char *spanish)
{
    return nimbara_i18n::tr(spanish);
}

/// The verse layer's reference line: label, middle dot, name of the source.
const QString referenceDot = QStringLiteral(" · ");

void showPercent(QSpinBox &number, int step)
{
    number.setSuffix(QStringLiteral(" %"));
    number.setSingleStep(step);
    number.setToolTip(number.accessibleName());
}

template <LayerKind... kinds> bool isOneOf(LayerKind kind)
{
    return ((kind == kinds) || ...);
}

bool isAny(LayerKind)
{
    return true;
}

} // namespace

void PropertiesPanel::addCommonRows()
{
    addRow(isAny, makeHeading());
    auto *name = named(new QLineEdit, "layerName", label("Nombre"));
    connect(name, &QLineEdit::textEdited, this, [this](const QString &text) {
        Q_EMIT edited(m_shown, LayerField::Name, text);
    });
    onRefresh([name](const Layer &layer) { showText(name, layer.name); });
    addRow(isAny, "Nombre", name);
    addRow(isAny, "Posición", makePosition());
    addRow(isAny, "Alinear en pantalla", makeAlignmentGrid());
    addRow(isAny, "Opacidad", makeOpacity());
}

/// The kind, and beside it what would not be seen below on a low screen.
QWidget *PropertiesPanel::makeHeading()
{
    auto *heading = new QWidget;
    auto *row = new QHBoxLayout(heading);
    row->setContentsMargins(0, 0, 0, 0);
    auto *title = new QLabel;
    onRefresh([title](const Layer &layer) {
        title->setText(QStringLiteral("<b>") + displayName(layer.kind) + QStringLiteral("</b>"));
    });
    QPushButton *style = makeStyle();
    auto *fit = makeButton("Ajustar a pantalla completa", "fitToFrame");
    connect(fit, &QPushButton::clicked, this, [this] { Q_EMIT fitPressed(m_shown); });
    row->addWidget(title, 1);
    row->addWidget(style);
    row->addWidget(fit);
    return heading;
}

QPushButton *PropertiesPanel::makeStyle()
{
    auto *style = new StyleButton;
    connect(style, &StyleButton::chosen, this, [this](const QString &name) {
        Q_EMIT styleChosen(m_shown, name);
    });
    connect(style, &StyleButton::keepPressed, this, [this] { Q_EMIT styleKeepWanted(m_shown); });
    connect(style, &StyleButton::removePressed, this, &PropertiesPanel::styleRemoved);
    onRefresh([this, style](const Layer &layer) {
        style->setVisible(isText(layer.kind));
        style->showStyles(styleNames(), layer.style);
    });
    return style;
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

void PropertiesPanel::addTroubleNote()
{
    auto *note = named(new QWidget, "legibility");
    auto *column = new QVBoxLayout(note);
    column->setContentsMargins(0, 0, 0, 0);
    auto *words = makeNote(QString());
    column->addWidget(words);
    auto *mend = makeButton("Hacer legible", "makeLegible");
    connect(mend, &QPushButton::clicked, this, [this] { Q_EMIT legibleWanted(m_shown); });
    column->addWidget(mend);
    note->hide();
    m_column->addWidget(note);
    onRefresh([this, note, words, mend](const Layer &layer) {
        const QString trouble = isText(layer.kind) ? troubleOf(layer.id) : QString();
        words->setText(trouble);
        mend->setVisible(canMend(layer.id));
        showInPlace(note, !trouble.isEmpty());
    });
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
    addRow(isText, "Tamaño", makeSizes());
    addRow(verse,
        makeCheck("Achicar y dividir en páginas lo que no cabe", "paged", LayerField::Paged));
    addRow(verse,
        "Tamaño mínimo (%)",
        makeNumber("Tamaño mínimo (%)",
            "smallestSize",
            LayerField::Smallest,
            { Layer::minSmallest, 100 }));
    addRow(isText, makeLetters());
    addRow(isText,
        "Color del texto",
        makeColorButton("Color del texto", "textColor", LayerField::Color, false));
    addRow(isText,
        "Fondo (con transparencia)",
        makeColorButton("Fondo (con transparencia)",
            "backgroundColor",
            LayerField::Background,
            true));
    addRow(isText, makeShadow());
    addRow(isText, "Alineación", makeAlignment());
    addRow(isOneOf<LayerKind::Subtitle>, "Idioma de los subtítulos", makeCaptionLanguage());
    addVerseLook();
}

/// What the second number is stands in it: there is no room for another label.
QWidget *PropertiesPanel::makeSizes()
{
    auto *owner = new QWidget;
    auto *row = new QHBoxLayout(owner);
    row->setContentsMargins(0, 0, 0, 0);
    QSpinBox *spacing = makeNumber("Interlineado (%)",
        "lineSpacing",
        LayerField::Spacing,
        { Layer::minSpacing, Layer::maxSpacing });
    spacing->setPrefix(label("Líneas") + QLatin1Char(' '));
    showPercent(*spacing, 5);
    row->addWidget(
        makeNumber("Tamaño", "textSize", LayerField::Size, { Layer::minSize, Layer::maxSize }),
        1);
    row->addWidget(spacing, 1);
    return owner;
}

/// The numbers stand in the order of the check's words: there is no room for labels.
QWidget *PropertiesPanel::makeShadow()
{
    auto *owner = new QWidget;
    auto *row = new QHBoxLayout(owner);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(makeCheck("Sombra / contorno oscuro", "shadow", LayerField::Shadow), 1);
    for (const auto &[spanish, name, field] :
        { std::tuple { "Fuerza de la sombra (%)", "shadowStrength", LayerField::ShadowStrength },
            { "Grosor del contorno (%)", "outlineWidth", LayerField::OutlineWidth } }) {
        QSpinBox *number = makeNumber(spanish, name, field, { 0, Layer::maxStrength });
        showPercent(*number, 10);
        row->addWidget(number);
        onRefresh([number](const Layer &layer) { number->setEnabled(layer.shadow); });
    }
    return owner;
}

QWidget *PropertiesPanel::makeLetters()
{
    auto *owner = new QWidget;
    auto *row = new QHBoxLayout(owner);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(makeCheck("Negrita", "bold", LayerField::Bold), 2);
    row->addWidget(makeCheck("Todo en mayúsculas", "upperCase", LayerField::UpperCase), 3);
    return owner;
}

void PropertiesPanel::addClockRows()
{
    auto *rows = new ClockRows(*formOf(isOneOf<LayerKind::Clock>), this);
    connect(rows, &ClockRows::edited, this, [this](LayerField field, const FieldValue &value) {
        Q_EMIT edited(m_shown, field, value);
    });
    connect(rows, &ClockRows::togglePressed, this, [this] { Q_EMIT countdownToggled(m_shown); });
    connect(rows, &ClockRows::resetPressed, this, [this] { Q_EMIT countdownReset(m_shown); });
    onRefresh([this, rows](const Layer &layer) { rows->refresh(layer, isRunning(layer)); });
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
    auto *font = named(new FontList, "font", label("Tipo de letra"));
    connect(font, &QFontComboBox::currentFontChanged, this, [this](const QFont &chosen) {
        Q_EMIT edited(m_shown, LayerField::Font, chosen.family());
    });
    connect(font, &FontList::tried, this, [this](const QString &family) {
        Q_EMIT tried(m_shown, LayerField::Font, family);
    });
    connect(font, &FontList::trialEnded, this, &PropertiesPanel::trialEnded);
    onRefresh([this, font, last = QString()](const Layer &layer) mutable {
        const QSignalBlocker blocker(font);
        if (std::exchange(last, layer.font) != layer.font) {
            font->setCurrentFont(QFont(layer.font));
        } else if (m_anew) {
            font->setEditText(layer.font); // in place of what was typed for another layer
        }
        if (m_anew) {
            font->hidePopup(); // it was opened over another layer
        }
    });
    return font;
}

QSpinBox *PropertiesPanel::makeNumber(const char *spanish,
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

QWidget *PropertiesPanel::makeCaptionLanguage()
{
    auto *language = makeList({ "Primer idioma", "Segundo idioma (si lo hay)" },
        "captionLanguage",
        "Idioma de los subtítulos");
    connect(language, &QComboBox::currentIndexChanged, this, [this](int index) {
        Q_EMIT edited(m_shown, LayerField::Language, std::int32_t { index });
    });
    onRefresh([language](const Layer &layer) {
        const QSignalBlocker blocker(language);
        language->setCurrentIndex(layer.language);
    });
    return language;
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
    addLatency();
    addButton(video, "Reiniciar video", "restartVideo", &PropertiesPanel::restartVideoPressed);
    constexpr Kinds camera = isOneOf<LayerKind::Camera>;
    connect(m_cameras, &CameraRow::chosen, this, [this](const QString &device) {
        Q_EMIT edited(m_shown, LayerField::Device, device);
    });
    onRefresh([this](const Layer &layer) { m_cameras->showChoice(layer.uri); });
    addRow(camera, "Cámara que se muestra", m_cameras);
    m_cameras->show(); // it was hidden while it stood nowhere
    addRow(camera, makeLiveNote([](const Layer &layer) {
        return layer.uri.isEmpty()
            ? label("Muestra la cámara conectada en \"Fuentes y pantallas\".")
            : label("Muestra su propia cámara, esté o no conectada en \"Fuentes y pantallas\".");
    }));
    constexpr Kinds capture = isOneOf<LayerKind::Screen>;
    if (isWayland(currentSession())) {
        addRow(capture,
            makeNote(label("Captura lo que elijas compartir en el cuadro del escritorio.")));
        addButton(capture,
            "Elegir pantalla...",
            "chooseScreen",
            &PropertiesPanel::chooseScreenPressed);
    } else {
        addRow(capture, makeNote(label("Captura la pantalla principal de este equipo.")));
    }
}

/// Of network cameras alone.
void PropertiesPanel::addLatency()
{
    auto *owner = named(new QWidget, "networkLatency");
    auto *rows = new QFormLayout(owner);
    rows->setContentsMargins(0, 0, 0, 0);
    auto *number = static_cast<QSpinBox *>(makeNumber("Latencia de la red",
        "latency",
        LayerField::Latency,
        { Layer::minLatency, Layer::maxLatency }));
    number->setSuffix(QStringLiteral(" ms"));
    number->setSingleStep(50);
    number->setKeyboardTracking(false);
    rows->addRow(label("Latencia de la red"), number);
    rows->addRow(makeNote(label(
        "Súbela si la imagen se traba. Vale desde que la fuente se abre: \"Reiniciar video\".")));
    addRow(isOneOf<LayerKind::Video>, owner);
    onRefresh([this, owner](const Layer &layer) { showInPlace(owner, hasLatency(layer)); });
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
