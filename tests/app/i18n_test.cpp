#include "app/i18n.h"
#include "app/text_table.h"
#include "support/test_registry.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

class I18nTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { nimbara_i18n::language() = QStringLiteral("es"); }

    void startLanguage_data()
    {
        QTest::addColumn<QString>("setting");
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("expected");
        QTest::newRow("stored English wins") << "en"
                                             << "es_MX"
                                             << "en";
        QTest::newRow("stored Spanish wins") << "es"
                                             << "en_US"
                                             << "es";
        QTest::newRow("nothing stored, Spanish system") << ""
                                                        << "es_CO"
                                                        << "es";
        QTest::newRow("nothing stored, Korean system") << ""
                                                       << "ko_KR"
                                                       << "en";
        QTest::newRow("unknown on English system") << "fr"
                                                   << "en_US"
                                                   << "en";
        QTest::newRow("unknown on Spanish system") << "fr"
                                                   << "es_ES"
                                                   << "es";
        QTest::newRow("case matters") << "EN"
                                      << "es_ES"
                                      << "es";
    }
    void startLanguage()
    {
        QFETCH(QString, setting);
        QFETCH(QString, locale);
        QTEST(nimbara_i18n::startLanguage(setting, QLocale(locale)), "expected");
    }

    void translates_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        QTest::newRow("plain") << "en"
                               << "Cámara"
                               << "Camera";
        QTest::newRow("another key") << "en"
                                     << "Cámara: "
                                     << "Camera: ";
        QTest::newRow("signal prefix") << "en"
                                       << "Fuente sin señal: no route [x.c:1]"
                                       << "Source lost signal: no route [x.c:1]";
        QTest::newRow("prefix inside") << "en"
                                       << "X Fuente sin señal: y"
                                       << "X Fuente sin señal: y";
        QTest::newRow("unknown") << "en"
                                 << "Cámara 7"
                                 << "Cámara 7";
        QTest::newRow("Spanish") << "es"
                                 << "Cámara"
                                 << "Cámara";
        QTest::newRow("Spanish prefix") << "es"
                                        << "Fuente sin señal: x"
                                        << "Fuente sin señal: x";
        QTest::newRow("twin") << "en"
                              << "Fundido 0.4 s"
                              << "Fade 0.4 s";
    }
    void translates()
    {
        QFETCH(QString, language);
        QFETCH(QString, text);
        QFETCH(QString, shown);
        nimbara_i18n::language() = language;
        QCOMPARE(nimbara_i18n::tr(text), shown);
        QCOMPARE(nimbara_i18n::tr(text.toUtf8().constData()), shown);
    }

    // What a caller appends after a text, a line break or a file pattern must survive translation.
    void twinsKeepTheirShape()
    {
        QSet<QString> seen;
        static const QRegularExpression filter(QStringLiteral("\\*\\.[a-z]+"));
        for (const auto &pair : nimbara_i18n::textPairs()) {
            const QString spanish = QString::fromUtf8(pair.spanish);
            const QString english = QString::fromUtf8(pair.english);
            QVERIFY2(!seen.contains(spanish), pair.spanish);
            seen.insert(spanish);
            QVERIFY2(!english.isEmpty(), pair.spanish);
            QVERIFY2(spanish.endsWith(QLatin1Char(' ')) == english.endsWith(QLatin1Char(' ')),
                pair.spanish);
            QVERIFY2(spanish.count(QLatin1Char('\n')) == english.count(QLatin1Char('\n')),
                pair.spanish);
            QVERIFY2(spanish.count(filter) == english.count(filter), pair.spanish);
        }
        QVERIFY(seen.size() >= 241);
    }
};

NIMBARA_TEST(I18nTest)
#include "i18n_test.moc"
