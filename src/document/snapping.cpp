#include "document/snapping.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <span>

namespace nimbara {

namespace {

/// A box along one axis, and across it.
struct Span {
    double start;
    double size;
    double crossStart;
    double crossSize;

    [[nodiscard]] double end() const { return start + size; }
    [[nodiscard]] double crossEnd() const { return crossStart + crossSize; }
};

Span alongX(const Box &box)
{
    return { box.x, box.w, box.y, box.h };
}

Span alongY(const Box &box)
{
    return { box.y, box.h, box.x, box.w };
}

std::vector<Span> spans(const std::vector<Box> &boxes, Span (*along)(const Box &))
{
    std::vector<Span> found;
    found.reserve(boxes.size());
    for (const Box &box : boxes) {
        found.push_back(along(box));
    }
    return found;
}

/// What one axis of the box rests on.
struct Rest {
    double by; ///< how far the box moves
    std::vector<SnapGuide> guides;
};

struct Line {
    double at;
    double from;
    double to;
};

std::vector<Line> linesOf(const std::vector<Span> &others)
{
    constexpr std::array frame { 0.0,
        0.5,
        1.0,
        1.0 / 3,
        2.0 / 3,
        safeMargin,
        1 - safeMargin }; // the more usual ones first
    std::vector<Line> lines;
    lines.reserve(frame.size() + 3 * others.size());
    for (const double at : frame) {
        lines.push_back({ at, 0, 1 });
    }
    for (const Span &other : others) {
        for (const double at : { other.start, other.start + other.size / 2, other.end() }) {
            lines.push_back({ at, other.crossStart, other.crossEnd() });
        }
    }
    return lines;
}

/// The line that is nearest to one of the edges. `upright`: lines of the x axis.
std::optional<Rest> restOnLine(const Span &box,
    std::span<const double> edges,
    const std::vector<Line> &lines,
    double reach,
    bool upright)
{
    std::optional<Rest> best;
    for (const Line &line : lines) {
        for (const double edge : edges) {
            const double by = line.at - edge;
            if (std::abs(by) <= reach && (!best || std::abs(by) < std::abs(best->by) - 1e-9)) {
                best = Rest { by,
                    { { upright,
                        line.at,
                        std::min(line.from, box.crossStart),
                        std::max(line.to, box.crossEnd()) } } };
            }
        }
    }
    return best;
}

/// Distances of the box to others beside it that equal one another.
class EqualGaps {
public:
    EqualGaps(const Span &box, double reach, bool isX)
        : m_box(box)
        , m_reach(reach)
        , m_isX(isX)
    {
    }

    std::optional<Rest> best(const std::vector<Span> &others)
    {
        for (const Span &one : others) {
            for (const Span &next : others) {
                if (isBeside(one) && isBeside(next) && one.end() <= next.start) {
                    lookBetween(one, next);
                }
            }
        }
        return m_best;
    }

private:
    [[nodiscard]] bool isBeside(const Span &other) const
    {
        return other.crossStart < m_box.crossEnd() && m_box.crossStart < other.crossEnd();
    }
    void lookBetween(const Span &one, const Span &next)
    {
        const double gap = next.start - one.end();
        const double middle = (one.end() + next.start - m_box.size) / 2;
        if (gap >= m_box.size) {
            take(middle, { one.end(), middle }, { middle + m_box.size, next.start });
        }
        const double after = next.end() + gap;
        take(after, { one.end(), next.start }, { next.end(), after });
        const double before = one.start - gap - m_box.size;
        take(before, { before + m_box.size, one.start }, { one.end(), next.start });
    }
    void take(double start, std::array<double, 2> first, std::array<double, 2> second)
    {
        const double by = start - m_box.start;
        const bool hasGap = first[1] - first[0] > 1e-9;
        if (!hasGap || std::abs(by) > m_reach
            || (m_best && std::abs(by) >= std::abs(m_best->by) - 1e-9)) {
            return;
        }
        const double across = m_box.crossStart + m_box.crossSize / 2;
        m_best = Rest { by,
            { { !m_isX, across, first[0], first[1], true },
                { !m_isX, across, second[0], second[1], true } } };
    }

    Span m_box;
    double m_reach;
    bool m_isX;
    std::optional<Rest> m_best;
};

std::optional<Rest> restOf(const Span &box, const std::vector<Span> &others, double reach, bool isX)
{
    const std::array edges { box.start, box.start + box.size / 2, box.end() };
    const auto line = restOnLine(box, edges, linesOf(others), reach, isX);
    const auto gap = EqualGaps(box, reach, isX).best(others);
    const bool takesGap = gap && (!line || std::abs(gap->by) < std::abs(line->by) - 1e-9);
    return takesGap ? gap : line;
}

void note(Snapped &snapped, const std::optional<Rest> &rest)
{
    if (rest) {
        snapped.guides.insert(snapped.guides.end(), rest->guides.begin(), rest->guides.end());
    }
}

/// One edge of a box whose opposite stays.
std::optional<Rest>
restOfEdge(const Span &box, double anchor, const std::vector<Span> &others, double reach, bool isX)
{
    const bool dragsStart = std::abs(box.end() - anchor) < std::abs(box.start - anchor);
    const std::array edges { dragsStart ? box.start : box.end() };
    return restOnLine(box, edges, linesOf(others), reach, isX);
}

/// The size along an axis when the edge that is dragged moves.
double sizeAfter(const Span &box, double anchor, const std::optional<Rest> &rest)
{
    const bool dragsStart = std::abs(box.end() - anchor) < std::abs(box.start - anchor);
    return rest ? box.size + (dragsStart ? -rest->by : rest->by) : box.size;
}

/// The start along an axis of a box of another size.
double startAfter(const Span &box, double anchor, double size)
{
    const bool dragsStart = std::abs(box.end() - anchor) < std::abs(box.start - anchor);
    return dragsStart ? box.end() - size : box.start;
}

} // namespace

Snapped snappedMove(const Box &box, const std::vector<Box> &others, SnapReach reach)
{
    const auto x = restOf(alongX(box), spans(others, alongX), reach.x, true);
    const auto y = restOf(alongY(box), spans(others, alongY), reach.y, false);
    Snapped snapped { { box.x + (x ? x->by : 0), box.y + (y ? y->by : 0), box.w, box.h }, {} };
    note(snapped, x);
    note(snapped, y);
    return snapped;
}

Snapped snappedResize(const Box &box,
    QPointF anchor,
    bool keepsAspect,
    const std::vector<Box> &others,
    SnapReach reach)
{
    const Span wide = alongX(box);
    const Span high = alongY(box);
    auto x = restOfEdge(wide, anchor.x(), spans(others, alongX), reach.x, true);
    auto y = restOfEdge(high, anchor.y(), spans(others, alongY), reach.y, false);
    if (keepsAspect && x && y) { // the nearer one, in shares of its reach
        const bool takesX = std::abs(x->by) * reach.y <= std::abs(y->by) * reach.x;
        (takesX ? y : x).reset();
    }
    double w = sizeAfter(wide, anchor.x(), x);
    double h = sizeAfter(high, anchor.y(), y);
    if (keepsAspect && box.w > 0 && box.h > 0) {
        (x ? h : w) = x ? w * box.h / box.w : h * box.w / box.h;
    }
    if (w <= 0 || h <= 0) {
        return { box, {} };
    }
    Snapped snapped { { startAfter(wide, anchor.x(), w), startAfter(high, anchor.y(), h), w, h },
        {} };
    note(snapped, x);
    note(snapped, y);
    return snapped;
}

} // namespace nimbara
