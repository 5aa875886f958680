#include "studio/services/caption_files.h"

#include "studio/outputs/recording_desk.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t againMs = 2000; ///< from a failed write to the next
constexpr std::size_t mostWaiting = 20'000; ///< of a few hundred bytes: a long service
constexpr std::chrono::milliseconds lookAgain { 20 }; ///< whether the rest is on the disk

} // namespace

/// What the background task knows. One task at a time, and nobody else meanwhile.
class CaptionFiles::Disk {
public:
    /// Returns whether all was written.
    bool write(const std::vector<Piece> &pieces)
    {
        std::set<QString> refused; // by one of its pieces, and all behind it wait as well
        for (const Piece &piece : pieces) {
            if (refused.contains(piece.path) || !append(piece)) {
                refused.insert(piece.path);
                m_failed.push_back(piece);
            }
        }
        return m_failed.empty();
    }

    /// The files that have grown since it was asked last.
    std::set<QString> takeGrown() { return std::exchange(m_grown, {}); }

    [[nodiscard]] bool hasFailed() const { return !m_failed.empty(); }
    /// What was not written, in its order.
    std::vector<Piece> takeFailed() { return std::exchange(m_failed, {}); }

private:
    bool append(const Piece &piece)
    {
        QString &path = m_paths[piece.path];
        QByteArray bytes = piece.text.toUtf8();
        if (path.isEmpty()) {
            QDir().mkpath(QFileInfo(piece.path).path());
            path = RecordingDesk::freePath(piece.path);
            bytes.prepend(piece.head.toUtf8());
        }
        const qint64 before = QFileInfo(path).size();
        QFile file(path);
        const bool written
            = file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)
            && file.write(bytes) == bytes.size();
        if (!written) { // no half of a cue stays, and no file without its head
            file.close();
            if (before == 0) {
                file.remove();
                path.clear();
            } else {
                QFile::resize(path, before);
            }
            return false;
        }
        m_grown.insert(path);
        return true;
    }

    std::map<QString, QString> m_paths; ///< where what was wanted lies
    std::vector<Piece> m_failed;
    std::set<QString> m_grown;
};

CaptionFiles::CaptionFiles(const Clock &clock, QString folder, DiskSync sync)
    : m_clock(clock)
    , m_folder(std::move(folder))
    , m_disk(std::make_shared<Disk>())
    , m_sync(std::move(sync))
{
}

void CaptionFiles::begin(const Language &original,
    const Language &translation,
    const Language &second)
{
    endAll();
    m_original.language = original;
    track(Target::First).language = translation;
    track(Target::Second).language = second;
    if (second.code == original.code || second.code == translation.code) {
        track(Target::Second).language.code += QStringLiteral("-2"); // in files of its own
    }
    m_sessionMs = nowMs();
    m_sessionStem = m_folder.isEmpty()
        ? QString()
        : QDir(m_folder).filePath(QDateTime::fromMSecsSinceEpoch(m_clock.wallMs())
                                      .toString(QStringLiteral("yyyy-MM-dd HH-mm-ss")));
    if (m_recording.isEmpty()) {
        moveTo(m_sessionStem, m_sessionMs);
    }
    tellAnew();
}

void CaptionFiles::follow(const QString &recording, std::optional<std::int64_t> positionMs)
{
    if (recording.isEmpty()) {
        if (!std::exchange(m_recording, {}).isEmpty()) {
            moveTo(m_sessionStem, m_sessionMs);
        }
        return;
    }
    if (positionMs && recording != m_recording) {
        m_recording = recording;
        const QFileInfo file(recording);
        moveTo(file.dir().filePath(file.completeBaseName()), nowMs() - *positionMs);
    }
}

/// What is shown goes on in the files of another clock.
void CaptionFiles::moveTo(const QString &stem, std::int64_t zeroMs)
{
    if (stem == m_stem) {
        return;
    }
    endAll();
    m_stem = stem;
    m_zeroMs = zeroMs;
}

QString CaptionFiles::stemOf(Target target) const
{
    const QString &code = m_translations.at(static_cast<std::size_t>(target)).language.code;
    return m_stem.isEmpty() || code.isEmpty() ? QString() : m_stem + QLatin1Char('.') + code;
}

std::int64_t CaptionFiles::sinceZero(std::int64_t ms) const
{
    return std::max<std::int64_t>(ms - m_zeroMs, 0);
}

void CaptionFiles::addPhrase(const QString &original,
    const QString &translation,
    bool isBlock,
    Target target)
{
    Track &shown = track(target);
    const QString &code = shown.language.code;
    const bool isFirst = target == Target::First;
    const auto line = [](const QString &text) { return text.simplified() + QLatin1Char('\n'); };
    if (isFirst) {
        show(m_original, original);
    }
    if (isBlock) {
        show(shown, translation);
    }
    if (isFirst) {
        write(m_original.language.code + QStringLiteral(".txt"), line(original));
    }
    write(code + QStringLiteral(".txt"), line(translation));
    write(isFirst ? QStringLiteral("html") : code + QStringLiteral(".html"),
        cues::pageRow(sinceZero(nowMs()), original, translation),
        cues::pageHead(QFileInfo(m_stem).fileName(),
            m_original.language.name,
            shown.language.name));
}

void CaptionFiles::showBlock(const QString &text, Target target)
{
    show(track(target), text);
}

void CaptionFiles::end(Target target)
{
    if (target == Target::First) {
        close(m_original);
    }
    close(track(target));
}

void CaptionFiles::endAll()
{
    for (const Target target : bothTargets) {
        end(target);
    }
}

void CaptionFiles::show(Track &track, const QString &text)
{
    close(track);
    track.shown = text;
    track.sinceMs = nowMs();
}

void CaptionFiles::close(Track &track)
{
    const QString text = std::exchange(track.shown, {});
    if (text.trimmed().isEmpty()) {
        return;
    }
    const cues::Cue cue { sinceZero(track.sinceMs), sinceZero(nowMs()), text };
    const QString &code = track.language.code;
    write(code + QStringLiteral(".srt"), cues::srt(cue, ++m_numbers[m_stem + code]));
    write(code + QStringLiteral(".vtt"), cues::vtt(cue), cues::vttHead());
}

void CaptionFiles::closeLong(Track &track)
{
    const std::int64_t readMs = track.shown.size() * 1000 / pace;
    if (!track.shown.isEmpty() && nowMs() - track.sinceMs >= std::max(longestMs, readMs)) {
        close(track);
    }
}

void CaptionFiles::write(const QString &end, const QString &text, const QString &head)
{
    if (!m_stem.isEmpty()) {
        m_waiting.push_back({ m_stem + QLatin1Char('.') + end, head, text });
    }
}

void CaptionFiles::poll()
{
    closeLong(m_original);
    for (Track &each : m_translations) {
        closeLong(each);
    }
    takeResult();
    bringWritten();
    writeWaiting();
}

/// A file that is being written is left for later.
void CaptionFiles::bringWritten()
{
    if (m_syncing.isReady()) {
        m_syncing.take();
    }
    if (m_syncing.isUnderWay() || isWriting()) {
        return;
    }
    if (const std::set<QString> grown = m_disk->takeGrown(); !grown.empty()) {
        m_syncing.tryStart([sync = m_sync, grown] {
            std::for_each(grown.begin(), grown.end(), sync);
            return true;
        });
    }
}

ServiceFile::Writing CaptionFiles::takeWaiting()
{
    if (m_waiting.empty() && (!m_disk->hasFailed() || nowMs() < m_againMs)) {
        return {};
    }
    m_againMs = nowMs() + againMs;
    std::vector<Piece> pieces = m_disk->takeFailed();
    std::move(m_waiting.begin(), m_waiting.end(), std::back_inserter(pieces));
    m_waiting.clear();
    if (pieces.size() > mostWaiting) { // the oldest are given up
        pieces.erase(pieces.begin(), pieces.end() - mostWaiting);
    }
    return [disk = m_disk, pieces = std::move(pieces)] { return disk->write(pieces); };
}

QString CaptionFiles::folder() const
{
    return QFileInfo(m_stem).path();
}

bool CaptionFiles::finish(std::chrono::milliseconds patience)
{
    const QDeadlineTimer deadline(patience);
    endAll();
    m_againMs = 0;
    if (!writeRest(patience)) {
        return false;
    }
    for (bringWritten(); m_syncing.isUnderWay(); bringWritten()) {
        if (!m_syncing.isReady(lookAgain) && deadline.hasExpired()) {
            return false;
        }
    }
    return !m_disk->hasFailed();
}

} // namespace nimbara
