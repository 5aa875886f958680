#pragma once

#include "translation/pipeline/phrase_delay.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace nimbara {

/// What a phrase needs from the service next: its transcript, and with a text its translation.
struct PhraseRequest {
    std::int32_t sequence = 0;
    PhraseTimes times; ///< so far
    QByteArray wav; ///< to be transcribed; empty once there is a text
    QString text;
    QString context; ///< of the translation
};

/// The requests that wait for their turn, in the order of their phrases. While the network is away
/// a request that did not get through stands in its old place again, and one alone is tried after
/// 1, 2, 4 and then every 5 seconds; lost is only what is older than 90 s, and the oldest of more
/// than 48. Pure; times are monotonic milliseconds, but for those of the phrases and `wallMs`, the
/// time of day.
class RequestLine {
public:
    static constexpr std::int32_t maxInFlight = 3;
    /// More phrases than this wait for a slow service only behind a seam.
    static constexpr std::size_t maxWaiting = 6;
    /// What waits behind a seam: a minute and a half of speech at least.
    static constexpr std::size_t maxPatient = 48;
    /// A phrase that is older is of no use on a screen any more.
    static constexpr std::int64_t maxAgeMs = 90LL * 1000;

    /// There is room for one more phrase; behind a seam always, since the oldest makes room.
    [[nodiscard]] bool hasRoom() const;
    void add(const PhraseRequest &request);

    /// Nothing came back for the request: the network is away. Returns whether it will be tried
    /// again; one that is too old will not.
    bool putBack(const PhraseRequest &request, std::int64_t nowMs, std::int64_t wallMs);

    /// Something came back: the network is there.
    void setReached() { m_failures = 0; }

    /// More waits than usual and must not be lost, until the line is empty.
    void bePatient() { m_isPatient = true; }
    [[nodiscard]] bool isPatient() const { return m_isPatient; }

    /// The request of this phrase waits here.
    [[nodiscard]] bool holds(std::int32_t sequence) const { return m_requests.contains(sequence); }

    /// The phrase waits here to be transcribed.
    [[nodiscard]] bool owesTranscript(std::int32_t sequence) const;

    /// The network is away.
    [[nodiscard]] bool isAway() const { return m_failures > 0; }

    /// Takes out what must be given up: what is too old, and the oldest of what is too much.
    std::vector<PhraseRequest> takeUseless(std::int64_t wallMs);

    /// The next request that may be sent beside so many others; none when it has to wait.
    std::optional<PhraseRequest> take(std::int64_t nowMs, std::int32_t inFlight);

    /// The same for the next phrase that is still to be transcribed, whatever waits before it.
    std::optional<PhraseRequest> takeUpload(std::int64_t nowMs, std::int32_t uploading);

    void clear() { *this = {}; }

private:
    [[nodiscard]] bool maySend(std::int64_t nowMs, std::int32_t inFlight) const;
    static bool isTooOld(const PhraseRequest &request, std::int64_t wallMs);

    std::map<std::int32_t, PhraseRequest> m_requests;
    bool m_isPatient = false;
    std::int32_t m_failures = 0; ///< since anything came back
    std::int64_t m_retryAtMs = 0;
};

} // namespace nimbara
