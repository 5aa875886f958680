#pragma once

#include "studio/services/service_key.h"
#include "studio/services/translation_desk.h"
#include "studio/services/verse_desk.h"

#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>

namespace nimbara {

/// Where verses come from, as the operator chose it: one of the built-in Bibles, or an online one
/// with the operator's key. Kept from one run to the next. Interface thread only, which never
/// waits.
class BibleDesk : public QObject {
    Q_OBJECT
public:
    /// All must outlive the desk.
    struct Surroundings {
        VerseDesk &verses;
        const TranslationDesk &translation; ///< its target decides the automatic choice
        SecretStore &secrets;
        QSettings &settings;
    };
    static constexpr int choices = 4;

    explicit BibleDesk(const Surroundings &surroundings);

    /// Of the service that online Bibles come from.
    [[nodiscard]] ServiceKey &key() { return m_key; }

    /// 0: by the language of the captions, 1: Spanish, 2: English, 3: online; 0 for an imported
    /// one.
    [[nodiscard]] int choice() const;
    void choose(int choice);
    /// The identifier of the imported Bible that is chosen, whether it is there or not; or empty.
    [[nodiscard]] QString imported() const;
    void chooseImported(const QString &id);

    /// What a lookup asks, see `bible::bibleChoice`.
    [[nodiscard]] QString resolvedChoice() const;
    /// The language that a lookup labels references in at first: "es" or "en".
    [[nodiscard]] QString language() const { return bible::builtInLanguage(resolvedChoice()); }
    /// The Bible that a lookup shows first; none when it is an imported one that is not there. The
    /// built-in ones must be loaded.
    [[nodiscard]] bible::BiblePtr first() const { return bible::firstBible(resolvedChoice()); }
    /// The same where `named` stands behind the reference; that of `first` when it is not here.
    [[nodiscard]] bible::BiblePtr firstFor(const QString &named) const;
    /// The text of a lookup comes from the network, behind a built-in one.
    [[nodiscard]] bool isOnline() const;

    /// The online Bible; its id is empty when none was chosen, its name when none is known.
    [[nodiscard]] bible::ListedBible online() const;
    void chooseOnline(const bible::ListedBible &bible);

    /// Shows the verse in the layer; see `VerseDesk::lookupVerse`. A reference that may mean
    /// several passages shows nothing: it is `doubtful`.
    void lookUp(LayerId layer, const QString &typed) { lookUp(layer, typed, chosen()); }
    /// The same from where a text came before (`whereFrom`), whatever is chosen by now.
    void lookUp(LayerId layer, const QString &typed, const bible::VerseLookup::Source &source);
    /// Where a text came from whose reference line names this source, to be looked up there again.
    /// What cannot be told is as chosen. The built-in Bibles must be loaded.
    [[nodiscard]] bible::VerseLookup::Source whereFrom(const QString &name) const;

    /// Lists the Spanish Bibles that the key may read, and keeps the key.
    void findBibles();

Q_SIGNALS:
    /// `preferred`: the place of the one to choose; -1 in an empty list.
    void biblesFound(const QList<bible::ListedBible> &bibles, int preferred);
    void failed(const nimbara::Message &reason);
    /// `offers`: what may be meant, each a reference to look up, "Jueces 3:16".
    void doubtful(nimbara::LayerId layer, const QStringList &offers);
    /// One line for the operator.
    void said(const nimbara::Message &text);

private:
    [[nodiscard]] bible::VerseLookup::Source chosen() const;
    void listBibles(const QString &key);

    Surroundings m_surroundings;
    ServiceKey m_key;
};

} // namespace nimbara
