#include "bench.h"
#include "document/project_file.h"
#include "ui/editor/canvas.h"
#include "ui/watched_window.h"

#include <QMouseEvent>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

using namespace nimbara;
using namespace nimbara::bench;

/// A hundred scenes of twenty layers in the real window, with recovery copies kept.
class LargeDesk {
public:
    LargeDesk()
    {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_home.path());
        m_window = std::make_unique<WatchedWindow>();
        Project project = newProject();
        project.scenes.of(SceneSet::Streams).clear();
        for (int scene = 0; scene < 100; ++scene) {
            std::vector<Layer> layers;
            for (int layer = 0; layer < 20; ++layer) {
                layers.push_back(newLayer(LayerKind::Text));
                layers.back().text = QStringLiteral("Canten al Señor %1").arg(layer);
            }
            project.scenes.of(SceneSet::Streams)
                .push_back(makeScene(QString::number(scene), layers));
        }
        document().open(project);
        canvas().setSelected(document().currentScene()->layers.back().id);
    }
    Document &document() { return m_window->studio().document(); }
    Canvas &canvas() { return *m_window->window().findChild<Canvas *>(QStringLiteral("canvas")); }
    /// One step of a drag: from the pointer's move to everything that shows it.
    double stepMs(int step)
    {
        const QPointF place(canvas().rect().center() + QPoint(step % 40, step % 20));
        QMouseEvent move(QEvent::MouseMove,
            place,
            canvas().mapToGlobal(place),
            Qt::NoButton,
            Qt::LeftButton,
            Qt::NoModifier);
        return threadMs([&] { QCoreApplication::sendEvent(&canvas(), &move); });
    }

private:
    QTemporaryDir m_home;
    std::unique_ptr<WatchedWindow> m_window;
};

double editMs()
{
    LargeDesk desk;
    const Layer &layer = desk.document().currentScene()->layers.back();
    const QRectF shown = layerRect(boxOf(layer), frameRect(desk.canvas().size(), 16.0 / 9));
    QTest::mousePress(&desk.canvas(), Qt::LeftButton, {}, shown.center().toPoint());
    std::vector<double> times;
    for (int step = 0; step < 300; ++step) {
        times.push_back(desk.stepMs(step));
    }
    return median(std::move(times));
}

double undoMs()
{
    LargeDesk desk;
    std::vector<double> times;
    for (int step = 0; step < 100; ++step) {
        desk.document().apply(
            DeleteLayer { desk.document().editedScenes()[std::size_t(step)]->layers.front().id });
    }
    for (int step = 0; step < 100; ++step) {
        times.push_back(threadMs([&] { desk.document().undo(); }));
    }
    return median(std::move(times));
}

/// What a change and the tick that hands its copy to the background cost for it alone.
double autosaveMs()
{
    const QTemporaryDir folder;
    const SystemClock clock;
    RecoveryCopy copy(folder.path(), clock);
    LargeDesk desk;
    const Project project = desk.document().project();
    std::vector<double> times;
    for (int i = 0; i < 100; ++i) {
        times.push_back(threadMs([&] {
            copy.changed([project] { return toJson(project); }, QString());
            static_cast<void>(copy.poll());
        }));
        QTest::qWait(40);
    }
    return *std::max_element(times.begin(), times.end());
}

} // namespace

NIMBARA_BENCH_CASE("edit", editMs)
NIMBARA_BENCH_CASE("undo", undoMs)
NIMBARA_BENCH_CASE("autosave", autosaveMs)
