#include "ui/kit/key_table.h"

#include "base/i18n.h"

#include <QStringList>

#include <array>
#include <utility>

namespace nimbara {

namespace {

using Do = KeyAction;
using In = KeyPlace;

constexpr const char *sceneText = "Escena %1 a Preparación";

constexpr KeyRow rows[] = {
    { Do::Take, "take", "Preparación al aire", In::Window, "Space" },
    { Do::OffAir, "off_air", "Fuera del aire", In::Window, "" },
    { Do::Scene1, "scene_1", sceneText, In::Window, "1" },
    { Do::Scene2, "scene_2", sceneText, In::Window, "2" },
    { Do::Scene3, "scene_3", sceneText, In::Window, "3" },
    { Do::Scene4, "scene_4", sceneText, In::Window, "4" },
    { Do::Scene5, "scene_5", sceneText, In::Window, "5" },
    { Do::Scene6, "scene_6", sceneText, In::Window, "6" },
    { Do::Scene7, "scene_7", sceneText, In::Window, "7" },
    { Do::Scene8, "scene_8", sceneText, In::Window, "8" },
    { Do::Scene9, "scene_9", sceneText, In::Window, "9" },
    { Do::PageBack, "page_back", "Página o versículo anterior", In::Window, "PgUp" },
    { Do::PageOn, "page_on", "Página o versículo siguiente", In::Window, "PgDown" },
    { Do::SpokenToPreview, "spoken_to_preview", "Versículo dicho a PREVIEW", In::Window, "F3" },
    { Do::SpokenOnAir, "spoken_on_air", "Versículo dicho al aire", In::Window, "F4" },
    { Do::Passages, "passages", "Pasajes de hoy", In::Window, "Ctrl+L" },
    { Do::SermonInEnglish,
        "sermon_in_english",
        "Predica en INGLÉS → pantallas en español",
        In::Window,
        "F1" },
    { Do::SermonInSpanish,
        "sermon_in_spanish",
        "Predica en ESPAÑOL → pantallas en inglés",
        In::Window,
        "F2" },
    { Do::HideHall, "hide_hall", "Ocultar pantallas de sala", In::Window, "Esc" },
    { Do::Undo, "undo", "Deshacer", In::Window, "Ctrl+Z" },
    { Do::Redo, "redo", "Rehacer", In::Window, "Ctrl+Shift+Z" },
    { Do::Keys, "keys", "Teclas", In::Window, "F12" },
    { Do::Copy, "copy", "Copiar", In::Lists, "Ctrl+C" },
    { Do::Cut, "cut", "Cortar", In::Lists, "Ctrl+X" },
    { Do::Paste, "paste", "Pegar", In::Lists, "Ctrl+V" },
    { Do::Duplicate, "duplicate", "Duplicar", In::Lists, "Ctrl+D" },
    { Do::SelectAll, "select_all", "Seleccionar todo", In::Lists, "Ctrl+A" },
    { Do::ShowOrHide, "show_or_hide", "Mostrar u ocultar", In::Lists, "Ctrl+H" },
    { Do::Lock, "lock", "Bloquear o desbloquear", In::Lists, "Ctrl+K" },
    { Do::Rename, "rename", "Renombrar", In::Lists, "Ctrl+R" },
    { Do::Forward, "forward", "Subir la fuente", In::Lists, "Alt+Up" },
    { Do::Backward, "backward", "Bajar la fuente", In::Lists, "Alt+Down" },
    { Do::Delete, "delete", "Eliminar", In::Lists, "Del" },
    { Do::Left, "left", "Mover 1 píxel a la izquierda", In::Canvas, "Left" },
    { Do::Right, "right", "Mover 1 píxel a la derecha", In::Canvas, "Right" },
    { Do::Up, "up", "Mover 1 píxel hacia arriba", In::Canvas, "Up" },
    { Do::Down, "down", "Mover 1 píxel hacia abajo", In::Canvas, "Down" },
    { Do::FarLeft, "far_left", "Mover 10 píxeles a la izquierda", In::Canvas, "Shift+Left" },
    { Do::FarRight, "far_right", "Mover 10 píxeles a la derecha", In::Canvas, "Shift+Right" },
    { Do::FarUp, "far_up", "Mover 10 píxeles hacia arriba", In::Canvas, "Shift+Up" },
    { Do::FarDown, "far_down", "Mover 10 píxeles hacia abajo", In::Canvas, "Shift+Down" },
    { Do::Snapping, "snapping", "Imán de la preparación", In::Window, "Ctrl+G" },
    { Do::ZoomIn, "zoom_in", "Acercar la preparación", In::Window, "Ctrl++; Ctrl+=" },
    { Do::ZoomOut, "zoom_out", "Alejar la preparación", In::Window, "Ctrl+-" },
    { Do::ZoomFit, "zoom_fit", "Ver la preparación entera", In::Window, "Ctrl+0" },
    { Do::ClickerOn,
        "clicker_on",
        "Página o versículo siguiente",
        In::Clicker,
        "PgDown; Right; Down" },
    { Do::ClickerBack,
        "clicker_back",
        "Página o versículo anterior",
        In::Clicker,
        "PgUp; Left; Up" },
    { Do::ClickerBlack, "clicker_black", "Fuera del aire", In::Clicker, "B; ." },
};

static_assert([] {
    for (std::size_t row = 0; row < std::size(rows); ++row) {
        if (static_cast<std::size_t>(rows[row].action) != row) {
            return false;
        }
    }
    return std::size(rows) == static_cast<std::size_t>(Do::ClickerBlack) + 1;
}());

/// What the toolkit calls a key, and what stands on it; of all others it is the same.
constexpr std::array<std::pair<const char *, const char *>, 14> engraved { {
    { "Space", "Espacio" },
    { "PgUp", "Re Pág" },
    { "PgDown", "Av Pág" },
    { "Del", "Supr" },
    { "Shift", "Mayús" },
    { "Backspace", "Retroceso" },
    { "Return", "Intro" },
    { "Enter", "Intro" },
    { "Home", "Inicio" },
    { "End", "Fin" },
    { "Left", "←" },
    { "Right", "→" },
    { "Up", "↑" },
    { "Down", "↓" },
} };

QString engravedText(const QString &name)
{
    for (const auto &[portable, spanish] : engraved) {
        if (name == QLatin1String(portable)) {
            return nimbara_i18n::tr(spanish);
        }
    }
    return name;
}

} // namespace

std::span<const KeyRow> keyTable()
{
    return rows;
}

const KeyRow &keyRow(KeyAction action)
{
    return keyTable()[static_cast<std::size_t>(action)];
}

QString keyActionText(KeyAction action)
{
    const QString text = nimbara_i18n::tr(keyRow(action).spanish);
    const bool isScene = action >= Do::Scene1 && action <= Do::Scene9;
    return isScene ? text.arg(static_cast<int>(action) - static_cast<int>(Do::Scene1) + 1) : text;
}

QString keyPlaceText(KeyPlace place)
{
    switch (place) {
    case KeyPlace::Window:
        return nimbara_i18n::tr("Ventana");
    case KeyPlace::Lists:
        return nimbara_i18n::tr("Fuentes y escenas");
    case KeyPlace::Canvas:
        return nimbara_i18n::tr("Preparación");
    case KeyPlace::Clicker:
        return nimbara_i18n::tr("Pedal o mando");
    }
    return {};
}

bool placesMeet(KeyPlace one, KeyPlace other)
{
    return (one == KeyPlace::Clicker) == (other == KeyPlace::Clicker);
}

QList<QKeySequence> defaultKeys(KeyAction action)
{
    return QKeySequence::listFromString(QLatin1String(keyRow(action).keys),
        QKeySequence::PortableText);
}

QString keyText(const QKeySequence &key)
{
    const QString portable = key.toString(QKeySequence::PortableText);
    // The last sign is no separator: it may be the key "+" itself.
    const qsizetype last = portable.lastIndexOf(QLatin1Char('+'), -2);
    QStringList names
        = portable.left(qMax(last, qsizetype { 0 })).split(QLatin1Char('+'), Qt::SkipEmptyParts);
    names << portable.mid(last + 1);
    for (QString &name : names) {
        name = engravedText(name);
    }
    return names.join(QLatin1Char('+'));
}

QString keyText(const QList<QKeySequence> &keys)
{
    QStringList texts;
    for (const QKeySequence &key : keys) {
        texts << keyText(key);
    }
    return texts.join(QStringLiteral(", "));
}

} // namespace nimbara
