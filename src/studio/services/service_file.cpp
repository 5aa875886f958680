#include "studio/services/service_file.h"

#include <QDeadlineTimer>

#include <system_error>
#include <utility>

namespace nimbara {

namespace {

constexpr std::chrono::milliseconds lookAgain { 20 }; ///< whether the rest is written

} // namespace

void ServiceFile::takeResult()
{
    if (m_writing.isReady() && !m_writing.take()) {
        tellFailure();
    }
}

void ServiceFile::tellFailure()
{
    if (!std::exchange(m_hasFailed, true)) {
        Q_EMIT failed(Message("No se pueden escribir los archivos de la traducción en %1",
            { Message::verbatim(folder()) }));
    }
}

void ServiceFile::writeWaiting()
{
    if (m_writing.isUnderWay()) {
        return;
    }
    if (!m_next) {
        m_next = takeWaiting();
    }
    try {
        if (m_next) {
            m_writing.start(m_next);
            m_next = nullptr;
        }
    } catch (const std::system_error &) {
        return; // no thread left: it waits
    }
}

bool ServiceFile::writeRest(std::chrono::milliseconds patience)
{
    const QDeadlineTimer deadline(patience);
    for (writeWaiting(); m_writing.isUnderWay(); writeWaiting()) {
        if (!m_writing.isReady(lookAgain) && deadline.hasExpired()) {
            return false;
        }
        takeResult();
    }
    return !m_next;
}

} // namespace nimbara
