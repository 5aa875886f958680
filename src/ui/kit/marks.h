#pragma once

#include <QIcon>

namespace nimbara {

/// Small pictures that tell a state by their shape as well as by their colour.

/// An exclamation mark on red: something waits to be read.
QIcon alarmMark();
/// A filled dot in a ring: on air.
QIcon onAirMark();
/// A padlock, shut or open.
QIcon lockMark(bool locked);
/// The program's icon, with a dot at its right while it streams and a square at its left while it
/// records.
QIcon programIcon(bool streaming, bool recording);

} // namespace nimbara
