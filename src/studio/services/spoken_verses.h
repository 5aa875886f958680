#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "bible/passage.h"
#include "bible/quotation.h"
#include "studio/edit/stage.h"
#include "studio/programs/program_control.h"
#include "studio/services/bible_desk.h"
#include "studio/services/quotation_finder.h"
#include "studio/services/translation_desk.h"
#include "studio/services/verse_desk.h"

#include <QFuture>
#include <QObject>
#include <QSettings>
#include <QString>

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <utility>

namespace nimbara {

/// The references that the preacher says, and the verses that are quoted without one. The newest is
/// offered to the operator, who puts it on PREVIEW and then on air; it goes there by itself only
/// when that is wanted. Where an announced passage is being read, the caption carries the verse of
/// the built-in Bible in the language of the screens, with its reference, in place of a
/// translation. Interface thread only, which never waits.
class SpokenVerses : public QObject {
    Q_OBJECT
public:
    /// All must outlive this.
    struct Surroundings {
        Stage &stage;
        ProgramControl &program;
        VerseDesk &verses;
        BibleDesk &bibles;
        TranslationDesk &translation;
        QuotationFinder &quotations;
        QSettings &settings;
    };
    /// A reference that was cut by the end of a phrase goes on within this.
    static constexpr std::int64_t cutMs = 8000;
    /// A passage that was announced is held against what is read for so long.
    static constexpr std::int64_t announcedMs = 5LL * 60 * 1000;
    /// What was offered is offered again after this.
    static constexpr std::int64_t againMs = 60LL * 1000;
    /// A verse that is read on is shown once; read again after this, it is shown again.
    static constexpr std::int64_t shownMs = 20LL * 1000;
    static constexpr std::size_t mostAnnounced = 3;

    SpokenVerses(const Clock &clock, const Surroundings &surroundings);

    /// The reference that is offered; empty: none is.
    [[nodiscard]] const QString &offered() const { return m_offered; }
    /// It is on PREVIEW.
    [[nodiscard]] bool isPrepared() const { return m_isPrepared; }

    /// Puts the reference on PREVIEW: into the front-most verse layer of its scene, or a new one.
    /// Returns that layer; none without an offer.
    std::optional<LayerId> prepare();
    /// Sends PREVIEW to its program, when it shows the verse that was put there.
    void takeOnAir();
    void dismiss();

    /// Finished references go on PREVIEW and on air by themselves.
    [[nodiscard]] bool goesOnAir() const { return m_goesOnAir; }
    void setGoesOnAir(bool goes);

    /// What the caption of a phrase says in the language of that name: its translation, or the
    /// verses that are being read. Empty while a verse that is on the screens is read on.
    [[nodiscard]] QString
    captionFor(const QString &original, const QString &translation, const QString &language);

Q_SIGNALS:
    /// The offer, what became of it, or `goesOnAir`.
    void changed();
    /// One line for the operator.
    void said(const nimbara::Message &text);

private:
    struct Announced {
        bible::Passage passage;
        std::int64_t ms = 0;
        bible::WrittenVerses written; ///< in the Bible of what is heard
    };
    void hear(const QString &text, bool isGrowing);
    void offer(const bible::Passage &passage, bool isGrowing);
    void showByItself();
    [[nodiscard]] LayerId verseLayer() const;
    void takeQuotation(const bible::Passage &verse, const QString &text, bool isGrowing);
    /// A passage that was announced, or offered a short while ago, is being read in what was said.
    [[nodiscard]] bool isReading(const QString &said) const;
    void announce(const bible::Passage &passage);
    [[nodiscard]] bible::WrittenVerses writtenOf(const bible::Passage &passage) const;
    [[nodiscard]] QString verseCaption(const QList<bible::Passage> &verses, const QString &code);
    [[nodiscard]] const bible::Bible *bibleOf(const QString &code) const;
    [[nodiscard]] std::int64_t nowMs() const { return m_clock.monotonicUs() / 1000; }

    const Clock &m_clock;
    Surroundings m_surroundings;
    QFuture<void> m_ready; ///< the built-in Bibles are loaded
    QString m_source; ///< code of what is heard in the run, whatever is chosen for the next one
    QString m_before; ///< the end of the last phrase
    std::int64_t m_beforeMs = 0;
    std::optional<std::int64_t> m_namedMs; ///< when a reference was said last
    Announced m_last; ///< what was offered last
    QString m_offered;
    bool m_isPrepared = false;
    bool m_goesOnAir = false;
    std::optional<LayerId> m_prepared; ///< shows the verse that was put on PREVIEW last
    std::deque<Announced> m_announced; ///< newest first
    /// When each verse was in a caption, by the code of its language and its label.
    std::map<std::pair<QString, QString>, std::int64_t> m_shown;
};

} // namespace nimbara
