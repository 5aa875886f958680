#pragma once

#include "base/log.h"

#include <QFile>

namespace nimbara::testing {

/// What the program has logged.
inline QString logText()
{
    QFile log(logFilePath());
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
}

} // namespace nimbara::testing
