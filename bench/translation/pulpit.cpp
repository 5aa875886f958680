#include "translation/pulpit.h"

#include "support/fake_device.h"

#include <array>
#include <cmath>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace nimbara::bench {

namespace {

using namespace std::chrono_literals;

constexpr auto blockTime = 10ms;
using Block = std::array<float, 960>;

Block tone()
{
    Block block {};
    for (std::size_t i = 0; i < block.size(); ++i) {
        block.at(i) = 0.3F * std::cos(static_cast<float>(i / 2) * 0.13089969F); // 1000 Hz
    }
    return block;
}

} // namespace

double nowMs()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

Pulpit::Pulpit()
{
    std::array<int, 2> ends {};
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0) {
        m_readEnd = ends[0];
        m_writeEnd = ends[1];
    }
    m_thread = std::thread([this] { deliver(); });
}

Pulpit::~Pulpit()
{
    m_over = true;
    shutdown(m_writeEnd, SHUT_RDWR);
    m_thread.join();
    close(m_writeEnd);
    close(m_readEnd);
}

void Pulpit::deliver()
{
    static const Block voice = tone();
    static const Block silence {};
    auto due = std::chrono::steady_clock::now();
    while (!m_over) {
        due += blockTime;
        std::this_thread::sleep_until(due);
        const bool speaking = m_blocks > 0;
        const Block &block = speaking ? voice : silence;
        if (speaking && --m_blocks == 0) {
            m_ended = nowMs();
        }
        send(m_writeEnd, block.data(), sizeof block, MSG_NOSIGNAL);
    }
}

std::unique_ptr<AudioCapture> Pulpit::capture(const Clock &clock) const
{
    const DeviceRef device = testing::fakeDevice({ .deviceClass = "Audio/Source",
        .caps = "audio/x-raw",
        .opens = "fdsrc fd=" + std::to_string(m_readEnd)
            + " do-timestamp=true blocksize=3840 ! rawaudioparse format=pcm pcm-format=f32le "
              "sample-rate=48000 num-channels=2" });
    return std::make_unique<AudioCapture>(clock, device.get());
}

} // namespace nimbara::bench
