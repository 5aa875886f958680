#pragma once

#include "studio/services/service_key.h"

#include <QLineEdit>

namespace nimbara {

/// Shows the key in `field`, hands it what is typed there, and follows it from then on, until
/// either has gone.
void bindKeyField(QLineEdit &field, ServiceKey &key);

} // namespace nimbara
