#pragma once

#include <QKeySequence>
#include <QList>
#include <QString>

#include <cstdint>
#include <span>

namespace nimbara {

/// What can be done by key.
enum class KeyAction : std::int32_t {
    Take,
    OffAir,
    Scene1,
    Scene2,
    Scene3,
    Scene4,
    Scene5,
    Scene6,
    Scene7,
    Scene8,
    Scene9,
    PageBack,
    PageOn,
    SpokenToPreview,
    SpokenOnAir,
    Passages,
    SermonInEnglish,
    SermonInSpanish,
    HideHall,
    Undo,
    Redo,
    Keys,
    Tab1,
    Tab2,
    Tab3,
    Tab4,
    Tab5,
    Copy,
    Cut,
    Paste,
    Duplicate,
    SelectAll,
    ShowOrHide,
    Lock,
    Rename,
    Forward,
    Backward,
    Delete,
    Left,
    Right,
    Up,
    Down,
    FarLeft,
    FarRight,
    FarUp,
    FarDown,
    Snapping,
    ZoomIn,
    ZoomOut,
    ZoomFit,
    ClickerOn,
    ClickerBack,
    ClickerBlack,
};

/// Where a key does that.
enum class KeyPlace : std::int32_t {
    Window, ///< in the studio's window, while nothing is being typed
    Lists, ///< in the list of layers, the tiles of the scenes and the canvas
    Canvas, ///< in the canvas
    Clicker, ///< in every window of the studio, while foot switches and clickers are listened to
};

/// One row of the table: the only place where keys are written.
struct KeyRow {
    KeyAction action;
    KeyPlace place;
    const char *id; ///< in the settings
    const char *spanish; ///< what it does; %1 is the number of a scene
    const char *keys; ///< from the start, as the toolkit writes them; empty: none
};

/// All rows, in the order in which they are shown; a row's place is its action's number.
std::span<const KeyRow> keyTable();
const KeyRow &keyRow(KeyAction action);

/// What the action does, for the operator.
QString keyActionText(KeyAction action);
/// The place, for the operator.
QString keyPlaceText(KeyPlace place);
/// Whether a key can mean only one of two things done there.
bool placesMeet(KeyPlace one, KeyPlace other);
/// The keys that an action has from the start.
QList<QKeySequence> defaultKeys(KeyAction action);
/// Keys as they stand on a keyboard of the operator's language, "Ctrl+Mayús+Z"; empty for none.
QString keyText(const QKeySequence &key);
QString keyText(const QList<QKeySequence> &keys);

} // namespace nimbara
