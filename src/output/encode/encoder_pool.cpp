#include "output/encode/encoder_pool.h"

#include "base/memory_policy.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t restNs = 5'000'000'000; ///< after an encoder's end

} // namespace

std::shared_ptr<ProgramEncoder> EncoderPool::take(const EncoderProfile &profile)
{
    forgetEnded();
    for (const Entry &entry : m_entries) {
        if (entry.profile != profile) {
            continue;
        }
        auto encoder = entry.encoder.lock();
        if (encoder && !encoder->hasEnded() && encoder->poll().isEmpty()) {
            return encoder;
        }
    }
    auto encoder = make(profile);
    m_entries.push_back({ profile, encoder });
    return encoder;
}

/// Its end may block, and a look at it may be the last that holds it. Whoever lets go of it
/// elsewhere is on a background task already.
std::shared_ptr<ProgramEncoder> EncoderPool::make(const EncoderProfile &profile) const
{
    auto encoder = std::make_unique<ProgramEncoder>(profile, m_converter, &m_h264.choice());
    const auto leave
        = [weak = m_retirement, home = std::this_thread::get_id()](ProgramEncoder *dropped) {
              std::unique_ptr<ProgramEncoder> last(dropped);
              if (std::this_thread::get_id() != home) {
                  return;
              }
              if (const auto retirement = weak.lock()) {
                  retirement->retire(std::move(last));
              }
          };
    return { encoder.release(), leave };
}

void EncoderPool::forgetEnded()
{
    m_hasEnded
        |= std::erase_if(m_entries, [](const auto &each) { return each.encoder.expired(); }) > 0;
}

/// Starts and ends in a row leave their memory to one another, and an encoder at work is not held
/// up.
void EncoderPool::rest(std::int64_t tNs)
{
    forgetEnded();
    if (std::exchange(m_hasEnded, false)) {
        m_endedNs = tNs;
    }
    if (m_endedNs && m_entries.empty() && tNs - *m_endedNs >= restNs) {
        m_endedNs.reset();
        static_cast<void>(m_givesBack.tryStart(giveBackFreedMemory));
    }
}

void EncoderPool::poll(std::int64_t tNs)
{
    rest(tNs);
    m_rateShare = 1;
    bool canSpare = false;
    for (Entry &entry : m_entries) {
        if (const auto encoder = entry.encoder.lock()) {
            count(entry, *encoder);
            encoder->setEffort(effortNow());
            encoder->fitRate();
            canSpare = canSpare || (encoder->canSpare() && !isTight());
            m_rateShare = std::min(m_rateShare, encoder->rateShare());
            if (const EncoderChoice *failed = encoder->givenUp()) {
                m_h264.distrust(*failed);
            }
        }
    }
    m_pressure.observe(tNs, m_pushed, m_lost, canSpare);
}

void EncoderPool::count(Entry &entry, const ProgramEncoder &encoder)
{
    m_pushed += encoder.pushed() - std::exchange(entry.pushed, encoder.pushed());
    const std::uint64_t lost = std::max(encoder.lost(), entry.lost); // one may be on its way out
    m_lost += lost - std::exchange(entry.lost, lost);
    m_leftOut += encoder.leftOut() - std::exchange(entry.leftOut, encoder.leftOut());
}

/// Two encoders have no core to spare for each other on the smallest machines.
bool EncoderPool::isTight() const
{
    static const bool isSmall = std::thread::hardware_concurrency() <= 2;
    return isSmall && m_entries.size() > 1;
}

Effort EncoderPool::effortNow() const
{
    return std::max(m_pressure.effort(), isTight() ? Effort::Cheaper : Effort::Full);
}

} // namespace nimbara
