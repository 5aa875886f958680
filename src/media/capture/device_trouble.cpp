#include "media/capture/device_trouble.h"

#include "media/gst/bus_error.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace nimbara {

namespace {

/// It opens cameras for others.
constexpr std::array mediaServices { "pipewire", "wireplumber" };

/// The system writes it in the language of the desktop.
bool tells(const QString &text, int number, const char *english)
{
    return text.contains(QString::fromLocal8Bit(std::strerror(number)), Qt::CaseInsensitive)
        || text.contains(QLatin1String(english), Qt::CaseInsensitive);
}

bool hasOpen(const QString &process, const QString &file)
{
    const QDir held(process + QStringLiteral("/fd"));
    const QStringList entries = held.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot);
    return std::any_of(entries.begin(), entries.end(), [&](const QString &entry) {
        return QFile::symLinkTarget(held.filePath(entry)) == file;
    });
}

QString programName(const QString &process)
{
    QFile name(process + QStringLiteral("/comm"));
    return name.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(name.readAll()).trimmed()
                                          : QString();
}

} // namespace

QString programUsing(const QString &file)
{
    const QString own = QString::number(QCoreApplication::applicationPid());
    const QDir processes(QStringLiteral("/proc"));
    for (const QString &entry : processes.entryList({ QStringLiteral("[0-9]*") }, QDir::Dirs)) {
        const QString process = processes.filePath(entry);
        if (entry == own || !hasOpen(process, file)) {
            continue;
        }
        QString name = programName(process);
        const auto isIt = [&](const char *service) { return name == QLatin1String(service); };
        if (std::none_of(mediaServices.begin(), mediaServices.end(), isIt)) {
            return name;
        }
    }
    return {};
}

Message troubleOf(const GError &error, const QString &debug, const QString &file)
{
    const QString text = QString::fromUtf8(error.message) + QLatin1Char('\n') + debug;
    const bool isBusy = error.domain == GST_RESOURCE_ERROR && error.code == GST_RESOURCE_ERROR_BUSY;
    if (isBusy || tells(text, EBUSY, "resource busy")) {
        const QString program = file.isEmpty() ? QString() : programUsing(file);
        return program.isEmpty()
            ? Message("otro programa usa la cámara; ciérralo.")
            : Message("%1 usa la cámara; ciérralo.", { Message::verbatim(program) });
    }
    if (tells(text, ENOSPC, "no space left on device")) {
        return "el bus USB está lleno; conéctala a otro puerto o elige un modo menor.";
    }
    if (tells(text, EACCES, "permission denied") || tells(text, EPERM, "not permitted")) {
        return "no hay permiso para usar la cámara; añade tu usuario al grupo video.";
    }
    return {};
}

std::shared_ptr<DeviceTrouble> DeviceTrouble::watch(const Pipeline &pipeline, const QString &file)
{
    auto trouble = std::make_shared<DeviceTrouble>();
    trouble->m_file = file;
    const auto note = [](GstBus *, GstMessage *message, gpointer watched) {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
            (*static_cast<std::shared_ptr<DeviceTrouble> *>(watched))->note(message);
        }
        return GST_BUS_PASS;
    };
    gst_bus_set_sync_handler(pipeline.bus(),
        note,
        std::make_unique<std::shared_ptr<DeviceTrouble>>(trouble).release(),
        [](gpointer watched) { delete static_cast<std::shared_ptr<DeviceTrouble> *>(watched); });
    return trouble;
}

void DeviceTrouble::note(GstMessage *message)
{
    const auto [error, debug] = busError(message);
    if (!error) {
        return;
    }
    const Message text = troubleOf(*error, QString::fromUtf8(debug.get()), m_file);
    if (!text.isEmpty()) { // what follows from it has no name
        const std::lock_guard hold(m_mutex);
        m_text = text;
    }
}

Message DeviceTrouble::text() const
{
    const std::lock_guard hold(m_mutex);
    return m_text;
}

} // namespace nimbara
