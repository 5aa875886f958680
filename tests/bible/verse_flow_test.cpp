#include "app/error.h"
#include "bible/verse_flow.h"
#include "support/test_registry.h"

#include <QTest>

using namespace Qt::StringLiterals;
class VerseFlowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void choices();
    void failures();
    void sourceNames();
};

void VerseFlowTest::choices()
{
    const auto choice = [](const char *stored, const char *target) {
        return bible::bibleChoice(QString::fromUtf8(stored), QString::fromUtf8(target)).toUtf8();
    };
    for (const char *chosen : { "es", "en", "api" }) {
        QCOMPARE(choice(chosen, "Deutsch"), QByteArray(chosen));
    }
    QCOMPARE(choice("auto", "English"), QByteArray("en"));
    QCOMPARE(choice("auto", "  INGLÉS (británico) "), QByteArray("en"));
    QCOMPARE(choice("auto", "Español"), QByteArray("es"));
    QCOMPARE(choice("auto", "spanish (Mexico)"), QByteArray("es"));
    QCOMPARE(choice("auto", " Português "), QByteArray("other:português"));
    QCOMPARE(choice("EN", "Français"), QByteArray("other:français"));
}

void VerseFlowTest::failures()
{
    const auto thrown = [](const bible::Bible &bible, const char *typed) {
        try {
            const bible::Ref ref = bible::requireReference(QString::fromUtf8(typed));
            bible::builtInVerse(bible, ref, u"es"_s);
        } catch (const nimbara::Error &caught) {
            return caught.text();
        }
        return QString();
    };
    for (const char *typed : { "Juan 0:1", "Juan", "xyz 3:16" }) {
        QCOMPARE(thrown(bible::spanish(), typed),
            u"Cita no reconocida. Ejemplo: Juan 3:16 o Salmos 23"_s);
    }
    for (const char *typed : { "Judas 2:1", "Jonás 1:17" }) {
        QCOMPARE(thrown(bible::spanish(), typed), u"Esa cita no existe en la Biblia"_s);
    }
    QCOMPARE(thrown({}, "Juan 3:16"), u"Biblia incluida no disponible"_s);
}

void VerseFlowTest::sourceNames()
{
    const auto reference = [](const char *listed) {
        const bible::Ref ref { 42, 3, 16, 16 };
        return bible::passageOutcome(ref, QString::fromUtf8(listed), u"x"_s, {})
            .update.value()
            .reference.toUtf8();
    };
    QCOMPARE(reference("La Biblia (2a ed.) (X)"), QByteArray("Juan 3:16 · La Biblia"));
    QCOMPARE(reference("bib-01"), QByteArray("Juan 3:16 · bib-01"));
    QCOMPARE(reference(""), QByteArray("Juan 3:16 · API.Bible"));
}

NIMBARA_TEST(VerseFlowTest)
#include "verse_flow_test.moc"
