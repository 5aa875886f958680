#include "ui/kit/key_field.h"

#include "ui/kit/controls.h"

namespace nimbara {

void bindKeyField(QLineEdit &field, ServiceKey &key)
{
    field.setText(key.text());
    QObject::connect(&field, &QLineEdit::textChanged, &key, &ServiceKey::setText);
    QObject::connect(&key, &ServiceKey::changed, &field, [&field](const QString &text) {
        showText(&field, text);
    });
}

} // namespace nimbara
