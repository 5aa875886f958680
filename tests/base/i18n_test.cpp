#include "base/error.h"
#include "base/i18n.h"
#include "support/test_registry.h"

using namespace Qt::StringLiterals;

class I18nTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { nimbara_i18n::language() = u"es"_s; }

    void startLanguage()
    {
        for (const auto &[setting, locale, expected] : { std::tuple { "en", "es_MX", "en" },
                 { "es", "en_US", "es" },
                 { "", "es_CO", "es" },
                 { "", "ko_KR", "en" },
                 { "fr", "en_US", "en" },
                 { "fr", "es_ES", "es" },
                 { "EN", "es_ES", "es" } }) {
            QCOMPARE(
                nimbara_i18n::startLanguage(QLatin1String(setting), QLocale(QLatin1String(locale))),
                QLatin1String(expected));
        }
    }

    void translates()
    {
        for (const auto &[language, text, shown] : { std::tuple { "en", "Cámara", "Camera" },
                 { "en", "Cámara: ", "Camera: " },
                 { "en", "Cámara 7", "Cámara 7" },
                 { "en", "Fundido 0.4 s", "Fade 0.4 s" },
                 { "es", "Cámara", "Cámara" } }) {
            nimbara_i18n::language() = QLatin1String(language);
            QCOMPARE(nimbara_i18n::tr(text), QString::fromUtf8(shown));
            QCOMPARE(nimbara_i18n::tr(QString::fromUtf8(text)), QString::fromUtf8(shown));
        }
    }

    void translatesMessages()
    {
        using nimbara::Message;
        const auto words
            = [](const char *text) { return Message::verbatim(QString::fromUtf8(text)); };
        const Message code("Fundido %1 s", { words("%1") }); // no row of the table
        for (const auto &[message, spanish, english] : { std::tuple { Message(), "", "" },
                 { "Cámara: " + Message("Cámara"), "Cámara: Cámara", "Camera: Camera" },
                 { "Cámara: " + words("Cámara"), "Cámara: Cámara", "Camera: Cámara" },
                 { Message() + "Cámara: " + words("5 %1"), "Cámara: 5 %1", "Camera: 5 %1" },
                 { "Cámara: " + code, "Cámara: Fundido %1 s", "Camera: Fundido %1 s" },
                 { { "%2/%1/%3", { "Cámara", words("%1") } }, "%1/Cámara/%3", "%1/Camera/%3" } }) {
            const nimbara::Error error(message);
            QCOMPARE(error.text(), QString::fromUtf8(spanish));
            QCOMPARE(nimbara_i18n::tr(message), QString::fromUtf8(spanish));
            nimbara_i18n::language() = u"en"_s;
            QCOMPARE(nimbara_i18n::tr(nimbara::errorMessage(error)), QString::fromUtf8(english));
            nimbara_i18n::language() = u"es"_s;
        }
    }
};

NIMBARA_TEST(I18nTest)
#include "i18n_test.moc"
