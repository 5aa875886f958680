#include "document/layer_fields.h"

#include "document/layer_geometry.h"

#include <array>

namespace nimbara {

namespace {

using Member = std::variant<bool Layer::*,
    std::int32_t Layer::*,
    double Layer::*,
    QString Layer::*,
    QColor Layer::*>;

struct FieldRow {
    LayerField field;
    const char *step;
    Member member;
};

const FieldRow &rowOf(LayerField field)
{
    static const std::array<FieldRow, 34> rows { {
        { LayerField::Name, "Cambiar nombre", &Layer::name },
        { LayerField::Visible, "Mostrar u ocultar", &Layer::visible },
        { LayerField::Opacity, "Opacidad", &Layer::opacity },
        { LayerField::Box, "Mover o cambiar tamaño", &Layer::x }, // all four, see below
        { LayerField::Text, "Escribir texto", &Layer::text },
        { LayerField::Font, "Tipo de letra", &Layer::font },
        { LayerField::Size, "Tamaño", &Layer::size },
        { LayerField::Bold, "Negrita", &Layer::bold },
        { LayerField::Color, "Color del texto", &Layer::color },
        { LayerField::Background, "Fondo (con transparencia)", &Layer::background },
        { LayerField::Align, "Alineación", &Layer::align },
        { LayerField::Shadow, "Sombra / contorno oscuro", &Layer::shadow },
        { LayerField::Sound, "Sonido del video", &Layer::sound },
        { LayerField::Cover, "Rellenar el recuadro", &Layer::cover },
        { LayerField::Fill, "Color", &Layer::fill },
        { LayerField::Paged, "Dividir en páginas", &Layer::paged },
        { LayerField::Smallest, "Tamaño mínimo", &Layer::smallest },
        { LayerField::Page, "Página", &Layer::page },
        { LayerField::Numbers, "Números de versículo", &Layer::numbers },
        { LayerField::ReferencePlace, "Lugar de la cita", &Layer::referencePlace },
        { LayerField::Second, "Segunda Biblia", &Layer::second },
        { LayerField::Arrangement, "Disposición", &Layer::arrangement },
        { LayerField::Shows, "Biblias que se muestran", &Layer::shows },
        { LayerField::Device, "Cambiar de cámara", &Layer::uri },
        { LayerField::Locked, "Bloquear o desbloquear", &Layer::locked },
        { LayerField::Latency, "Latencia de la red", &Layer::latency },
        { LayerField::Language, "Idioma de los subtítulos", &Layer::language },
        { LayerField::Spacing, "Interlineado", &Layer::spacing },
        { LayerField::UpperCase, "Mayúsculas", &Layer::upperCase },
        { LayerField::ClockShows, "Lo que muestra el reloj", &Layer::clockShows },
        { LayerField::UntilMinute, "Hora final", &Layer::untilMinute },
        { LayerField::Duration, "Duración", &Layer::duration },
        { LayerField::OutlineWidth, "Grosor del contorno", &Layer::outlineWidth },
        { LayerField::ShadowStrength, "Fuerza de la sombra", &Layer::shadowStrength },
    } };
    return rows.at(static_cast<std::size_t>(field));
}

} // namespace

FieldValue fieldOf(const Layer &layer, LayerField field)
{
    if (field == LayerField::Box) {
        return boxOf(layer);
    }
    return std::visit([&layer](auto member) { return FieldValue(layer.*member); },
        rowOf(field).member);
}

void setField(Layer &layer, LayerField field, const FieldValue &value)
{
    if (field == LayerField::Box) {
        if (const auto *box = std::get_if<Box>(&value)) {
            setBox(layer, *box);
        }
        return;
    }
    std::visit(
        [&](auto member) {
            using Value = std::remove_reference_t<decltype(layer.*member)>;
            if (const auto *fitting = std::get_if<Value>(&value)) {
                layer.*member = *fitting;
            }
        },
        rowOf(field).member);
    if (field == LayerField::Text && layer.second.isEmpty()) {
        layer.secondText.clear(); // another Bible's, which stood in for what was there
        layer.secondReference.clear();
    }
}

bool isLook(LayerField field)
{
    switch (field) {
    case LayerField::Font:
    case LayerField::Size:
    case LayerField::Bold:
    case LayerField::Color:
    case LayerField::Background:
    case LayerField::Align:
    case LayerField::Shadow:
    case LayerField::Spacing:
    case LayerField::UpperCase:
    case LayerField::OutlineWidth:
    case LayerField::ShadowStrength:
        return true;
    default:
        return false;
    }
}

const char *stepName(LayerField field)
{
    return rowOf(field).step;
}

} // namespace nimbara
