#pragma once

#include "base/background_task.h"
#include "base/clock.h"
#include "studio/outputs/disk_sync.h"
#include "studio/services/service_file.h"
#include "translation/pipeline/caption.h"
#include "translation/pipeline/caption_cues.h"

#include <QString>

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// The captions of a service on file: of the original and of each translation SubRip, WebVTT and
/// plain text, and for each translation a page of it beside the original. They lie beside the
/// recording that runs, on its clock; without one in a folder of their own, since the start of the
/// translation. Each caption is written when its end is known, on a background task, so that a
/// crash loses one at most; what a full disk refuses is tried again. That it reaches the disk is
/// the affair of another task, which a slow disk may keep. Nothing that exists is overwritten.
/// Interface thread only, which never waits but at the end.
class CaptionFiles final : public ServiceFile {
    Q_OBJECT
public:
    /// A caption that nothing follows ends after so long, or when it can be read.
    static constexpr std::int64_t longestMs = 8000;
    static constexpr std::int32_t pace = 15; ///< letters per second

    /// `folder`: of services without a recording; empty: they have no files.
    CaptionFiles(const Clock &clock, QString folder, DiskSync sync = bringToDisk);

    /// A translation begins: codes and names of its languages. `second`: of another translation of
    /// the same original; without a code there is none.
    struct Language {
        QString code; ///< part of the files' names, "es"
        QString name; ///< on the page
    };
    void begin(const Language &original, const Language &translation, const Language &second = {});

    /// Where the recording is: its file, and the time on its clock of the picture that is made now;
    /// none while there is no such picture. Call on each frame, before the captions.
    void follow(const QString &recording, std::optional<std::int64_t> positionMs);

    /// The first word of a phrase is on the pictures that are made now. `isBlock`: the translation
    /// is shown as it is, not in blocks. The original is kept as it comes with the first one.
    void addPhrase(const QString &original,
        const QString &translation,
        bool isBlock,
        Target target = Target::First);
    /// A block of the translation is on those pictures; empty: none is.
    void showBlock(const QString &text, Target target = Target::First);
    /// Nothing follows of it for now.
    void end(Target target);

    /// Path of the present files in that language without their ends; empty where there are none.
    [[nodiscard]] QString stemOf(Target target) const;
    /// A monotonic time on their clock, both in milliseconds.
    [[nodiscard]] std::int64_t sinceZero(std::int64_t ms) const;

    /// Writes what is due. Call on each frame.
    void poll();
    /// Writes the rest, before the program ends; returns whether it is written by then.
    bool finish(std::chrono::milliseconds patience);

private:
    class Disk;
    struct Piece {
        QString path;
        QString head; ///< of a file that is new
        QString text;
    };
    /// The captions of one language, of which the last may not have ended.
    struct Track {
        Language language;
        QString shown; ///< without an end yet
        std::int64_t sinceMs = 0; ///< monotonic
    };

    void endAll();
    [[nodiscard]] Track &track(Target target)
    {
        return m_translations.at(static_cast<std::size_t>(target));
    }
    void show(Track &track, const QString &text);
    void close(Track &track);
    void closeLong(Track &track);
    void moveTo(const QString &stem, std::int64_t zeroMs);
    void write(const QString &end, const QString &text, const QString &head = {});
    void bringWritten();
    Writing takeWaiting() override;
    [[nodiscard]] QString folder() const override;
    [[nodiscard]] std::int64_t nowMs() const { return m_clock.monotonicUs() / 1000; }

    const Clock &m_clock;
    QString m_folder;
    QString m_recording; ///< beside which the files lie; empty: none runs
    QString m_sessionStem; ///< of the files without a recording
    std::int64_t m_sessionMs = 0; ///< monotonic, when the translation began
    QString m_stem; ///< path of the present files, without their ends
    std::int64_t m_zeroMs = 0; ///< monotonic, of their clock
    Track m_original;
    std::array<Track, bothTargets.size()> m_translations; ///< by `Target`
    std::map<QString, std::int64_t> m_numbers; ///< of the last cue, by file
    std::vector<Piece> m_waiting;
    std::int64_t m_againMs = 0; ///< monotonic, when what failed is tried again by itself
    std::shared_ptr<Disk> m_disk;
    const DiskSync m_sync;
    BackgroundTask<bool> m_syncing;
};

} // namespace nimbara
