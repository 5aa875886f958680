#pragma once

#include <QFile>
#include <QString>

#include <array>
#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace nimbara::testing {

/// A file on a disk that hangs: to open it for writing takes until `answer`, and what is written
/// stops after 4 KiB until `drain`. Must outlive whoever writes, who needs `drain` to end.
class HungFile {
public:
    explicit HungFile(const QString &path)
        : m_path(QFile::encodeName(path))
    {
        ::mkfifo(m_path.constData(), 0600);
    }
    HungFile(const HungFile &) = delete;
    HungFile &operator=(const HungFile &) = delete;
    HungFile(HungFile &&) = delete;
    HungFile &operator=(HungFile &&) = delete;
    ~HungFile()
    {
        m_drain = {};
        ::close(m_reader);
    }

    void answer()
    {
        if (m_reader < 0) {
            m_reader = ::open(m_path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
            ::fcntl(m_reader, F_SETPIPE_SZ, 4096);
        }
    }
    void drain()
    {
        answer();
        m_drain = std::jthread([pipe = m_reader](const std::stop_token &stop) {
            std::array<char, 4096> bytes {};
            while (!stop.stop_requested()) {
                if (::read(pipe, bytes.data(), bytes.size()) <= 0) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(2));
                }
            }
        });
    }

private:
    QByteArray m_path;
    int m_reader = -1;
    std::jthread m_drain;
};

} // namespace nimbara::testing
