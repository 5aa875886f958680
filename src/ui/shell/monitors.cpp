#include "ui/shell/monitors.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace nimbara {

namespace {

QVBoxLayout *bareColumn(QWidget *owner)
{
    auto *column = new QVBoxLayout(owner);
    column->setContentsMargins(0, 0, 0, 0);
    return column;
}

} // namespace

Monitors::Monitors(QWidget *parent)
    : QWidget(parent)
    , m_editStreams(makeButton("Redes (YouTube/Facebook)", "editStreams"))
    , m_editHall(makeButton("Pantallas de sala", "editHall"))
    , m_canvas(named(new Canvas, "canvas", nimbara_i18n::tr("PREPARACIÓN")))
    , m_streams(named(new Picture,
          "streamsMonitor",
          nimbara_i18n::tr("PROGRAMA REDES · lo que sale a YouTube/Facebook")))
    , m_hall(named(new Picture,
          "hallMonitor",
          nimbara_i18n::tr("PANTALLAS DE SALA · lo que ve la congregación")))
{
    m_editStreams->setCheckable(true);
    m_editStreams->setChecked(true);
    m_editHall->setCheckable(true);
    connect(m_editStreams, &QPushButton::clicked, this, [this] { choose(0); });
    connect(m_editHall, &QPushButton::clicked, this, [this] { choose(1); });

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(makePreviewColumn(), 3);
    row->addWidget(makeProgramColumn(), 2);
}

QWidget *Monitors::makePreviewColumn()
{
    auto *owner = new QWidget;
    auto *column = bareColumn(owner);
    auto *row = new QHBoxLayout;
    row->addWidget(new QLabel(nimbara_i18n::tr("PREPARACIÓN para:")));
    row->addWidget(m_editStreams);
    row->addWidget(m_editHall);
    row->addStretch();
    column->addLayout(row);
    column->addWidget(m_canvas, 1);
    return owner;
}

QWidget *Monitors::makeProgramColumn()
{
    auto *owner = new QWidget;
    auto *column = bareColumn(owner);
    column->addWidget(
        new QLabel(nimbara_i18n::tr("PROGRAMA REDES · lo que sale a YouTube/Facebook")));
    column->addWidget(m_streams, 1);
    column->addWidget(
        new QLabel(nimbara_i18n::tr("PANTALLAS DE SALA · lo que ve la congregación")));
    column->addWidget(m_hall, 1);
    return owner;
}

void Monitors::showEditSet(bool hall)
{
    m_editStreams->setChecked(!hall);
    m_editHall->setChecked(hall);
}

void Monitors::choose(int index)
{
    showEditSet(index != 0);
    Q_EMIT editSetChosen(index);
}

} // namespace nimbara
