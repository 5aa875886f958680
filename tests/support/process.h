#pragma once

#include <QDir>

namespace nimbara::testing {

/// How many files ("fd") or threads ("task") this program holds.
inline qsizetype held(const char *what)
{
    return QDir(QStringLiteral("/proc/self/") + QLatin1String(what))
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
        .size();
}

} // namespace nimbara::testing
