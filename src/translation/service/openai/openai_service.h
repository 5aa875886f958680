#pragma once

#include "base/clock.h"
#include "net/endpoints.h"
#include "translation/service/language_service.h"
#include "translation/service/openai/api_client.h"

namespace nimbara {

/// The services of the OpenAI API: phrases by its HTTP calls.
class OpenAiService final : public LanguageService {
public:
    explicit OpenAiService(const Endpoint &endpoint);

    void open(const QString &key) override { m_api.open(key); }
    void close() override { m_api.close(); }
    [[nodiscard]] bool isOpen() const override { return m_api.isOpen(); }
    [[nodiscard]] std::int32_t generation() const override { return m_api.generation(); }

    /// Opens the connection that the first phrase will use.
    void warmUp() override;
    void transcribe(const Phrase &phrase, Text done, Failed failed) override;
    void translate(const Wording &wording, Text done, Failed failed) override;
    void speak(const QString &text, Sound done) override;

private:
    ApiClient m_api;
};

/// The same, and live sessions by its realtime endpoint.
class OpenAiProvider final : public ServiceProvider {
public:
    /// The clock must outlive it.
    OpenAiProvider(const Clock &clock, Endpoint endpoint);

    [[nodiscard]] std::unique_ptr<LanguageService> makeService() const override;
    [[nodiscard]] std::unique_ptr<LiveSession> makeLiveSession() const override;

private:
    const Clock &m_clock;
    Endpoint m_endpoint;
};

} // namespace nimbara
