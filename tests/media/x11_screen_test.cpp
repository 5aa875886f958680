#include "base/clock.h"
#include "media/sources/media_factory.h"
#include "poll.h"
#include "support/test_registry.h"

#include <QProcess>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr FrameSize size { 640, 360 };

/// An X server of the test's own, which the studio and the desktop's tools then use.
class Server {
public:
    Server()
    {
        m_process.startCommand(u"Xvfb -noreset -displayfd 1 -screen 0 1280x720x24"_s);
        if (m_process.waitForReadyRead(30'000)) {
            qputenv("DISPLAY", ':' + m_process.readAllStandardOutput().trimmed());
        }
    }
    Q_DISABLE_COPY_MOVE(Server)
    ~Server() { kill(); }
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    static bool run(const QString &command)
    {
        QStringList words = command.split(u' ');
        return QProcess::execute(words.takeFirst(), words) == 0;
    }

private:
    QProcess m_process;
};

} // namespace

/// Real screens of a real X server.
class X11ScreenTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { m_retirement = std::make_shared<Retirement>(); }
    void cleanup() { m_retirement.reset(); }

    void showsWhatIsOnTheScreen()
    {
        const Server server;
        QVERIFY(Server::run(u"xsetroot -solid #3264c8"_s));
        QVERIFY(Server::run(u"xsetroot -cursor_name left_ptr"_s));
        QVERIFY(Server::run(u"xdotool mousemove 640 360"_s));
        const MediaPtr screen = factory().screen(size);
        const std::array<int, 4> blue { 0x32, 0x64, 0xc8, 255 };
        QVERIFY(pollUntil(*screen,
            [&] { return screen->frame() && pixelAt(*screen->frame(), 0.1, 0.1) == blue; }));
        QVERIFY2(pixelAt(*screen->frame(), 0.503, 0.506) != blue, "the pointer is not seen");

        // A second monitor, which becomes the main one in the middle of the service.
        QVERIFY(Server::run(u"xrandr --setmonitor *main 640/160x360/90+640+360 none"_s));
        QVERIFY(pollUntil(*screen, [&] { return pixelAt(*screen->frame(), 0.006, 0.02) != blue; }));
        QCOMPARE(pixelAt(*screen->frame(), 0.5, 0.5), blue);
        QCOMPARE(screen->takeMessage(), QString());
    }

    /// Captures come and go while others read, and the rest of the desktop is answered.
    void capturesStandInNobodysWay()
    {
        const Server server;
        const MediaPtr first = factory().screen(size);
        QVERIFY(pollUntil(*first, [&] { return first->frame() != nullptr; }));
        for (int round = 0; round < 10; ++round) {
            const MediaPtr other = factory().screen(size);
            QVERIFY(pollUntil(*other, [&] { return other->frame() != nullptr; }));
            const auto before = first->frameCount();
            QVERIFY(pollUntil(*first, [&] { return first->frameCount() > before; }));
        }
        QVERIFY(Server::run(u"xdotool getmouselocation"_s));
    }

    void aServerThatGoesIsTold()
    {
        Server server;
        const MediaPtr screen = factory().screen(size);
        QVERIFY(pollUntil(*screen, [&] { return screen->frame() != nullptr; }));
        server.kill();
        QString message;
        QVERIFY(pollUntil(*screen,
            [&] { return !(message = screen->takeMessage().spanish()).isEmpty(); }));
        QVERIFY2(message.contains(u"The X11 screen cannot be read"_s), qPrintable(message));
        QVERIFY(!screen->frame());

        QCOMPARE(refusal([&] { return factory().screen(size); }), u"No se pudo iniciar fuente"_s);
    }

private:
    MediaFactory factory()
    {
        return { m_clock, m_retirement, screenElements({ {}, ":0", "x11" }) };
    }

    SystemClock m_clock;
    std::shared_ptr<Retirement> m_retirement;
};

NIMBARA_TEST(X11ScreenTest)
#include "x11_screen_test.moc"
