#include "ui/editor/properties_panel.h"

#include "base/i18n.h"
#include "document/layer_geometry.h"
#include "ui/editor/color_button.h"
#include "ui/editor/position_row.h"
#include "ui/editor/verse_field.h"
#include "ui/kit/controls.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileInfo>
#include <QFontComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

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
        rebuild(layer);
    }
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

void PropertiesPanel::rebuild(const Layer *layer)
{
    m_shown = layer != nullptr ? layer->id : LayerId();
    m_kind = layer != nullptr ? layer->kind : LayerKind::Camera;
    m_refreshers.clear();
    m_waiting = nullptr;
    // One of the old controls may have asked for this: it must live until its signal is over. What
    // it holds uncommitted goes to the layer that it was built for.
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
    if (layer != nullptr) {
        addRows(*form, *layer);
    } else {
        form->addRow(makeNote(label("Selecciona una fuente en la lista o en Preparación.")));
    }
    setWidget(content);
    if (layer != nullptr) {
        refresh(*layer);
    }
}

void PropertiesPanel::addRows(QFormLayout &form, const Layer &shown)
{
    addCommonRows(form, shown);
    addVerseRows(form, shown);
    addTextRows(form, shown);
    addStyleRows(form, shown);
    addPictureRows(form, shown);
    for (QWidget *field : form.parentWidget()->findChildren<QWidget *>()) {
        if (qobject_cast<QLineEdit *>(field) != nullptr
            || qobject_cast<QPlainTextEdit *>(field) != nullptr
            || qobject_cast<QAbstractSpinBox *>(field) != nullptr) {
            field->installEventFilter(this);
        }
    }
}

void PropertiesPanel::addCommonRows(QFormLayout &form, const Layer &shown)
{
    const LayerId id = shown.id;
    form.addRow(
        new QLabel(QStringLiteral("<b>") + displayName(shown.kind) + QStringLiteral("</b>")));

    auto *name = named(new QLineEdit, "layerName", label("Nombre"));
    connect(name, &QLineEdit::textEdited, this, [this, id](const QString &text) {
        Q_EMIT edited(id, LayerField::Name, text);
    });
    onRefresh([name](const Layer &layer) {
        if (name->text() != layer.name) {
            name->setText(layer.name);
        }
    });
    form.addRow(label("Nombre"), name);
    form.addRow(label("Posición"), makePosition(id));
    form.addRow(label("Alinear en pantalla"), makeAlignmentGrid(id));
    form.addRow(label("Opacidad"), makeOpacity(id));

    auto *fit = makeButton("Ajustar a pantalla completa", "fitToFrame");
    connect(fit, &QPushButton::clicked, this, [this, id] { Q_EMIT fitPressed(id); });
    form.addRow(fit);
}

QWidget *PropertiesPanel::makePosition(LayerId id)
{
    auto *position = new PositionRow;
    connect(position, &PositionRow::edited, this, [this, id, position] {
        if (const Layer *layer = layerOf(id)) {
            Q_EMIT edited(id,
                LayerField::Box,
                editedBox(layer->kind, boxOf(*layer), position->percent()));
        }
    });
    onRefresh([position](const Layer &layer) { position->showBox(boxOf(layer)); });
    return position;
}

QWidget *PropertiesPanel::makeOpacity(LayerId id)
{
    auto *opacity = named(new QSlider(Qt::Horizontal), "opacity", label("Opacidad"));
    opacity->setRange(0, 100);
    connect(opacity, &QSlider::valueChanged, this, [this, id](int percent) {
        Q_EMIT edited(id, LayerField::Opacity, percent / 100.0);
    });
    connect(opacity, &QSlider::sliderPressed, this, &PropertiesPanel::rideBegan);
    connect(opacity, &QSlider::sliderReleased, this, &PropertiesPanel::rideEnded);
    onRefresh([opacity](const Layer &layer) {
        const QSignalBlocker blocker(opacity);
        const double percent = layer.opacity * 100;
        if (std::abs(percent - opacity->value()) >= 1) {
            opacity->setValue(static_cast<int>(percent));
        }
    });
    return opacity;
}

QWidget *PropertiesPanel::makeAlignmentGrid(LayerId id)
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
        connect(button, &QPushButton::clicked, this, [this, id, column, row] {
            if (const Layer *layer = layerOf(id)) {
                Q_EMIT edited(id, LayerField::Box, alignedBox(boxOf(*layer), column, row));
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
    const LayerId id = shown.id;
    auto *reference = named(new VerseField, "verseReference", label("Cita"));
    reference->setPlaceholderText(label("Juan 3:16"));
    onRefresh([reference, last = QString()](const Layer &layer) mutable {
        const QString cited = layer.reference.section(referenceDot, 0, 0);
        // What is being typed stays.
        if (std::exchange(last, cited) != cited && !reference->isModified()) {
            reference->setText(cited);
        }
    });
    auto *look = makeButton("Buscar versículo", "findVerse");
    const auto request = [this, id, reference] {
        reference->setModified(false); // the answer may write it out
        Q_EMIT verseRequested(id, reference->text());
    };
    connect(reference, &QLineEdit::returnPressed, this, request);
    connect(reference, &VerseField::chosen, this, request);
    connect(reference, &VerseField::typed, this, [this, reference](const QString &text) {
        Q_EMIT verseTyped(reference, text);
    });
    connect(look, &QPushButton::clicked, this, request);
    form.addRow(label("Cita"), reference);
    form.addRow(look);
    form.addRow(label("Biblia"),
        makeLiveNote([](const Layer &layer) { return layer.reference.section(referenceDot, 1); }));

    m_waiting = named(new QWidget, "verseWaiting");
    auto *column = new QVBoxLayout(m_waiting);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(
        makeNote(label("Ha llegado el texto pedido. Se conserva lo que escribiste.")));
    auto *use = makeButton("Usar el texto recibido", "useWaiting");
    connect(use, &QPushButton::clicked, this, [this, id] { Q_EMIT waitingWanted(id); });
    column->addWidget(use);
    m_waiting->hide();
    form.addRow(m_waiting);
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
    auto *text = named(new QPlainTextEdit, "layerText", label("Texto"));
    text->setMaximumHeight(64);
    text->setTabChangesFocus(true);
    connect(text, &QPlainTextEdit::textChanged, this, [this, id = shown.id, text] {
        Q_EMIT edited(id, LayerField::Text, text->toPlainText());
    });
    onRefresh([text](const Layer &layer) {
        if (text->toPlainText() != layer.text) {
            const QSignalBlocker blocker(text);
            text->setPlainText(layer.text);
        }
    });
    form.addRow(label("Texto"), text);
}

void PropertiesPanel::addStyleRows(QFormLayout &form, const Layer &shown)
{
    if (!isText(shown.kind)) {
        return;
    }
    const LayerId id = shown.id;
    form.addRow(label("Tipo de letra"), makeFontList(id));
    form.addRow(label("Tamaño"),
        makeNumber("Tamaño", "textSize", id, LayerField::Size, { Layer::minSize, Layer::maxSize }));
    if (shown.kind == LayerKind::Verse) {
        form.addRow(makeCheck("Achicar y dividir en páginas lo que no cabe",
            "paged",
            id,
            LayerField::Paged));
        form.addRow(label("Tamaño mínimo (%)"),
            makeNumber("Tamaño mínimo (%)",
                "smallestSize",
                id,
                LayerField::Smallest,
                { Layer::minSmallest, 100 }));
    }
    form.addRow(makeCheck("Negrita", "bold", id, LayerField::Bold));
    form.addRow(label("Color del texto"),
        makeColorButton("Color del texto", "textColor", id, LayerField::Color, false));
    form.addRow(label("Fondo (con transparencia)"),
        makeColorButton("Fondo (con transparencia)",
            "backgroundColor",
            id,
            LayerField::Background,
            true));
    form.addRow(makeCheck("Sombra / contorno oscuro", "shadow", id, LayerField::Shadow));
    form.addRow(label("Alineación"), makeAlignment(id));
}

QWidget *PropertiesPanel::makeFontList(LayerId id)
{
    auto *font = named(new QFontComboBox, "font", label("Tipo de letra"));
    connect(font, &QFontComboBox::currentFontChanged, this, [this, id](const QFont &chosen) {
        Q_EMIT edited(id, LayerField::Font, chosen.family());
    });
    onRefresh([font, last = QString()](const Layer &layer) mutable {
        if (std::exchange(last, layer.font) != layer.font) {
            const QSignalBlocker blocker(font);
            font->setCurrentFont(QFont(layer.font));
        }
    });
    return font;
}

QWidget *PropertiesPanel::makeNumber(const char *spanish,
    const char *name,
    LayerId id,
    LayerField field,
    std::pair<int, int> range)
{
    auto *number = named(new QSpinBox, name, label(spanish));
    number->setRange(range.first, range.second);
    connect(number, &QSpinBox::valueChanged, this, [this, id, field](int value) {
        Q_EMIT edited(id, field, std::int32_t { value });
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

QWidget *PropertiesPanel::makeAlignment(LayerId id)
{
    auto *alignment = named(new QComboBox, "textAlign", label("Alineación"));
    alignment->addItems({ label("Izquierda"), label("Centro"), label("Derecha") });
    connect(alignment, &QComboBox::currentIndexChanged, this, [this, id](int index) {
        if (const Layer *layer = layerOf(id)) {
            Q_EMIT edited(id,
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

void PropertiesPanel::addPictureRows(QFormLayout &form, const Layer &shown)
{
    const LayerId id = shown.id;
    if (isPicture(shown.kind)) {
        form.addRow(makeCheck("Rellenar el recuadro (recorta bordes, sin franjas negras)",
            "cover",
            id,
            LayerField::Cover));
    }
    switch (shown.kind) {
    case LayerKind::Color:
        form.addRow(label("Color"),
            makeColorButton("Color", "fillColor", id, LayerField::Fill, false));
        break;
    case LayerKind::Image: {
        form.addRow(label("Archivo"),
            makeLiveNote([](const Layer &layer) { return QFileInfo(layer.path).fileName(); }));
        auto *change = makeButton("Cambiar imagen...", "changeImage");
        connect(change, &QPushButton::clicked, this, [this, id] { Q_EMIT changeImagePressed(id); });
        form.addRow(change);
        break;
    }
    case LayerKind::Video: {
        form.addRow(
            makeCheck("Audio del video cuando esté en Programa", "sound", id, LayerField::Sound));
        form.addRow(label("Origen"), makeLiveNote([](const Layer &layer) { return layer.uri; }));
        auto *restart = makeButton("Reiniciar video", "restartVideo");
        connect(restart, &QPushButton::clicked, this, [this, id] {
            Q_EMIT restartVideoPressed(id);
        });
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

QWidget *PropertiesPanel::makeLiveNote(std::function<QString(const Layer &)> text)
{
    QLabel *note = makeNote(QString());
    onRefresh([note, text = std::move(text)](const Layer &layer) { note->setText(text(layer)); });
    return note;
}

QWidget *PropertiesPanel::makeColorButton(const char *spanish,
    const char *name,
    LayerId id,
    LayerField field,
    bool alpha)
{
    auto *button = named(new ColorButton(QColor()), name, label(spanish));
    connect(button, &QPushButton::clicked, this, [this, id, field, alpha] {
        Q_EMIT colorWanted(id, field, alpha);
    });
    onRefresh([button, field](const Layer &layer) {
        button->showColor(std::get<QColor>(fieldOf(layer, field)));
    });
    return button;
}

QWidget *
PropertiesPanel::makeCheck(const char *spanish, const char *name, LayerId id, LayerField field)
{
    auto *check = named(new QCheckBox(label(spanish)), name);
    connect(check, &QCheckBox::toggled, this, [this, id, field](bool on) {
        Q_EMIT edited(id, field, on);
    });
    onRefresh([check, field](const Layer &layer) {
        const QSignalBlocker blocker(check);
        check->setChecked(std::get<bool>(fieldOf(layer, field)));
    });
    return check;
}

} // namespace nimbara
