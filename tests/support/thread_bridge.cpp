// What the thread sanitizer cannot see of Qt, GLib and GStreamer. They are built without it and
// lock by system calls of their own, so that in its eyes they order nothing. Each function here
// stands in front of the library's own of that name, calls it and tells the order that it keeps:
// release before something is handed over, acquire once it is taken. A mark is the object that the
// threads share, where there is one, so that little else counts as ordered.
//
// The libraries' calls of their own functions do not come past here.
#include <QCoreApplication>
#include <QEvent>
#include <QFutureInterface>
#include <QMutex>
#include <QThreadPool>

#include <gst/gst.h>

#include <cstdarg>
#include <cstddef>
#include <dlfcn.h>
#include <functional>
#include <malloc.h>
#include <sanitizer/tsan_interface.h>
#include <sched.h>
#include <utility>

extern "C" {
void __tsan_read_range(const void *address, std::size_t size); // NOLINT
void __tsan_write_range(void *address, std::size_t size); // NOLINT
int __clone(int (*start)(void *), void *stack, int flags, void *data, ...); // NOLINT
}

namespace {

/// Work given to pools: whatever is begun sees what went before any start.
int startedWork;
/// Futures that are finished: whoever is told of one sees what went before any.
int finishedFutures;

/// Of a picture the two ends are enough: what reads or writes it goes through all of it.
constexpr std::size_t longRange = 16384;
constexpr std::size_t rangeEnd = 256;

template <typename Tell, typename Byte> void tellRange(Tell tell, Byte *address, std::size_t size)
{
    if (size <= longRange) {
        tell(address, size);
    } else {
        tell(address, rangeEnd);
        tell(address + size - rangeEnd, rangeEnd);
    }
}

void isRead(const void *address, std::size_t size)
{
    tellRange(__tsan_read_range, static_cast<const char *>(address), size);
}

void isWritten(void *address, std::size_t size)
{
    tellRange(__tsan_write_range, static_cast<char *>(address), size);
}

/// The library's own function behind one of this file.
template <typename Function> Function *behind(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

/// Sees each event before its receiver does.
class Arrivals final : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        __tsan_acquire(receiver);
        if (event->type() == QEvent::FutureCallOut) {
            __tsan_acquire(&finishedFutures);
        }
        return false;
    }
};

void watchArrivals()
{
    QCoreApplication::instance()->installEventFilter(new Arrivals(QCoreApplication::instance()));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watchArrivals)

// Qt: calls handed to an object's thread, work to a pool, results to whoever waits for them.

bool QMetaObject::invokeMethodImpl(QObject *object,
    QtPrivate::QSlotObjectBase *slot,
    Qt::ConnectionType type,
    void *result)
{
    static auto *const own
        = behind<bool(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *)>(
            "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14Connec"
            "tionTypeEPv");
    __tsan_release(object);
    return own(object, slot, type, result);
}

void QThreadPool::start(std::function<void()> work, int priority)
{
    static auto *const own = behind<void(QThreadPool *, std::function<void()>, int)>(
        "_ZN11QThreadPool5startESt8functionIFvvEEi");
    std::function<void()> seen = [work = std::move(work)] {
        __tsan_acquire(&startedWork); // before it looks at what it holds
        work();
    };
    __tsan_release(&startedWork);
    own(this, std::move(seen), priority);
}

void QFutureInterfaceBase::reportFinished()
{
    static auto *const own
        = behind<void(QFutureInterfaceBase *)>("_ZN20QFutureInterfaceBase14reportFinishedEv");
    __tsan_release(&finishedFutures);
    own(this);
}

void QFutureInterfaceBase::waitForFinished()
{
    static auto *const own
        = behind<void(QFutureInterfaceBase *)>("_ZN20QFutureInterfaceBase15waitForFinishedEv");
    own(this);
    __tsan_acquire(&finishedFutures);
}

bool QFutureInterfaceBase::isFinished() const
{
    static auto *const own
        = behind<bool(const QFutureInterfaceBase *)>("_ZNK20QFutureInterfaceBase10isFinishedEv");
    const bool isDone = own(this);
    __tsan_acquire(&finishedFutures);
    return isDone;
}

// A mutex that no one waits for is seen in its inline part; these are for the others.

void QBasicMutex::lockInternal() noexcept
{
    static auto *const own = behind<void(QBasicMutex *)>("_ZN11QBasicMutex12lockInternalEv");
    own(this);
    __tsan_acquire(this);
}

void QBasicMutex::unlockInternal() noexcept
{
    static auto *const own = behind<void(QBasicMutex *)>("_ZN11QBasicMutex14unlockInternalEv");
    __tsan_release(this);
    own(this);
}

// GLib's locks, as GStreamer and its elements take them, and references: who gives the last one
// back destroys what all others have used.

#define NIMBARA_LOCK(lock, unlock, Lock)                                                           \
    void lock(Lock *it)                                                                            \
    {                                                                                              \
        static auto *const own = behind<void(Lock *)>(#lock);                                      \
        own(it);                                                                                   \
        __tsan_acquire(it);                                                                        \
    }                                                                                              \
    void unlock(Lock *it)                                                                          \
    {                                                                                              \
        static auto *const own = behind<void(Lock *)>(#unlock);                                    \
        __tsan_release(it);                                                                        \
        own(it);                                                                                   \
    }
#define NIMBARA_TRY_LOCK(lock, Lock)                                                               \
    gboolean lock(Lock *it)                                                                        \
    {                                                                                              \
        static auto *const own = behind<gboolean(Lock *)>(#lock);                                  \
        const gboolean isTaken = own(it);                                                          \
        if (isTaken != FALSE) {                                                                    \
            __tsan_acquire(it);                                                                    \
        }                                                                                          \
        return isTaken;                                                                            \
    }
#define NIMBARA_UNREF(unref, Object)                                                               \
    void unref(Object *it)                                                                         \
    {                                                                                              \
        static auto *const own = behind<void(Object *)>(#unref);                                   \
        __tsan_release(it);                                                                        \
        __tsan_acquire(it);                                                                        \
        own(it);                                                                                   \
    }

extern "C" {

NIMBARA_LOCK(g_mutex_lock, g_mutex_unlock, GMutex)
NIMBARA_LOCK(g_rec_mutex_lock, g_rec_mutex_unlock, GRecMutex)
NIMBARA_LOCK(g_rw_lock_writer_lock, g_rw_lock_writer_unlock, GRWLock)
NIMBARA_LOCK(g_rw_lock_reader_lock, g_rw_lock_reader_unlock, GRWLock)
NIMBARA_TRY_LOCK(g_mutex_trylock, GMutex)
NIMBARA_TRY_LOCK(g_rec_mutex_trylock, GRecMutex)
NIMBARA_UNREF(gst_mini_object_unref, GstMiniObject)
NIMBARA_UNREF(g_object_unref, void)

void g_cond_wait(GCond *change, GMutex *it)
{
    static auto *const own = behind<void(GCond *, GMutex *)>("g_cond_wait");
    __tsan_release(it);
    own(change, it);
    __tsan_acquire(it);
}

gboolean g_cond_wait_until(GCond *change, GMutex *it, gint64 deadline)
{
    static auto *const own = behind<gboolean(GCond *, GMutex *, gint64)>("g_cond_wait_until");
    __tsan_release(it);
    const gboolean isTold = own(change, it, deadline);
    __tsan_acquire(it);
    return isTold;
}

// Qt starts a process in its own memory (CLONE_VM). The sanitizer takes that for a copy and looks
// away from the thread that did so, in the parent too.
int clone(int (*start)(void *), void *stack, int flags, void *data, ...) noexcept
{
    va_list more;
    va_start(more, data);
    auto *const parent = va_arg(more, pid_t *);
    auto *const storage = va_arg(more, void *);
    auto *const child = va_arg(more, pid_t *);
    va_end(more);
    return __clone(start, stack, flags, data, parent, storage, child);
}

// On Linux the sanitizer takes every module for a foreign one as soon as it shall look away from
// those, and with them from what the project's own code copies and frees. The linker puts these in
// front there.

void *__real_memcpy(void *to, const void *from, std::size_t size); // NOLINT
void *__real_memmove(void *to, const void *from, std::size_t size); // NOLINT
void *__real_memset(void *to, int value, std::size_t size); // NOLINT
void __real__ZdlPv(void *object); // NOLINT
void __real__ZdlPvm(void *object, std::size_t size); // NOLINT

void *__wrap_memcpy(void *to, const void *from, std::size_t size) // NOLINT
{
    isRead(from, size);
    isWritten(to, size);
    return __real_memcpy(to, from, size);
}

void *__wrap_memmove(void *to, const void *from, std::size_t size) // NOLINT
{
    isRead(from, size);
    isWritten(to, size);
    return __real_memmove(to, from, size);
}

void *__wrap_memset(void *to, int value, std::size_t size) // NOLINT
{
    isWritten(to, size);
    return __real_memset(to, value, size);
}

void __wrap__ZdlPv(void *object) // NOLINT
{
    if (object != nullptr) {
        isWritten(object, malloc_usable_size(object));
    }
    __real__ZdlPv(object);
}

void __wrap__ZdlPvm(void *object, std::size_t size) // NOLINT
{
    if (object != nullptr) {
        isWritten(object, size);
    }
    __real__ZdlPvm(object, size);
}
}
