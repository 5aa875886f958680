#include "ui/shell/health_line.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QStringList>

namespace nimbara {

namespace {

QString shown(const HealthPart &part)
{
    QString text = nimbara_i18n::tr(part.text).toHtmlEscaped();
    switch (part.level) {
    case HealthLevel::Warning:
        return QStringLiteral("<span style='color:#ffc857'>▲ %1</span>").arg(text);
    case HealthLevel::Alarm:
        return QStringLiteral("<span style='color:#ff7b72'><b>⚠ %1</b></span>").arg(text);
    case HealthLevel::Good:
        break;
    }
    return text;
}

} // namespace

HealthLine::HealthLine(QWidget *parent)
    : QLabel(parent)
{
    named(this, "health", nimbara_i18n::tr("Estado del servicio"));
    setTextFormat(Qt::RichText);
    setMinimumWidth(1); // a narrow window cuts it rather than growing with every figure
}

void HealthLine::show(const std::vector<HealthPart> &line)
{
    QStringList parts;
    for (const HealthPart &part : line) {
        parts << shown(part);
    }
    setText(parts.join(QStringLiteral(" &nbsp;·&nbsp; ")));
}

} // namespace nimbara
