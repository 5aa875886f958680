#pragma once

#include <QString>

namespace nimbara {

/// Makes `withoutSecrets` hide `secret` from now on, for the rest of the process. Texts of fewer
/// than five characters are left alone: they would blot out ordinary words. Any thread.
void hideSecret(const QString &secret);

/// `text` with every hidden secret replaced by "***", in capitals or not: for texts of libraries,
/// which may repeat what they were given or what a server answered. Any thread.
QString withoutSecrets(QString text);

} // namespace nimbara
