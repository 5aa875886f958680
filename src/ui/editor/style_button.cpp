#include "ui/editor/style_button.h"

#include "base/i18n.h"

#include <QActionGroup>
#include <QMenu>

#include <algorithm>

namespace nimbara {

StyleButton::StyleButton(QWidget *parent)
    : QPushButton(nimbara_i18n::tr("Estilo"), parent)
    , m_menu(new QMenu(this))
    , m_styles(new QActionGroup(this))
{
    setObjectName(QStringLiteral("textStyle"));
    setMinimumHeight(36);
    m_end = m_menu->addSeparator();
    m_menu->addAction(nimbara_i18n::tr("Guardar como estilo..."), this, &StyleButton::keepPressed);
    m_remove = m_menu->addAction(nimbara_i18n::tr("Eliminar estilo"), this, [this] {
        Q_EMIT removePressed(m_followed);
    });
    setMenu(m_menu);
    list({});
    ensurePolished(); // the style sheet's padding counts
    setMinimumWidth(sizeHint().width());
}

QAction *StyleButton::addStyle(const QString &text, const QString &name)
{
    auto *action = new QAction(text, m_styles);
    action->setCheckable(true);
    action->setData(name);
    m_menu->insertAction(m_end, action);
    connect(action, &QAction::triggered, this, [this, name] { Q_EMIT chosen(name); });
    return action;
}

void StyleButton::list(const QStringList &names)
{
    m_names = names;
    for (QAction *action : m_styles->actions()) {
        action->deleteLater(); // it may be the one that was just chosen
        m_menu->removeAction(action);
        m_styles->removeAction(action);
    }
    addStyle(nimbara_i18n::tr("Sin estilo"), QString());
    for (const QString &name : names) {
        addStyle(QString(name).replace(QLatin1Char('&'), QLatin1String("&&")), name);
    }
}

void StyleButton::showStyles(const QStringList &names, const QString &followed)
{
    if (m_names != names) {
        list(names);
    }
    m_followed = followed;
    for (QAction *action : m_styles->actions()) {
        action->setChecked(action->data().toString() == followed);
    }
    m_remove->setEnabled(!followed.isEmpty());
    const QString style = followed.isEmpty() ? nimbara_i18n::tr("Sin estilo") : followed;
    setAccessibleName(nimbara_i18n::tr("Estilo") + QStringLiteral(": ") + style);
    setToolTip(style + QLatin1Char('\n')
        + nimbara_i18n::tr(
            "Lo que cambias en un texto con estilo cambia en todos los que lo usan."));
}

} // namespace nimbara
