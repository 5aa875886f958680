#pragma once

class QWidget;

namespace nimbara {

/// Whether the widget is typed into: a key is a letter then, whatever else it is for. None is not.
bool isTypedInto(const QWidget *widget);

/// Whether it is the focused widget that is.
bool isTyping();

} // namespace nimbara
