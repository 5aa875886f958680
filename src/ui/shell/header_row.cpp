#include "ui/shell/header_row.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>

namespace nimbara {

namespace {

QLabel *makeLogo()
{
    constexpr int side = 58;
    auto *logo = new QLabel;
    logo->setPixmap(QPixmap(QStringLiteral(":/logo.png"))
                        .scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    return logo;
}

} // namespace

HeaderRow::HeaderRow(QWidget *parent)
    : QWidget(parent)
    , m_language(named(new QComboBox, "language", nimbara_i18n::tr("Idioma")))
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(makeLogo());
    row->addWidget(new QLabel(
        QStringLiteral(
            "<span style='font-size:24px;font-weight:700'>Ardenvale Vesperline</span><br>"
            "<span style='color:#95abc5'>")
        + nimbara_i18n::tr("Producir · compartir · traducir") + QStringLiteral("</span>")));
    row->addStretch();
    m_language->addItems({ QStringLiteral("ES"), QStringLiteral("EN") });
    m_language->setToolTip(nimbara_i18n::tr("Idioma"));
    row->addWidget(m_language);
    showCurrentLanguage();
    connect(m_language, &QComboBox::currentIndexChanged, this, &HeaderRow::languageChosen);
}

void HeaderRow::showCurrentLanguage()
{
    const QSignalBlocker blocker(m_language);
    m_language->setCurrentIndex(nimbara_i18n::language() == QLatin1String("en") ? 1 : 0);
}

} // namespace nimbara
