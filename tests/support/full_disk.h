#pragma once

#include <csignal>
#include <sys/resource.h>

namespace nimbara::testing {

/// While it lives, no file of this process grows beyond `bytes`: a full disk.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes)
        : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit full { bytes, m_before.rlim_max };
        setrlimit(RLIMIT_FSIZE, &full);
    }
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;
    FullDisk(FullDisk &&) = delete;
    FullDisk &operator=(FullDisk &&) = delete;
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        static_cast<void>(std::signal(SIGXFSZ, m_handler));
    }

private:
    rlimit m_before {};
    void (*m_handler)(int);
};

} // namespace nimbara::testing
