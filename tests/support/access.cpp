#include "support/access.h"

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QSet>
#include <QTest>

#include <algorithm>
#include <cmath>

namespace nimbara::testing {

namespace {

constexpr double leastContrast = 4.5;
constexpr int mostSteps = 300; ///< of the Tab key; no window has so many controls

QString described(const QWidget &widget)
{
    return QStringLiteral("%1 %2 %3\n")
        .arg(QLatin1String(widget.metaObject()->className()),
            widget.objectName(),
            widget.property("text").toString());
}

bool takesKeyboard(const QWidget &widget)
{
    return widget.isVisible() && widget.isEnabled() && (widget.focusPolicy() & Qt::TabFocus) != 0
        && widget.focusProxy() == nullptr;
}

QString nameOf(QWidget &widget)
{
    const QAccessibleInterface *face = QAccessible::queryAccessibleInterface(&widget);
    return face == nullptr ? QString() : face->text(QAccessible::Name);
}

double luminance(QRgb colour)
{
    const auto linear = [](int value) {
        const double part = value / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour))
        + 0.0722 * linear(qBlue(colour));
}

double contrastOf(QRgb one, QRgb other)
{
    const double a = luminance(one);
    const double b = luminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

/// The ground is the colour of most pixels, the text the one that stands out of it most.
double textContrast(const QImage &picture)
{
    QHash<QRgb, int> pixels;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            ++pixels[picture.pixel(x, y)];
        }
    }
    const auto ground = std::max_element(pixels.begin(), pixels.end());
    double most = 1;
    for (auto colour = pixels.cbegin(); colour != pixels.cend(); ++colour) {
        most = std::max(most, contrastOf(colour.key(), ground.key()));
    }
    return most;
}

/// Where a widget's text stands, without its frame; nothing where it has none.
QRect textRoom(const QWidget &widget)
{
    constexpr int frame = 5;
    constexpr int indicator = 24;
    const bool isText = qobject_cast<const QLabel *>(&widget) != nullptr
        || qobject_cast<const QAbstractButton *>(&widget) != nullptr;
    const bool isField = qobject_cast<const QLineEdit *>(&widget) != nullptr;
    const auto *list = qobject_cast<const QComboBox *>(&widget);
    const QString text = list != nullptr ? list->currentText() : widget.property("text").toString();
    const bool isRead
        = std::any_of(text.begin(), text.end(), [](QChar sign) { return sign.isLetterOrNumber(); });
    if (!(isText || isField || list != nullptr) || !isRead || !widget.isEnabled()) {
        return {};
    }
    const bool hasIndicator = qobject_cast<const QCheckBox *>(&widget) != nullptr;
    const int edge = qobject_cast<const QLabel *>(&widget) != nullptr ? 0 : frame;
    return widget.rect().adjusted(hasIndicator ? indicator : edge, edge, -edge, -edge)
        & widget.visibleRegion().boundingRect();
}

} // namespace

QString namelessControls(const QWidget &window)
{
    QString found;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        if (takesKeyboard(*widget) && nameOf(*widget).trimmed().isEmpty()) {
            found += described(*widget);
        }
    }
    return found;
}

QString faintTexts(QWidget &window)
{
    const QImage picture = window.grab().toImage();
    QString found;
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        const QRect room = widget->isVisible() ? textRoom(*widget) : QRect();
        if (room.width() < 8 || room.height() < 8) {
            continue;
        }
        const double contrast = textContrast(
            picture.copy(QRect(widget->mapTo(&window, room.topLeft()), room.size())));
        if (contrast < leastContrast) {
            found += QStringLiteral("%1 : 1 ").arg(contrast, 0, 'f', 1) + described(*widget);
        }
    }
    return found;
}

QString lostToTheKeyboard(QWidget &window)
{
    QSet<const QWidget *> reached;
    QString alike;
    for (int step = 0; step < mostSteps; ++step) {
        QTest::keyClick(&window, Qt::Key_Tab);
        QWidget *focused = QApplication::focusWidget();
        if (focused == nullptr || reached.contains(focused)) {
            break;
        }
        reached.insert(focused);
        const QImage with = focused->grab().toImage();
        focused->clearFocus();
        const QImage without = focused->grab().toImage();
        focused->setFocus(Qt::TabFocusReason);
        alike += with == without ? QStringLiteral("looks the same: ") + described(*focused)
                                 : QString();
    }
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        if (takesKeyboard(*widget) && !reached.contains(widget)) {
            alike += QStringLiteral("not reached: ") + described(*widget);
        }
    }
    return alike;
}

} // namespace nimbara::testing
