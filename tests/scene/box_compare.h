#pragma once

#include "scene/layer_geometry.h"

#include <QMetaType>
#include <QTest>

#include <cmath>

Q_DECLARE_METATYPE(nimbara::Box)

namespace nimbara::testing {

inline bool isNear(const Box &a, const Box &b)
{
    const auto close = [](double left, double right) { return std::abs(left - right) < 1e-9; };
    return close(a.x, b.x) && close(a.y, b.y) && close(a.w, b.w) && close(a.h, b.h);
}

inline QByteArray text(const Box &box)
{
    return QStringLiteral("%1, %2, %3 × %4").arg(box.x).arg(box.y).arg(box.w).arg(box.h).toUtf8();
}

} // namespace nimbara::testing

/// Compares two boxes with room for rounding, and names both when they differ.
#define COMPARE_BOX(actual, expected)                                                              \
    do {                                                                                           \
        const nimbara::Box got = (actual);                                                         \
        const nimbara::Box want = (expected);                                                      \
        QVERIFY2(nimbara::testing::isNear(got, want),                                              \
            (nimbara::testing::text(got) + " instead of " + nimbara::testing::text(want)).data()); \
    } while (false)
