#pragma once

#include "base/message.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <span>

namespace nimbara {

/// What a test of the line measured of one destination.
struct LineReading {
    QString name;
    bool wasReached = false; ///< its server took the stream, up to the end
    std::int64_t bitsPerSecond = 0; ///< that it took
    bool tookAll = false; ///< nothing was dropped for it or left waiting
    Message failure; ///< why it was not; empty: it was
};

/// For how many of the destinations that were reached the line has room, when each gets
/// `videoKbits` and the sound: those that took all, or more by the sum of what was taken.
int roomFor(std::span<const LineReading> readings, int videoKbits);

/// The same in the operator's words, with what each destination took or why it was not reached.
Message lineVerdict(std::span<const LineReading> readings, int videoKbits);

/// The road on which the server's platform takes a stream that nobody is shown, where it has a
/// public one: the whole URL. `server`, `key`: checked (`checkedServer`, `checkedKey`).
///
/// Twitch: a key that ends in "?bandwidthtest=true" (its documentation of broadcast settings).
std::optional<QString> testRoad(const QString &server, const QString &key);

} // namespace nimbara
