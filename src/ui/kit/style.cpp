#include "ui/kit/style.h"

#include <QFont>
#include <QFontInfo>

#include <algorithm>

namespace nimbara {

int textPixels(const QFont &desktop)
{
    constexpr double usual = 14.7; // 11 points at 96 per inch
    const double share = QFontInfo(desktop).pixelSize() / usual;
    return std::clamp(qRound(usualTextPixels * share), usualTextPixels, 2 * usualTextPixels);
}

QString applicationStyleSheet(int pixels)
{
    return QStringLiteral(
        "QMainWindow, QWidget { background: #0e1724; color: #eaf2fa; font-family: 'Arial';"
        " font-size: %1px; }"
        "QGroupBox, QTabWidget::pane { border: 1px solid #31465f; border-radius: 10px; }"
        "QLineEdit, QComboBox, QPlainTextEdit { background: #1a2a3d; border: 1px solid #476789;"
        " border-radius: 6px; padding: 8px; selection-background-color: #1b69aa; }"
        "QPushButton { background: #234363; border: 1px solid #426c95; border-radius: 7px;"
        " padding: 7px 13px; font-weight: 600; }"
        "QPushButton:hover { background: #30618b; }"
        "QPushButton:disabled { color: #708196; background: #192635; }"
        "QWidget#notice { background: #7c1f33; border: 1px solid #e03c4f; border-radius: 7px; }"
        "QWidget#notice QLabel { background: transparent; color: white; font-weight: 600; }"
        "QPushButton#take { background: #bd304d; color: white; font-weight: 800; }"
        "QPushButton#offair { background: #2b2f3a; color: #d9e2ee; border: 1px solid #59637a; }"
        "QFrame#transitionBox { border: 1px solid #65b0ed; border-radius: 7px; }"
        "QTabBar::tab { background: #192b40; padding: 10px 20px; border-radius: 4px; }"
        "QTabBar::tab:selected { background: #245b8b; }"
        "QProgressBar { border: 1px solid #36516d; border-radius: 5px; background: #17273a;"
        " text-align: center; }"
        "QProgressBar::chunk { background: #29a782; border-radius: 4px; }"
        "QCheckBox { spacing: 7px; }"
        "QSlider::groove:horizontal { height: 7px; background: #304963; border-radius: 3px; }"
        "QSlider::handle:horizontal { width: 16px; background: #65b0ed; margin: -5px 0;"
        " border-radius: 8px; }"
        // Beyond the palette above: states that would otherwise be invisible on the dark ground.
        "QPushButton:checked { background: #1b69aa; border-color: #65b0ed; }"
        "QPushButton:focus, QLineEdit:focus, QComboBox:focus, QPlainTextEdit:focus"
        " { border-color: #65b0ed; }"
        "QListView:focus, QAbstractSpinBox:focus { border: 1px solid #65b0ed; }"
        "QSlider::handle:horizontal:focus { background: #eaf2fa; }"
        "QCheckBox:focus { color: #9fd0fa; }"
        "QCheckBox::indicator, QListView::indicator { width: 15px; height: 15px;"
        " border: 1px solid #6f93b8; border-radius: 4px; background: #1a2a3d; }"
        // As large as before, or the text beside it would have to give way.
        "QCheckBox::indicator:checked, QListView::indicator:checked { background: #65b0ed;"
        " width: 9px; height: 9px; border: 4px solid #1a2a3d; outline: 1px solid #6f93b8; }"
        "QCheckBox::indicator:disabled { border-color: #3a4c60; }"
        "QCheckBox:disabled, QLabel:disabled, QComboBox:disabled, QLineEdit:disabled"
        " { color: #708196; }"
        "QSplitter::handle { background: transparent; }"
        "QSplitter::handle:horizontal { border-left: 2px solid #31465f; margin: 0 3px; }"
        "QSplitter::handle:vertical { border-top: 2px solid #31465f; margin: 3px 0; }"
        "QSplitter::handle:hover { border-color: #65b0ed; }"
        "QScrollBar:vertical { background: #17273a; width: 11px; margin: 0; border-radius: 5px; }"
        "QScrollBar::handle:vertical { background: #3f6288; min-height: 26px; border-radius: 5px; }"
        "QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }"
        "QListView { border: 1px solid #31465f; border-radius: 6px; }"
        "QListView::item:selected { background: #245b8b; color: #eaf2fa; }"
        // Beside the border, not over it and over the first row.
        "QGroupBox { margin-top: 20px; }"
        "QGroupBox::title { subcontrol-origin: margin; left: 4px; }"
        "QComboBox::drop-down { border: none; width: 22px; }"
        "QComboBox::down-arrow { image: url(:/arrow-down.png); width: 10px; height: 6px; }"
        "QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }"
        "QLabel#lostAudio { background: #8c1d32; color: white; font-weight: 700; padding: 6px;"
        " border-radius: 6px; }"
        "QToolTip { background: #1a2a3d; color: #eaf2fa; border: 1px solid #476789; }")
        .arg(pixels);
}

} // namespace nimbara
