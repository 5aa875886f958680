#pragma once

#include <QString>

class QWidget;

namespace nimbara {

/// Terms of use, licence notices, what the AI features send, and where the log is, in the
/// interface's language; paragraphs are separated by blank lines. `logPath` ends the text.
QString creditsText(const QString &logPath);

/// Opens the credits box on top of `parent`, which it blocks, and returns at once: the program and
/// the hall screen go on under it. The box offers to open the folder that holds the log file; the
/// desktop does that, or else a box tells where it is. Interface thread only; the box goes with
/// `parent`.
void showCredits(QWidget *parent);

} // namespace nimbara
