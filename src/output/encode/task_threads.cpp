#include "output/encode/task_threads.h"

#include "media/gst/gst_handles.h"

#include <memory>
#include <sys/resource.h>
#include <unistd.h>

namespace nimbara {

namespace {

struct Work {
    GstTaskPoolFunction function;
    gpointer data;
};

gpointer runNicely(gpointer given)
{
    const std::unique_ptr<Work> work(static_cast<Work *>(given));
#ifdef __linux__
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), encoderNiceness); // the thread alone
#endif
    work->function(work->data);
    return nullptr;
}

gpointer
pushTask(GstTaskPool * /*pool*/, GstTaskPoolFunction function, gpointer data, GError **error)
{
    auto work = std::make_unique<Work>(Work { function, data });
    GThread *thread = g_thread_try_new("encoder", runNicely, work.get(), error);
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

GstTaskPool *nicePool()
{
    static const GType type = g_type_register_static_simple(GST_TYPE_TASK_POOL,
        "NimbaraTaskThreads",
        sizeof(GstTaskPoolClass),
        initPoolClass,
        sizeof(GstTaskPool),
        nullptr,
        GTypeFlags {});
    static const auto pool
        = GstRef<GstTaskPool>::sink(GST_TASK_POOL_CAST(g_object_new(type, nullptr)));
    return pool.get();
}

GstBusSyncReply onMessage(GstBus * /*bus*/, GstMessage *message, gpointer /*data*/)
{
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_STREAM_STATUS) {
        GstStreamStatusType kind = GST_STREAM_STATUS_TYPE_CREATE;
        GstElement *owner = nullptr;
        gst_message_parse_stream_status(message, &kind, &owner);
        const GValue *task = gst_message_get_stream_status_object(message);
        if (kind == GST_STREAM_STATUS_TYPE_CREATE && task != nullptr
            && G_VALUE_HOLDS(task, GST_TYPE_TASK)) {
            gst_task_set_pool(GST_TASK(g_value_get_object(task)), nicePool());
        }
    }
    return GST_BUS_PASS;
}

} // namespace

void giveWayToOthers(GstBus *bus)
{
    gst_bus_set_sync_handler(bus, onMessage, nullptr, nullptr);
}

} // namespace nimbara
