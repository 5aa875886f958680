#include "ui/captions/prices_dialog.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QGridLayout>
#include <QVBoxLayout>

namespace nimbara {

namespace {

enum Column { Name, Minutes, Requests, PerMinute, PerRequest, Estimate, Limit };

QString money(double value)
{
    return QString::number(value, 'f', 4);
}

} // namespace

PricesDialog::PricesDialog(CostDesk &costs, QWidget *parent)
    : QDialog(parent)
    , m_costs(costs)
    , m_total(named(new QLabel, "totalCost"))
{
    setObjectName(QStringLiteral("pricesDialog"));
    setWindowTitle(nimbara_i18n::tr("Lo que cuesta la traducción"));
    auto *grid = new QGridLayout;
    int column = 0;
    for (const char *title : { "Servicio",
             "Minutos",
             "Pedidos",
             "Precio por minuto",
             "Precio por pedido",
             "Estimado",
             "Límite (0: ninguno)" }) {
        grid->addWidget(new QLabel(nimbara_i18n::tr(title)), 0, column++);
    }
    for (std::size_t i = 0; i < cost::services; ++i) {
        addRow(*grid, static_cast<cost::Service>(i));
    }
    const int last = static_cast<int>(cost::services) + 1;
    grid->addWidget(new QLabel(nimbara_i18n::tr("Total")), last, Name);
    grid->addWidget(m_total, last, Estimate);
    auto *close = makeButton("Cerrar", "closePrices");
    close->setAutoDefault(false); // Return ends the edit of a price
    auto *all = new QVBoxLayout(this);
    all->addWidget(
        makeNote("De la traducción que corre, o de la última. Escribe los precios de tu contrato: "
                 "los que ves al principio son aproximados. Al 80 % de un límite se avisa; nada se "
                 "detiene."));
    all->addLayout(grid);
    all->addWidget(close, 0, Qt::AlignRight);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    connect(&m_costs, &CostDesk::changed, this, &PricesDialog::showUsage);
    showUsage();
}

void PricesDialog::addRow(QGridLayout &grid, cost::Service service)
{
    const int place = static_cast<int>(service);
    const QString name = nimbara_i18n::tr(CostDesk::nameOf(service));
    const cost::Price &price = m_costs.prices().at(static_cast<std::size_t>(service));
    const auto figure = [&](const char *title, double value) {
        auto *box = new QDoubleSpinBox;
        box->setObjectName(QStringLiteral("%1%2").arg(QLatin1String(title)).arg(place));
        box->setDecimals(4);
        box->setRange(0, 100'000);
        box->setValue(value);
        box->setKeyboardTracking(false); // a price that is half typed is none
        connect(box, &QDoubleSpinBox::valueChanged, this, [this, service] { takePrice(service); });
        return box;
    };
    Row &row = m_rows.at(static_cast<std::size_t>(service));
    row = { new QLabel,
        new QLabel,
        figure("perMinute", price.perMinute),
        figure("perRequest", price.perRequest),
        new QLabel,
        figure("limit", price.limit) };
    row.perMinute->setAccessibleName(
        name + QStringLiteral(": ") + nimbara_i18n::tr("Precio por minuto"));
    row.perRequest->setAccessibleName(
        name + QStringLiteral(": ") + nimbara_i18n::tr("Precio por pedido"));
    row.limit->setAccessibleName(
        name + QStringLiteral(": ") + nimbara_i18n::tr("Límite (0: ninguno)"));
    grid.addWidget(new QLabel(name), place + 1, Name);
    grid.addWidget(row.minutes, place + 1, Minutes);
    grid.addWidget(row.requests, place + 1, Requests);
    grid.addWidget(row.perMinute, place + 1, PerMinute);
    grid.addWidget(row.perRequest, place + 1, PerRequest);
    grid.addWidget(row.estimate, place + 1, Estimate);
    grid.addWidget(row.limit, place + 1, Limit);
}

void PricesDialog::takePrice(cost::Service service)
{
    const Row &row = m_rows.at(static_cast<std::size_t>(service));
    m_costs.setPrice(service,
        { row.perMinute->value(), row.perRequest->value(), row.limit->value() });
}

void PricesDialog::showUsage()
{
    for (std::size_t i = 0; i < cost::services; ++i) {
        const cost::Use &use = m_costs.usage().at(i);
        const Row &row = m_rows.at(i);
        row.minutes->setText(QString::number(static_cast<double>(use.us) / 60'000'000, 'f', 1));
        row.requests->setText(QString::number(use.requests));
        row.estimate->setText(money(cost::estimate(use, m_costs.prices().at(i))));
        setAmber(*row.limit, m_costs.isNearLimit(static_cast<cost::Service>(i)));
    }
    m_total->setText(money(m_costs.total()));
}

} // namespace nimbara
