#include "ui/shell/monitor_plan.h"

#include "ui/shell/monitor_frame.h"

#include <cmath>
#include <cstdlib>

namespace nimbara {

namespace {

double area(QSizeF frame, double aspect)
{
    const QSizeF size = MonitorFrame::pictureSize(frame, aspect);
    return size.width() * size.height();
}

/// A product of areas: no picture grows by starving another.
double programsWorth(QSizeF room, const MonitorShapes &shapes, bool stacked)
{
    const QSizeF each = stacked ? QSizeF(room.width(), room.height() / 2 - shapes.programHead)
                                : QSizeF(room.width() / 2, room.height() - shapes.programHead);
    return std::log(area(each, shapes.streams)) + std::log(area(each, shapes.hall));
}

} // namespace

MonitorPlan planMonitors(QSize room, const MonitorShapes &shapes)
{
    constexpr double previewWeight = 1.5;
    constexpr double evenness = 1e-4;
    constexpr int evenPercent = 38;
    MonitorPlan best;
    double most = -1e9;
    for (int percent = 25; percent <= 75; ++percent) {
        const int width = room.width() * percent / 100;
        const double preview
            = std::log(area(QSizeF(width, room.height() - shapes.previewHead), shapes.preview));
        const QSizeF rest(room.width() - width, room.height());
        for (const bool stacked : { true, false }) {
            const double worth = previewWeight * preview + programsWorth(rest, shapes, stacked)
                - evenness * std::abs(percent - evenPercent); // where a low window leaves a choice
            if (worth > most) {
                most = worth;
                best = { width, stacked };
            }
        }
    }
    return best;
}

bool areLargerStacked(QSize room, const MonitorShapes &shapes)
{
    return programsWorth(room, shapes, true) >= programsWorth(room, shapes, false);
}

} // namespace nimbara
