#include "output/encode/task_threads.h"

#include "base/thread_priority.h"
#include "media/gst/gst_handles.h"

#include <atomic>
#include <memory>

namespace nimbara {

namespace {

constexpr int keepingNiceness = -5;

std::atomic<bool> encodersKeep { false };

struct Work {
    GstTaskPoolFunction function;
    gpointer data;
    ThreadTurn turn;
};

gpointer runInTurn(gpointer given)
{
    const std::unique_ptr<Work> work(static_cast<Work *>(given));
    if (work->turn == ThreadTurn::Encoder && encodersKeep) {
        askForPriority(keepingNiceness, [](const QString & /*error*/) {});
    } else {
        giveWayToOthers();
    }
    work->function(work->data);
    return nullptr;
}

struct TurnPool {
    GstTaskPool pool;
    ThreadTurn turn;
};

gpointer pushTask(GstTaskPool *pool, GstTaskPoolFunction function, gpointer data, GError **error)
{
    const ThreadTurn turn = reinterpret_cast<TurnPool *>(pool)->turn;
    auto work = std::make_unique<Work>(Work { function, data, turn });
    GThread *thread = g_thread_try_new("encoder", runInTurn, work.get(), error);
    if (thread != nullptr) {
        static_cast<void>(work.release());
    }
    return thread;
}

void joinTask(GstTaskPool * /*pool*/, gpointer thread)
{
    g_thread_join(static_cast<GThread *>(thread));
}

void disposeTask(GstTaskPool * /*pool*/, gpointer thread)
{
    g_thread_unref(static_cast<GThread *>(thread));
}

void initPoolClass(gpointer poolClass, gpointer /*data*/)
{
    auto *pool = static_cast<GstTaskPoolClass *>(poolClass);
    pool->prepare = [](GstTaskPool *, GError **) {};
    pool->cleanup = [](GstTaskPool *) {};
    pool->push = pushTask;
    pool->join = joinTask;
    pool->dispose_handle = disposeTask;
}

GstRef<GstTaskPool> makePool(ThreadTurn turn)
{
    static const GType type = g_type_register_static_simple(GST_TYPE_TASK_POOL,
        "NimbaraTaskThreads",
        sizeof(GstTaskPoolClass),
        initPoolClass,
        sizeof(TurnPool),
        nullptr,
        GTypeFlags {});
    auto *pool = static_cast<TurnPool *>(g_object_new(type, nullptr));
    pool->turn = turn;
    return GstRef<GstTaskPool>::sink(&pool->pool);
}

template <ThreadTurn turn>
GstBusSyncReply onMessage(GstBus * /*bus*/, GstMessage *message, gpointer /*data*/)
{
    static const GstRef<GstTaskPool> pool = makePool(turn);
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_STREAM_STATUS) {
        GstStreamStatusType kind = GST_STREAM_STATUS_TYPE_CREATE;
        GstElement *owner = nullptr;
        gst_message_parse_stream_status(message, &kind, &owner);
        const GValue *task = gst_message_get_stream_status_object(message);
        if (kind == GST_STREAM_STATUS_TYPE_CREATE && task != nullptr
            && G_VALUE_HOLDS(task, GST_TYPE_TASK)) {
            gst_task_set_pool(GST_TASK(g_value_get_object(task)), pool.get());
        }
    }
    return GST_BUS_PASS;
}

} // namespace

void setThreadTurn(GstBus *bus, ThreadTurn turn)
{
    gst_bus_set_sync_handler(bus,
        turn == ThreadTurn::Encoder ? onMessage<ThreadTurn::Encoder>
                                    : onMessage<ThreadTurn::AfterOthers>,
        nullptr,
        nullptr);
}

void letEncodersKeepTheirTurn()
{
    encodersKeep = true;
}

} // namespace nimbara
