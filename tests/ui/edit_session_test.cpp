#include "support/scenes.h"
#include "support/test_registry.h"
#include "ui/session_desk.h"

#include <QDoubleSpinBox>
#include <QPlainTextEdit>
#include <QSlider>
#include <QSpinBox>

#include <functional>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

enum class Seen { Yes, No };

/// What the operator does once.
struct Deed {
    const char *name;
    std::function<void(SessionDesk &)> act;
    Seen seen = Seen::Yes; ///< in PREVIEW
};

template <typename Field> auto turned(const char *name, Qt::Key key, int times)
{
    return [=](SessionDesk &desk) { desk.keys(desk.focused<Field>(name), key, times); };
}

auto pressed(const char *name)
{
    return [=](SessionDesk &desk) { desk.press(name); };
}

auto added(int entry)
{
    return [=](SessionDesk &desk) { desk.add(entry); };
}

auto coloured(const char *button, QColor color)
{
    return [=](SessionDesk &desk) {
        desk.dialogs->colors = { color };
        desk.press(button);
    };
}

auto struck(const char *place, Qt::Key key, Qt::KeyboardModifiers held = {})
{
    return [=](SessionDesk &desk) {
        auto *widget = desk.find<QWidget>(place);
        widget->setFocus();
        QTest::keyClick(widget, key, held);
    };
}

/// Of the selected layer, by its middle or by its right lower corner.
auto dragged(bool byCorner)
{
    return [=](SessionDesk &desk) {
        const Box box = boxOf(desk.layers().at(static_cast<std::size_t>(desk.selected())));
        const double part = byCorner ? 1 : 0.5;
        const QPoint from = desk.at(box.x + part * box.w, box.y + part * box.h);
        desk.drag(from, from - QPoint(40, 20), Qt::AltModifier); // which snaps to nothing
    };
}

/// One after the other, on a scene without layers.
std::vector<Deed> deeds()
{
    return {
        { "a text", added(2) },
        { "its text",
            [](SessionDesk &desk) {
                auto *field = desk.focused<QPlainTextEdit>("layerText");
                field->selectAll();
                QTest::keyClicks(field, u"Gloria"_s);
            } },
        { "its name",
            [](SessionDesk &desk) {
                auto *field = desk.focused<QLineEdit>("layerName");
                field->selectAll();
                QTest::keyClicks(field, u"Lema"_s);
            },
            Seen::No },
        { "its place", turned<QDoubleSpinBox>("positionX", Qt::Key_Up, 3) },
        { "its width", turned<QDoubleSpinBox>("positionW", Qt::Key_Up, 3) },
        { "its opacity", turned<QSlider>("opacity", Qt::Key_Left, 30) },
        { "its letters", turned<QSpinBox>("textSize", Qt::Key_Up, 9) },
        { "bold", [](SessionDesk &desk) { desk.turnSwitch("bold"); } },
        { "capitals", [](SessionDesk &desk) { desk.turnSwitch("upperCase"); } },
        { "to the right", [](SessionDesk &desk) { desk.choose("textAlign", 2); } },
        { "its colour", coloured("textColor", QColor(250, 200, 0)) },
        { "what is behind it", coloured("backgroundColor", QColor(90, 0, 0, 200)) },
        { "a long shadow", turned<QSpinBox>("shadowStrength", Qt::Key_Up, 10) },
        { "a wide outline", turned<QSpinBox>("outlineWidth", Qt::Key_Up, 5) },
        { "moved by a key", struck("canvas", Qt::Key_Left, Qt::ShiftModifier) },
        { "dragged", dragged(false) },
        { "scaled by its corner", dragged(true) },
        { "a surface", added(6) },
        { "its fill", coloured("fillColor", QColor(0, 90, 160)) },
        { "behind the text", pressed("layerDown") },
        { "before it, by a key", struck("layers", Qt::Key_Up, Qt::AltModifier) },
        { "hidden by a key", struck("layers", Qt::Key_H, Qt::ControlModifier) },
        { "shown in the list", struck("layers", Qt::Key_Return) },
        { "locked", struck("layers", Qt::Key_K, Qt::ControlModifier), Seen::No },
        { "copied", struck("layers", Qt::Key_D, Qt::ControlModifier), Seen::No },
        { "removed by a key", struck("layers", Qt::Key_Delete), Seen::No },
        { "a scene's copy", pressed("duplicateScene"), Seen::No },
        { "its name",
            [](SessionDesk &desk) {
                desk.dialogs->texts = { u"Final"_s };
                desk.press("renameScene");
            },
            Seen::No },
        { "its front layer removed",
            [](SessionDesk &desk) {
                desk.select(0);
                desk.press("deleteLayer");
            } },
        { "removed",
            [](SessionDesk &desk) {
                desk.dialogs->answers = { true };
                desk.press("deleteScene");
            } },
    };
}

/// The window, and what PREVIEW shows.
struct EditDesk : SessionDesk {
    QImage shown;
    int frames = 0;

    EditDesk()
    {
        QObject::connect(&window.studio(),
            &Studio::picturesMade,
            &window,
            [this](const Pictures &made) {
                shown = made.preview;
                ++frames;
            });
    }
    /// A picture of what is on the desk now.
    QImage look()
    {
        const int enough = frames + 2; // the first may have been under way
        return QTest::qWaitFor([&] { return frames >= enough; }) ? shown : QImage();
    }
};

} // namespace

/// In the real window, by its mouse and keys.
class EditSessionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// The picture goes back and forth with the project, and nothing else does.
    void everyEditIsUndoneAndDoneAgain()
    {
        EditDesk desk;
        QVERIFY(desk.isActive());
        desk.press("deleteLayer"); // the camera, which moves
        const auto project = [&] { return desk.document().project(); };
        const auto begin = project();
        for (const Deed &deed : deeds()) {
            const RowName named(deed.name);
            const auto before = project();
            const QImage pictureBefore = desk.look();
            deed.act(desk);
            QTRY_VERIFY(project() != before);
            const auto after = project();
            const QImage pictureAfter = desk.look();
            QCOMPARE(pictureAfter != pictureBefore, deed.seen == Seen::Yes);
            desk.press("undo");
            QVERIFY(project() == before);
            QCOMPARE(desk.look(), pictureBefore);
            desk.press("redo");
            QVERIFY(project() == after);
            QCOMPARE(desk.look(), pictureAfter);
        }
        const auto end = project();
        const QImage last = desk.look();
        struck("canvas", Qt::Key_Z, Qt::ControlModifier)(desk);
        QVERIFY(project() != end);
        while (desk.find<QPushButton>("undo")->isEnabled() && project() != begin) {
            desk.press("undo");
        }
        QVERIFY(project() == begin);
        while (desk.find<QPushButton>("redo")->isEnabled()) {
            desk.press("redo");
        }
        QVERIFY(project() == end);
        QCOMPARE(desk.look(), last);
    }
};

NIMBARA_TEST(EditSessionTest)
#include "edit_session_test.moc"
