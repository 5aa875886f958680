#pragma once

#include "output/encode/encoded_tap.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace nimbara {

/// The taps of one program's encoders. Thread-safe.
class TapList {
public:
    /// Takes part for as long as it lives.
    void add(const std::shared_ptr<EncodedTap> &tap);

    /// Another encoder of the track begins: nothing more is taken of the one before. Gives its
    /// number.
    unsigned beginFeed(Track track);
    /// From the encoder of that number, on its thread.
    void take(Track track, unsigned feed, const EncodedUnit &unit);
    void end(Track track, unsigned feed);

    /// Pictures that came since the start.
    [[nodiscard]] std::uint64_t pictures() const { return m_pictures; }
    /// Of those, key frames.
    [[nodiscard]] std::uint64_t keys() const { return m_keys; }

private:
    template <typename Give> void give(Track track, unsigned feed, Give give);
    unsigned &feedOf(Track track) { return track == Track::Picture ? m_pictureFeed : m_soundFeed; }

    std::mutex m_mutex;
    std::vector<std::weak_ptr<EncodedTap>> m_taps;
    unsigned m_pictureFeed = 0;
    unsigned m_soundFeed = 0;
    std::atomic<std::uint64_t> m_pictures = 0;
    std::atomic<std::uint64_t> m_keys = 0;
};

/// From now on the taps get what reaches `sink`, an app sink at the end of an encoder that was not
/// started yet. `lead`: ns of the sound encoder's own in front of the sound: the receiver hears
/// them as sound, so all sound comes late by them; so does the picture.
void feedTaps(GstElement *sink,
    Track track,
    const std::shared_ptr<TapList> &taps,
    std::uint64_t lead);

} // namespace nimbara
