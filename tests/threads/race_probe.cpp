// Two threads and what both of them use, in the forms that the engine has: what the thread
// sanitizer has to tell, and what it must not, since Qt, GLib or GStreamer order it.
//   race_probe FORM
#include <QByteArray>
#include <QCoreApplication>
#include <QFuture>
#include <QMutex>
#include <QProcess>
#include <QPromise>
#include <QThreadPool>

#include <gst/gst.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Work = std::function<void()>;

/// Calls `work` on the streaming thread of each buffer that comes past the element's pad.
void watch(GstElement *pipeline, const char *name, const char *padName, const Work &work)
{
    GstElement *element = gst_bin_get_by_name(GST_BIN(pipeline), name);
    GstPad *pad = gst_element_get_static_pad(element, padName);
    gst_pad_add_probe(
        pad,
        GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad *, GstPadProbeInfo *, gpointer seen) {
            (*static_cast<const Work *>(seen))();
            return GST_PAD_PROBE_OK;
        },
        const_cast<Work *>(&work),
        nullptr);
    gst_object_unref(pad);
    gst_object_unref(element);
}

/// Plays to the end: `before` and `behind` see each buffer on the two sides of a queue.
void play(const Work &before, const Work &behind, const Work &meanwhile)
{
    GstElement *pipeline
        = gst_parse_launch("fakesrc name=source num-buffers=20000 ! queue ! fakesink name=sink",
            nullptr);
    watch(pipeline, "source", "src", before);
    watch(pipeline, "sink", "sink", behind);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    meanwhile();
    GstBus *bus = gst_element_get_bus(pipeline);
    gst_message_unref(gst_bus_timed_pop_filtered(bus, GST_CLOCK_TIME_NONE, GST_MESSAGE_EOS));
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(bus);
    gst_object_unref(pipeline);
}

/// Waits for a flag that orders nothing else.
void await(const std::atomic<bool> &flag)
{
    while (!flag.load(std::memory_order_relaxed)) {
        std::this_thread::yield();
    }
}

int count = 0;
char picture[4096];

void writeTwice()
{
    std::thread other([] { ++count; });
    ++count;
    other.join();
}

const std::map<std::string, Work> forms {
    // To be told.
    { "written", writeTwice },
    { "written_after_a_process",
        [] {
            std::atomic<bool> isEnded = false;
            std::thread other([&isEnded] { await(isEnded); });
            QProcess::execute(QStringLiteral("true"), {});
            isEnded.store(true, std::memory_order_relaxed);
            other.join();
            writeTwice();
        } },
    { "copied",
        [] {
            const QByteArray from(4096, 'x');
            std::thread other([&from] { std::memcpy(picture, from.data(), from.size()); });
            std::memcpy(picture, from.data(), from.size());
            other.join();
        } },
    { "freed",
        [] {
            auto shared = std::make_unique<int>(0);
            std::thread other([seen = shared.get()] { ++*seen; });
            shared.reset();
            other.join();
        } },
    { "streamed",
        [] {
            const Work none = [] {};
            play([] { ++count; },
                none,
                [] {
                    while (count < 10000) {
                        std::this_thread::yield();
                    }
                });
        } },
    { "changed_after_the_call",
        [] {
            std::thread other([] {
                QMetaObject::invokeMethod(
                    qApp,
                    [] {
                        std::printf("%d\n", count);
                        QCoreApplication::quit();
                    },
                    Qt::QueuedConnection);
                ++count;
            });
            QCoreApplication::exec();
            other.join();
        } },
    // Ordered.
    { "called",
        [] {
            // The thread is awake already: no call of the system orders what follows.
            QMetaObject::invokeMethod(
                qApp,
                [] {},
                Qt::QueuedConnection);
            std::atomic<bool> isCalled = false;
            std::thread other([&isCalled] {
                ++count;
                QMetaObject::invokeMethod(
                    qApp,
                    [] {
                        std::printf("%d\n", count);
                        QCoreApplication::quit();
                    },
                    Qt::QueuedConnection);
                isCalled.store(true, std::memory_order_relaxed);
            });
            await(isCalled);
            QCoreApplication::exec();
            other.join();
        } },
    { "pooled",
        [] {
            QThreadPool pool;
            pool.setMaxThreadCount(1);
            std::atomic<bool> isWaiting = false;
            pool.start([&isWaiting] { await(isWaiting); });
            ++count;
            pool.start([] { ++count; }); // waits for the first
            isWaiting.store(true, std::memory_order_relaxed);
            pool.waitForDone();
            ++count;
        } },
    { "promised",
        [] {
            QPromise<void> promise;
            promise.start();
            std::thread other([&promise] {
                ++count;
                promise.finish();
            });
            while (!promise.future().isFinished()) {
                std::this_thread::yield();
            }
            ++count;
            other.join();
        } },
    { "locked",
        [] {
            QMutex lock;
            GMutex other {};
            int others = 0;
            const auto work = [&lock, &other, &others] {
                for (int turn = 0; turn < 20000; ++turn) {
                    const QMutexLocker locker(&lock);
                    ++count;
                }
                for (int turn = 0; turn < 20000; ++turn) {
                    g_mutex_lock(&other);
                    ++others;
                    g_mutex_unlock(&other);
                }
            };
            std::thread second(work);
            work();
            second.join();
        } },
    { "handed_on",
        [] {
            std::vector<int> numbers(20000, 0);
            const Work write = [next = numbers.begin()]() mutable { *next++ = 1; };
            play(
                write,
                [next = numbers.begin()]() mutable { count += *next++; },
                [] {});
        } },
};

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_NO_GLIB",
        "1"); // GLib's event loop is woken by a call of the system that orders all
    const QCoreApplication application(argc, argv);
    gst_init(nullptr, nullptr);
    const auto form = forms.find(argc > 1 ? argv[1] : "");
    if (form == forms.end()) {
        std::fputs("no such form\n", stderr);
        return 2;
    }
    form->second();
    return 0;
}
