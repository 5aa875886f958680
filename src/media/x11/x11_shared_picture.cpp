#include "media/x11/x11_shared_picture.h"

#include "media/x11/x11_reply.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace nimbara {

namespace {

/// Descriptors travel through a socket of this machine alone.
bool isLocal(xcb_connection_t *connection)
{
    sockaddr_storage address {};
    socklen_t length = sizeof address;
    return getsockname(xcb_get_file_descriptor(connection),
               reinterpret_cast<sockaddr *>(&address),
               &length)
        == 0
        && address.ss_family == AF_UNIX;
}

bool takesDescriptors(xcb_connection_t *connection)
{
    if (!isLocal(connection) || !offersExtension(connection, &xcb_shm_id)) {
        return false;
    }
    const X11Reply<xcb_shm_query_version_reply_t> version(
        xcb_shm_query_version_reply(connection, xcb_shm_query_version(connection), nullptr));
    return version
        && std::pair(version->major_version, version->minor_version)
        >= std::pair<std::uint16_t, std::uint16_t>(1, 2);
}

} // namespace

bool X11SharedPicture::share(xcb_connection_t *connection, std::size_t bytes)
{
    release();
    if (!takesDescriptors(connection)) {
        return false;
    }
    const int file = memfd_create("screen", MFD_CLOEXEC);
    if (file < 0) {
        return false;
    }
    void *memory = ftruncate(file, static_cast<off_t>(bytes)) == 0
        ? mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
        : MAP_FAILED;
    if (memory == MAP_FAILED) {
        close(file);
        return false;
    }
    const auto segment = xcb_generate_id(connection);
    // The connection closes the file once it is on its way.
    const X11Reply<xcb_generic_error_t> refused(
        xcb_request_check(connection, xcb_shm_attach_fd_checked(connection, segment, file, 0)));
    if (refused || xcb_connection_has_error(connection) != 0) {
        munmap(memory, bytes);
        return false;
    }
    m_connection = connection;
    m_segment = segment;
    m_memory = static_cast<std::uint8_t *>(memory);
    m_bytes = bytes;
    return true;
}

void X11SharedPicture::release()
{
    if (m_memory != nullptr) {
        xcb_shm_detach(m_connection, m_segment);
        munmap(std::exchange(m_memory, nullptr), m_bytes);
    }
}

} // namespace nimbara
