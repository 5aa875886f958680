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
    /// As the figures beside it do, when the delay grows.
    void setAmber(bool amber);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QList<std::int64_t> m_points;
    bool m_isAmber = false;
};

} // namespace nimbara
