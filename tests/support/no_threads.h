#pragma once

#include <cstddef>
#include <pthread.h>

namespace nimbara::testing {

/// While it lives, the system has no thread left for who asks for one as usual: their stacks are
/// larger than what memory there can be.
class NoThreads {
public:
    NoThreads()
    {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t huge {};
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t { 1 } << 47);
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    NoThreads(const NoThreads &) = delete;
    NoThreads &operator=(const NoThreads &) = delete;
    NoThreads(NoThreads &&) = delete;
    NoThreads &operator=(NoThreads &&) = delete;
    ~NoThreads()
    {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }

private:
    pthread_attr_t m_before {};
};

} // namespace nimbara::testing
