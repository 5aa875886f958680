#pragma once

#include "base/message.h"
#include "translation/service/live_session.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

namespace nimbara {

/// What a service does for the translation, phrase by phrase. Calls belong to a run: from `open` to
/// `close` or to a fatal failure. What comes back from an earlier run has no effect at all.
///
/// Interface thread only, which no call holds up; every callback is called from the event loop,
/// except that `close` may be called from inside one. The service must outlive the callback that
/// it is in.
class LanguageService {
public:
    /// A phrase to be transcribed.
    struct Phrase {
        QString language; ///< code of what is spoken; empty: the service finds it out
        QByteArray wav; ///< a whole WAV file
        QString terms; ///< that may be heard in it, or empty
    };
    /// A text to be translated.
    struct Wording {
        QString target; ///< name of the language
        QString context; ///< what was said and translated just before, or empty
        QString text;
        QString terms; ///< translations to keep to, one a line, or empty
    };
    using Text = std::function<void(const QString &text)>;
    /// 16-bit little-endian mono PCM at 24000 Hz.
    using Sound = std::function<void(const QByteArray &pcm)>;
    /// Gets the HTTP status or one like it, 0 without a whole reply, after the message was issued.
    using Failed = std::function<void(int status)>;

    LanguageService() = default;
    LanguageService(const LanguageService &) = delete;
    LanguageService &operator=(const LanguageService &) = delete;
    LanguageService(LanguageService &&) = delete;
    LanguageService &operator=(LanguageService &&) = delete;
    virtual ~LanguageService() = default;

    /// Begins a run with this key, trimmed already.
    virtual void open(const QString &key) = 0;
    /// Ends the run: forgets the key and aborts every call.
    virtual void close() = 0;
    /// A run is on. Ended by `close` and, after its message, by a fatal failure.
    [[nodiscard]] virtual bool isOpen() const = 0;
    /// Raised by every `close`.
    [[nodiscard]] virtual std::int32_t generation() const = 0;

    /// The first phrase is near.
    virtual void warmUp() = 0;
    virtual void transcribe(const Phrase &phrase, Text done, Failed failed) = 0;
    virtual void translate(const Wording &wording, Text done, Failed failed) = 0;
    virtual void speak(const QString &text, Sound done) = 0;

    /// Gets the message of every failure.
    std::function<void(const Message &message)> statusChanged = [](const Message &) {};
    /// A fatal failure has closed the service.
    std::function<void()> ended = [] {};
};

/// Whose services the translation uses: another provider, or one on this computer, is another of
/// these. Must outlive what it makes.
class ServiceProvider {
public:
    ServiceProvider() = default;
    ServiceProvider(const ServiceProvider &) = delete;
    ServiceProvider &operator=(const ServiceProvider &) = delete;
    ServiceProvider(ServiceProvider &&) = delete;
    ServiceProvider &operator=(ServiceProvider &&) = delete;
    virtual ~ServiceProvider() = default;

    /// One with connections of its own.
    [[nodiscard]] virtual std::unique_ptr<LanguageService> makeService() const = 0;
    [[nodiscard]] virtual std::unique_ptr<LiveSession> makeLiveSession() const = 0;
};

} // namespace nimbara
