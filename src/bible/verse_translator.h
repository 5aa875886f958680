#pragma once

#include "base/message.h"
#include "net/endpoints.h"
#include "net/http_client.h"

#include <QString>

#include <chrono>
#include <functional>

namespace bible {

/// Translates a verse with the OpenAI API. Interface thread only; the callback comes from the event
/// loop, and not after the translator is gone.
class VerseTranslator {
public:
    /// An empty error means success. The error says the same for every failure but one: a
    /// translation that the service cut short is none.
    using Callback = std::function<void(const QString &text, const nimbara::Message &error)>;

    /// `timeout`: of one verse; a longer passage gets more.
    explicit VerseTranslator(nimbara::Endpoint endpoint = nimbara::openAiEndpoint(),
        std::chrono::milliseconds timeout = std::chrono::seconds(20));

    /// `target` is the language's name as the operator wrote it.
    void
    translateVerse(const QString &key, const QString &text, const QString &target, Callback done);

private:
    nimbara::Endpoint m_endpoint;
    std::chrono::milliseconds m_timeout;
    nimbara::HttpClient m_http;
};

} // namespace bible
