#pragma once

#include <QSizeF>
#include <QString>
#include <QWidget>

#include <cstdint>

namespace nimbara {

/// What a monitor's frame tells of its picture.
enum class Tally : std::int32_t {
    Preview, ///< being prepared: green
    OnAir, ///< seen by others: red
    Black, ///< nothing is on air: grey
};

/// Puts a picture into the largest place of its output's shape, with a coloured frame and a strip
/// below that says in words what the colour says.
class MonitorFrame : public QWidget {
    Q_OBJECT
public:
    static constexpr int border = 3; ///< pixels on each side
    static constexpr int stripHeight = 22; ///< pixels

    /// Takes the picture as its child.
    explicit MonitorFrame(QWidget *picture, QWidget *parent = nullptr);

    /// Width / height of the picture.
    void setAspect(double aspect);
    [[nodiscard]] double aspect() const { return m_aspect; }
    /// `text`: the strip's; what does not fit ends in dots, and is whole in the tool tip.
    void showTally(Tally tally, const QString &text);
    [[nodiscard]] Tally tally() const { return m_tally; }
    [[nodiscard]] const QString &text() const { return m_text; }

    /// The picture's size in a frame of this size.
    static QSizeF pictureSize(QSizeF frame, double aspect);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void place();

    QWidget *m_picture;
    double m_aspect = 16.0 / 9.0;
    Tally m_tally = Tally::Black;
    QString m_text;
};

} // namespace nimbara
