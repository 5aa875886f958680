#pragma once

class QWidget;

namespace nimbara {

/// Whether the widget is typed into: a key is a letter then, whatever else it is for. None is not.
bool isTypedInto(const QWidget *widget);

/// A widget that takes over the keyboard from a field that went away under the operator's hands:
/// what is typed on is still text, and for nobody.
void holdTyping(QWidget &widget);

/// Whether the widget holds it.
bool holdsTyping(const QWidget &widget);

/// Page Up and Page Down move in the widget's text, or not: a clicker leaves them to it.
void keepPageKeys(QWidget &widget, bool on);
bool keepsPageKeys(const QWidget &widget);

/// Whether it is the focused widget that is.
bool isTyping();

} // namespace nimbara
