#pragma once

#include "media/gst/gst_handles.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <vector>

namespace nimbara {

/// Speech of one channel in an Ogg file of Opus (RFC 7845), which grows by whole pages while it is
/// written: what was pushed is in the file half a second later, whatever becomes of the process.
/// Where nothing is pushed there is silence.
///
/// Waits for the disk: for a background task, one at a time.
class VoiceTrack {
public:
    /// Begins the file, over one that exists. Throws `Error` with the operator's text.
    explicit VoiceTrack(const QString &path);

    /// Appends 16-bit values at 48000 Hz that are heard from `atMs` of the file on. Where that is
    /// more than `slackMs` behind the end of what came before, silence comes first; otherwise they
    /// follow it end to end. Without values the silence alone.
    void push(std::int64_t atMs, const std::vector<std::int16_t> &values);
    static constexpr std::int64_t slackMs = 40;

    /// Nothing has failed so far.
    [[nodiscard]] bool isWell();

    /// Ends the file; nothing is pushed afterwards. Gives up when the file has not grown for as
    /// long as the patience. Returns whether all of it is written.
    bool finish(std::chrono::milliseconds patience);

private:
    void append(BufferRef buffer, std::int64_t frames);
    void appendSilence(std::int64_t frames);

    const QString m_path;
    bool m_isWell = true;
    std::int64_t m_frames = 0; ///< pushed so far
    Pipeline m_pipeline;
    ElementRef m_source;
};

} // namespace nimbara
