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
    { Do::Take, In::Window, "take", "Preparación al aire", "Space" },
    { Do::OffAir, In::Window, "off_air", "Fuera del aire", "" },
    { Do::Scene1, In::Window, "scene_1", sceneText, "1" },
    { Do::Scene2, In::Window, "scene_2", sceneText, "2" },
    { Do::Scene3, In::Window, "scene_3", sceneText, "3" },
    { Do::Scene4, In::Window, "scene_4", sceneText, "4" },
    { Do::Scene5, In::Window, "scene_5", sceneText, "5" },
    { Do::Scene6, In::Window, "scene_6", sceneText, "6" },
    { Do::Scene7, In::Window, "scene_7", sceneText, "7" },
    { Do::Scene8, In::Window, "scene_8", sceneText, "8" },
    { Do::Scene9, In::Window, "scene_9", sceneText, "9" },
    { Do::PageBack, In::Window, "page_back", "Página o versículo anterior", "PgUp" },
    { Do::PageOn, In::Window, "page_on", "Página o versículo siguiente", "PgDown" },
    { Do::SpokenToPreview, In::Window, "spoken_to_preview", "Versículo dicho a PREVIEW", "F3" },
    { Do::SpokenOnAir, In::Window, "spoken_on_air", "Versículo dicho al aire", "F4" },
    { Do::Passages, In::Window, "passages", "Pasajes de hoy", "Ctrl+L" },
    { Do::SermonInEnglish,
        In::Window,
        "sermon_in_english",
        "Predica en INGLÉS → pantallas en español",
        "F1" },
    { Do::SermonInSpanish,
        In::Window,
        "sermon_in_spanish",
        "Predica en ESPAÑOL → pantallas en inglés",
        "F2" },
    { Do::HideHall, In::Window, "hide_hall", "Ocultar pantallas de sala", "Esc" },
    { Do::Undo, In::Window, "undo", "Deshacer", "Ctrl+Z" },
    { Do::Redo, In::Window, "redo", "Rehacer", "Ctrl+Shift+Z" },
    { Do::Keys, In::Window, "keys", "Teclas", "F12" },
    { Do::Tab1, In::Window, "tab_1", "Escena y fuentes", "Ctrl+1" },
    { Do::Tab2, In::Window, "tab_2", "Fuentes y pantallas", "Ctrl+2" },
    { Do::Tab3, In::Window, "tab_3", "Audio", "Ctrl+3" },
    { Do::Tab4, In::Window, "tab_4", "Transmitir y grabar", "Ctrl+4" },
    { Do::Tab5, In::Window, "tab_5", "Traducción IA y Biblia", "Ctrl+5" },
    { Do::Copy, In::Lists, "copy", "Copiar", "Ctrl+C" },
    { Do::Cut, In::Lists, "cut", "Cortar", "Ctrl+X" },
    { Do::Paste, In::Lists, "paste", "Pegar", "Ctrl+V" },
    { Do::Duplicate, In::Lists, "duplicate", "Duplicar", "Ctrl+D" },
    { Do::SelectAll, In::Lists, "select_all", "Seleccionar todo", "Ctrl+A" },
    { Do::ShowOrHide, In::Lists, "show_or_hide", "Mostrar u ocultar", "Ctrl+H" },
    { Do::Lock, In::Lists, "lock", "Bloquear o desbloquear", "Ctrl+K" },
    { Do::Rename, In::Lists, "rename", "Renombrar", "Ctrl+R" },
    { Do::Forward, In::Lists, "forward", "Subir la fuente", "Alt+Up" },
    { Do::Backward, In::Lists, "backward", "Bajar la fuente", "Alt+Down" },
    { Do::Delete, In::Lists, "delete", "Eliminar", "Del" },
    { Do::Left, In::Canvas, "left", "Mover 1 píxel a la izquierda", "Left" },
    { Do::Right, In::Canvas, "right", "Mover 1 píxel a la derecha", "Right" },
    { Do::Up, In::Canvas, "up", "Mover 1 píxel hacia arriba", "Up" },
    { Do::Down, In::Canvas, "down", "Mover 1 píxel hacia abajo", "Down" },
    { Do::FarLeft, In::Canvas, "far_left", "Mover 10 píxeles a la izquierda", "Shift+Left" },
    { Do::FarRight, In::Canvas, "far_right", "Mover 10 píxeles a la derecha", "Shift+Right" },
    { Do::FarUp, In::Canvas, "far_up", "Mover 10 píxeles hacia arriba", "Shift+Up" },
    { Do::FarDown, In::Canvas, "far_down", "Mover 10 píxeles hacia abajo", "Shift+Down" },
    { Do::Snapping, In::Window, "snapping", "Imán de la preparación", "Ctrl+G" },
    { Do::ZoomIn, In::Window, "zoom_in", "Acercar la preparación", "Ctrl++; Ctrl+=" },
    { Do::ZoomOut, In::Window, "zoom_out", "Alejar la preparación", "Ctrl+-" },
    { Do::ZoomFit, In::Window, "zoom_fit", "Ver la preparación entera", "Ctrl+0" },
    { Do::ClickerOn,
        In::Clicker,
        "clicker_on",
        "Página o versículo siguiente",
        "PgDown; Right; Down" },
    { Do::ClickerBack,
        In::Clicker,
        "clicker_back",
        "Página o versículo anterior",
        "PgUp; Left; Up" },
    { Do::ClickerBlack, In::Clicker, "clicker_black", "Fuera del aire", "B; ." },
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
