#include "bible/verse_lookup.h"

#include "base/error.h"

#include <QFutureWatcher>
#include <QPointer>

#include <utility>

namespace bible {

using nimbara::Message;

VerseLookup::VerseLookup(Api &api, VerseTranslator &translator, QFuture<void> ready)
    : m_api(api)
    , m_translator(translator)
    , m_ready(std::move(ready))
{
}

void VerseLookup::lookupVerse(LayerId layer, const QString &typed, const Source &source)
{
    const Asked asked = requireReference(typed, builtInLanguage(source.choice));
    Request request { layer, asked.passage, source };
    request.source.choice = choiceFor(asked.bible,
        source.choice,
        source.apiBibleId.isEmpty() ? QString() : source.apiBibleName);
    if (m_ready.isFinished() && m_waiting == 0) {
        showBuiltIn(request);
    } else {
        showWhenReady(request);
    }
}

void VerseLookup::showWhenReady(const Request &request)
{
    ++m_waiting;
    auto *watcher = new QFutureWatcher<void>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, request] {
        watcher->deleteLater();
        --m_waiting;
        if (!holdsVerse(request.layer)) {
            return;
        }
        try {
            showBuiltIn(request);
        } catch (const nimbara::Error &error) {
            failed(error.message());
        }
    });
    watcher->setFuture(m_ready);
}

void VerseLookup::showBuiltIn(const Request &request)
{
    const auto &[layer, passage, source] = request;
    const BiblePtr bible = firstBible(source.choice);
    if (bible == nullptr) {
        const auto id = importedChoice(source.choice);
        throw nimbara::Error(id
                ? Message("La Biblia %1 no está en este equipo: impórtala o elige otra.",
                    { Message::verbatim(*id) })
                : Message("Biblia incluida no disponible"));
    }
    const QString lang = builtInLanguage(source.choice);
    const VerseUpdate update = builtInVerse(*bible, passage, lang);
    updateLayer(layer, update);
    if (source.choice == QLatin1String("api")) {
        if (source.apiBibleId.isEmpty()) {
            askApiBible(request, {}); // nothing to ask a key for
            return;
        }
        withKey(apiBibleKey, layer, [this, request](const QString &key) {
            askApiBible(request, key);
        });
    } else if (const auto target = translationTarget(source.choice)) {
        withKey(openAiKey,
            layer,
            [this, request, verse = update.text, name = *target](
                const QString &key) { askTranslation(request, verse, name, key); });
    } else {
        const Message missing = missingText(*bible, passage);
        const Message ready = readyStatus(label(passage, lang));
        statusChanged(layer,
            missing.isEmpty() ? ready : ready + Message::verbatim(QStringLiteral(" · ")) + missing);
        ended(layer);
    }
}

void VerseLookup::withKey(const KeySource &source,
    LayerId layer,
    std::function<void(const QString &key)> step)
{
    source([self = QPointer(this), layer, step = std::move(step)](const QString &key) {
        if (self && self->holdsVerse(layer)) {
            step(key);
        }
    });
}

void VerseLookup::askApiBible(const Request &request, const QString &key)
{
    if (key.isEmpty() || request.source.apiBibleId.isEmpty()) {
        statusChanged(request.layer,
            "Versículo mostrado con RV1909: configura la clave y la Biblia de API.Bible "
            "en la pestaña Traducción IA y Biblia.");
        ended(request.layer);
        return;
    }
    statusChanged(request.layer, "Consultando API.Bible...");
    const auto done = [self = QPointer(this), request](const QString &text, const Message &error) {
        if (self) {
            self->finish(request,
                passageOutcome(request.passage, request.source.apiBibleName, text, error));
        }
    };
    m_api.passage(key, request.source.apiBibleId, request.passage, done);
}

void VerseLookup::askTranslation(const Request &request,
    const QString &verse,
    const QString &target,
    const QString &key)
{
    if (key.isEmpty()) {
        statusChanged(request.layer,
            "Versículo en español; para traducirlo a otro idioma añade la API key de "
            "OpenAI.");
        ended(request.layer);
        return;
    }
    statusChanged(request.layer, "Traduciendo versículo...");
    const auto done = [self = QPointer(this), request](const QString &text, const Message &error) {
        if (self) {
            self->finish(request, translationOutcome(request.passage, text, error));
        }
    };
    m_translator.translateVerse(key, verse, target, done);
}

void VerseLookup::finish(const Request &request, const VerseOutcome &outcome)
{
    if (!holdsVerse(request.layer)) {
        return;
    }
    if (outcome.update) {
        updateLayer(request.layer, *outcome.update);
    }
    statusChanged(request.layer, outcome.status);
    ended(request.layer);
}

} // namespace bible
