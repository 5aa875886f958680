#pragma once

#include "bible/api.h"
#include "bible/verse_lookup.h"
#include "bible/verse_translator.h"
#include "net/endpoints.h"
#include "studio/edit/stage.h"
#include "studio/report.h"

#include <QString>

#include <cstdint>
#include <functional>

namespace nimbara {

/// Looks verses up for the layers of the scene in PREVIEW. A layer is known by its place: an answer
/// that comes later goes to that place of the scene that is current then, if a verse layer is
/// there. Interface thread only.
class VerseDesk {
public:
    /// `stage` must outlive the desk. Begins to load the built-in Bibles in the background.
    VerseDesk(const Endpoint &openAi, const Endpoint &apiBible, Stage &stage, Report status);

    /// Shows the verse in the layer; does nothing without such a layer. Throws `Error`, with the
    /// layer unchanged, for a reference that is not recognised or not in the Bible.
    void
    lookupVerse(std::int32_t layer, const QString &typed, const bible::VerseLookup::Source &source);

    /// The front-most verse layer of the current scene, or a new one in front of all others.
    std::int32_t quickVerseLayer();

    /// Lists the Spanish Bibles that the key may read.
    void listBibles(const QString &key, bible::Api::BiblesCallback done);

    /// Where the operator's keys come from, asked when one is needed. Never empty.
    void setKeys(bible::VerseLookup::KeySource apiBible, bible::VerseLookup::KeySource openAi);

    /// The verse layer at this index of the current scene has another text or name. Never empty.
    std::function<void(std::int32_t layer)> onLayerWritten = [](std::int32_t) {};
    /// A lookup that had to wait for the Bibles has failed; the operator's text, untranslated.
    /// Never empty.
    std::function<void(const QString &text)> onFailed = [](const QString &) {};

private:
    [[nodiscard]] Layer *verseLayer(bible::VerseLookup::LayerId place);
    void write(bible::VerseLookup::LayerId place, const bible::VerseUpdate &update);
    void tell(bible::VerseLookup::LayerId place, const QString &text);

    Stage &m_stage;
    Report m_status;
    bible::Api m_api;
    bible::VerseTranslator m_translator;
    bible::VerseLookup m_lookup;
};

} // namespace nimbara
