#include "ui/shell/monitors.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace nimbara {

namespace {

constexpr int gap = 4; ///< pixels between a caption and its picture, and between the programs

QVBoxLayout *bareColumn(QWidget *owner)
{
    auto *column = new QVBoxLayout(owner);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(gap);
    return column;
}

} // namespace

Monitors::Monitors(QWidget *parent)
    : QWidget(parent)
    , m_editStreams(makeButton("Redes (YouTube/Facebook)", "editStreams"))
    , m_editHall(makeButton("Pantallas de sala", "editHall"))
    , m_snap(makeButton("Imán", "snapping"))
    , m_canvas(named(new Canvas, "canvas", nimbara_i18n::tr("PREPARACIÓN")))
    , m_streams(named(new Picture,
          "streamsMonitor",
          nimbara_i18n::tr("PROGRAMA REDES · lo que sale a YouTube/Facebook")))
    , m_hall(named(new Picture,
          "hallMonitor",
          nimbara_i18n::tr("PANTALLAS DE SALA · lo que ve la congregación")))
    , m_previewFrame(named(new MonitorFrame(m_canvas), "previewFrame"))
    , m_streamsFrame(named(new MonitorFrame(m_streams), "streamsFrame"))
    , m_hallFrame(named(new MonitorFrame(m_hall), "hallFrame"))
    , m_splitter(new ShareSplitter(Qt::Horizontal, "monitorSplitter"))
{
    m_editStreams->setCheckable(true);
    m_editStreams->setChecked(true);
    m_editHall->setCheckable(true);
    m_snap->setCheckable(true);
    connect(m_editStreams, &QPushButton::clicked, this, [this] { choose(0); });
    connect(m_editHall, &QPushButton::clicked, this, [this] { choose(1); });

    m_splitter->addWidget(makePreviewColumn());
    m_splitter->addWidget(makePrograms());
    m_splitter->shares = [this](int room) {
        const int width = planMonitors(QSize(room, m_splitter->height()), shapes()).previewWidth;
        return QList<int> { width, room - width };
    };
    bareColumn(this)->addWidget(m_splitter);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    showPreview({});
    showOnAir(SceneSet::Streams, nullptr);
    showOnAir(SceneSet::Hall, nullptr);
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
    row->addWidget(m_snap);
    column->addLayout(row);
    column->addWidget(m_previewFrame, 1);
    return owner;
}

QWidget *Monitors::makePrograms()
{
    m_programs = new QWidget;
    m_columns = { makeProgram("PROGRAMA REDES · lo que sale a YouTube/Facebook", m_streamsFrame),
        makeProgram("PANTALLAS DE SALA · lo que ve la congregación", m_hallFrame) };
    m_programs->setMinimumSize(m_columns.front()->minimumSizeHint());
    m_programs->installEventFilter(this);
    return m_programs;
}

QWidget *Monitors::makeProgram(const char *spanish, MonitorFrame *frame)
{
    auto *owner = new QWidget(m_programs);
    auto *column = bareColumn(owner);
    auto *caption = new QLabel(nimbara_i18n::tr(spanish));
    caption->setWordWrap(true);
    column->addWidget(caption);
    column->addWidget(frame, 1);
    return owner;
}

MonitorShapes Monitors::shapes() const
{
    return { m_previewFrame->aspect(),
        m_streamsFrame->aspect(),
        m_hallFrame->aspect(),
        m_editStreams->minimumHeight() + gap,
        fontMetrics().height() + gap };
}

bool Monitors::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_programs && event->type() == QEvent::Resize) {
        arrangePrograms();
    }
    return QWidget::eventFilter(watched, event);
}

void Monitors::arrangePrograms()
{
    const QRect room = m_programs->rect();
    const bool stacked = areLargerStacked(room.size(), shapes());
    const QSize each = stacked ? QSize(room.width(), (room.height() - gap) / 2)
                               : QSize((room.width() - gap) / 2, room.height());
    const QPoint step = stacked ? QPoint(0, each.height() + gap) : QPoint(each.width() + gap, 0);
    m_columns.front()->setGeometry(QRect(room.topLeft(), each));
    m_columns.back()->setGeometry(QRect(room.topLeft() + step, each));
}

void Monitors::showEditSet(bool hall)
{
    m_editStreams->setChecked(!hall);
    m_editHall->setChecked(hall);
}

void Monitors::showShapes(double preview, double streams)
{
    const MonitorShapes before = shapes();
    m_canvas->setAspect(preview);
    m_previewFrame->setAspect(preview);
    m_streamsFrame->setAspect(streams);
    if (shapes() != before) {
        m_splitter->share();
        arrangePrograms();
    }
}

void Monitors::showPreview(const QString &scene)
{
    m_previewFrame->showTally(Tally::Preview, scene);
}

void Monitors::showOnAir(SceneSet set, const Scene *scene)
{
    MonitorFrame *frame = set == SceneSet::Hall ? m_hallFrame : m_streamsFrame;
    if (scene == nullptr) {
        frame->showTally(Tally::Black, nimbara_i18n::tr("FUERA DEL AIRE"));
    } else {
        frame->showTally(Tally::OnAir,
            nimbara_i18n::tr("AL AIRE") + QStringLiteral(" · ") + scene->name);
    }
}

void Monitors::choose(int index)
{
    showEditSet(index != 0);
    Q_EMIT editSetChosen(index);
}

} // namespace nimbara
