#pragma once

#include <QList>
#include <QWidget>

#include <cstdint>

namespace nimbara {

/// A small curve of how late the captions were lately.
class DelayCurve : public QWidget {
    Q_OBJECT
public:
    explicit DelayCurve(QWidget *parent = nullptr);

    /// Milliseconds, oldest first; −1 where there is no point.
    void setPoints(const QList<std::int64_t> &points);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QList<std::int64_t> m_points;
};

} // namespace nimbara
