#include "studio/check/machine_facts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#if defined(Q_OS_LINUX)
#include <gio/gio.h>

#include <memory>
#endif

namespace nimbara {

namespace {

QString textOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()).trimmed()
                                          : QString();
}

/// The folder, or the nearest one above it that is there already.
QString existing(const QString &folder)
{
    QString path = QDir::cleanPath(folder);
    while (!QFileInfo::exists(path) && path != QFileInfo(path).path()) {
        path = QFileInfo(path).path();
    }
    return path;
}

/// By its mains supplies: a computer without one tells nothing.
std::optional<bool> isOnBattery(const QString &folder)
{
    std::optional<bool> onBattery;
    const QDir supplies(folder);
    for (const QString &entry : supplies.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString supply = supplies.filePath(entry);
        if (textOf(supply + QStringLiteral("/type")) == QLatin1String("Mains")) {
            const bool isOnline = textOf(supply + QStringLiteral("/online")) == QLatin1String("1");
            onBattery = !isOnline && onBattery.value_or(true);
        }
    }
    return onBattery;
}

#if defined(Q_OS_LINUX)

struct Unref {
    void operator()(GDBusConnection *bus) const { g_object_unref(bus); }
    void operator()(GVariant *value) const { g_variant_unref(value); }
};

std::optional<bool> clockState()
{
    constexpr int patienceMs = 2000;
    const std::unique_ptr<GDBusConnection, Unref> bus(
        g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    if (!bus) {
        return std::nullopt;
    }
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    const std::unique_ptr<GVariant, Unref> answer(g_dbus_connection_call_sync(bus.get(),
        "org.freedesktop.timedate1",
        "/org/freedesktop/timedate1",
        "org.freedesktop.DBus.Properties",
        "Get",
        g_variant_new("(ss)", "org.freedesktop.timedate1", "NTPSynchronized"),
        G_VARIANT_TYPE("(v)"),
        G_DBUS_CALL_FLAGS_NONE,
        patienceMs,
        nullptr,
        nullptr));
    if (!answer) {
        return std::nullopt;
    }
    GVariant *inner = nullptr;
    g_variant_get(answer.get(), "(v)", &inner);
    const std::unique_ptr<GVariant, Unref> value(inner);
    return g_variant_get_boolean(value.get()) != FALSE;
}

#else

std::optional<bool> clockState()
{
    return std::nullopt;
}

#endif

} // namespace

MachineFacts askMachine(const QString &powerFolder)
{
    return { clockState(), isOnBattery(powerFolder) };
}

std::optional<std::int64_t> askDisk(const QString &folder)
{
    const QStorageInfo disk(existing(folder));
    return disk.isValid() ? std::optional<std::int64_t>(disk.bytesAvailable()) : std::nullopt;
}

} // namespace nimbara
