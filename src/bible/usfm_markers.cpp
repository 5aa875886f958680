#include "bible/usfm_markers.h"

#include <QRegularExpression>
#include <QStringList>

namespace bible::usfm {

bool isNote(const QString &name)
{
    static const QStringList names
        = QStringLiteral("f fe ef x ex fig rq va vp ca pro rb").split(QLatin1Char(' '));
    return names.contains(name);
}

bool isHeading(const QString &name)
{
    static const QRegularExpression form(QStringLiteral(
        "^(?:ide|sts|rem|h\\d?|toca?\\d|mte?\\d?|ms\\d?|mr|s\\d?|sr|sd\\d?|r|d|sp|cl|cp|"
        "cd|i[a-z]+\\d?|usfm|restore|qa|qd|lit|periph)$"));
    // "\it" is a style.
    return name != QLatin1String("it") && form.match(name).hasMatch();
}

bool isStyle(const QString &name)
{
    static const QStringList names
        = QStringLiteral("w nd wj add qt sig sls tl bk dc k ord pn png addpn qs qac em bd it bdit "
                         "no sc sup ndx wg wh wa jmp rt litl lik liv liv1 liv2 xt ior iqt")
              .split(QLatin1Char(' '));
    return names.contains(name);
}

bool tellsOfRights(const QString &remark)
{
    static const QRegularExpression rights(
        QStringLiteral("©|copyright|licen[cs]|public domain|dominio público"),
        QRegularExpression::CaseInsensitiveOption);
    return rights.match(remark).hasMatch();
}

} // namespace bible::usfm
