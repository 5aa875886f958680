#include "translation/engine_fixture.h"

#include <array>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// Two languages of one run: each is as if it were alone.
class SecondLanguageTest : public EngineFixture {
    Q_OBJECT
private Q_SLOTS:
    void init() { restart(); }
    void cleanup() { restart(); } // and looks for the key

    /// Heard once; what one language waits for is none of the other's.
    void keepsAnOrderOfItsOwn()
    {
        startBoth(true);
        const QStringList said { u"uno"_s, u"dos"_s, u"tres"_s };
        for (std::size_t i = 0; i < 3; ++i) { // each has a connection of its own
            speak();
            transcribe(await(transcriptions, i + 1).at(i), said.at(static_cast<qsizetype>(i)));
            into(u"Portuguese"_s, i + 1);
            into(u"English"_s, i + 1);
        }
        const auto english = into(u"English"_s, 3);
        const auto portuguese = into(u"Portuguese"_s, 3);
        for (const std::size_t i : { 2U, 1U }) {
            translate(portuguese.at(i), said.at(static_cast<qsizetype>(i)) + u" pt"_s);
        }
        for (const std::size_t i : { 2U, 0U, 1U }) {
            translate(english.at(i), said.at(static_cast<qsizetype>(i)) + u" en"_s);
        }
        QTRY_COMPARE(shown(Target::First),
            (QStringList { u"uno en"_s, u"dos en"_s, u"tres en"_s }));
        QCOMPARE(await(speeches, 3).size(), 3U); // the first language alone is spoken
        QVERIFY(shown(Target::Second).isEmpty());
        m_clock.advanceUs(7'001'000);
        QTRY_COMPARE(shown(Target::Second), (QStringList { u"dos pt"_s, u"tres pt"_s }));
        QVERIFY(m_statuses.contains(
            u"Portuguese: Se omitió un segmento lento para no detener la pantalla."_s));
        QCOMPARE(m_statuses.filter(u"omiti"_s).size(), 1);

        speak();
        transcribe(await(transcriptions, 4).at(3), u"cuatro"_s);
        const QString input = inputOf(into(u"Portuguese"_s, 4).at(3)); // in its own context
        QVERIFY(input.contains(u"dos pt"_s) && input.contains(u"tres pt"_s));
        QVERIFY(!input.contains(u" en"_s));
        const auto &used = m_engine->usage();
        QCOMPARE(used.at(static_cast<std::size_t>(cost::Service::Translation)).requests, 8);
        QCOMPARE(used.at(static_cast<std::size_t>(cost::Service::Phrases)).requests, 4);
    }

    /// The operator chose it: what is heard is what its listeners read, also once it has ended.
    void theVoiceMaySpeakTheSecond()
    {
        m_peer.onEvent = [this, asked = std::make_shared<int>(0)](const QJsonObject &event) {
            if (field(event, "path") == QLatin1String(transcriptions)) {
                transcribe(event, u"frase %1"_s.arg(m_peer.events.size()));
            } else if (isInto(event, u"English"_s)) {
                translate(event, u"en"_s);
            } else if (isInto(event, u"Portuguese"_s) && ++*asked == 1) {
                translate(event, u"pt"_s);
            } else if (isInto(event, u"Portuguese"_s)) {
                m_peer.answer(event, "{}", 403);
            }
        };
        m_engine->setVoiceTarget(Target::Second);
        bool ended = false;
        m_engine->secondEnded = [&ended] { ended = true; };
        startBoth(true);
        speak();
        QTRY_COMPARE(shown(Target::First).size(), 1);
        QVERIFY(field(await(speeches, 1).at(0), "body").startsWith(u"{\"input\":\"pt\""));
        speak();
        QTRY_VERIFY(ended);
        QTRY_COMPARE(shown(Target::First).size(), 2);
        speak();
        QVERIFY(field(await(speeches, 2).back(), "body").startsWith(u"{\"input\":\"en\""));
        m_engine->start(u"sk-secret"_s, u"English"_s, true, u"es"_s); // without a second
        QCOMPARE(m_engine->spokenTarget(), Target::First);
    }

    /// Whatever becomes of the second language, the first has every caption and goes on.
    void aFailureHoldsNothingUp()
    {
        for (const int status : { 0, 500, 401 }) { // 0: the connection is cut
            const RowName named(QByteArray::number(status));
            restart();
            const auto fails = std::make_shared<bool>(true);
            m_peer.onEvent = [this, fails, status](const QJsonObject &event) {
                if (field(event, "path") == QLatin1String(transcriptions)) {
                    transcribe(event, u"frase %1"_s.arg(m_peer.events.size()));
                } else if (!isInto(event, u"Portuguese"_s)) {
                    translate(event, u"en"_s);
                } else if (!*fails) {
                    translate(event, u"pt"_s);
                } else if (status == 0) {
                    m_peer.drop(event);
                } else {
                    m_peer.answer(event, "{}", status);
                }
            };
            startBoth();
            speak(3);
            QTRY_COMPARE(shown(Target::First).size(), 3);
            const auto failures
                = [this] { return m_statuses.filter(u"Portuguese: Traduccion: "_s).size(); };
            QTRY_VERIFY(failures() >= (status == 500 ? 3 : 1));
            QCOMPARE(m_engine->road(), VoiceRoad::Phrases); // not waiting
            *fails = false;
            speak(2);
            QTRY_COMPARE(shown(Target::First).size(), 5);
            // What the network lost is sent again, what was refused is not, nor after a bad key.
            const auto later = [this, status] {
                m_clock.advanceUs(status == 0 ? 100'000 : 0); // until it is tried again
                return shown(Target::Second).size();
            };
            QTRY_COMPARE(later(), status == 0 ? 5 : status == 500 ? 2 : 0);
            QVERIFY(m_engine->running());
        }
    }

    /// Not even where the translation of the first is what fails.
    void theFirstHoldsNothingUpEither()
    {
        m_peer.onEvent = [this](const QJsonObject &event) {
            if (field(event, "path") == QLatin1String(transcriptions)) {
                transcribe(event, u"frase %1"_s.arg(m_peer.events.size()));
            } else if (isInto(event, u"English"_s)) {
                m_peer.drop(event);
            } else {
                translate(event, u"pt"_s);
            }
        };
        startBoth();
        speak();
        QTRY_COMPARE(m_engine->road(), VoiceRoad::Waiting);
        QTRY_COMPARE(shown(Target::Second), QStringList { u"pt"_s });
        QVERIFY(shown(Target::First).isEmpty());
    }

    /// Nor where the first is slow: no phrase of the second waits for it, or is left out.
    void aSlowFirstHoldsNothingUp()
    {
        m_peer.onEvent = [this](const QJsonObject &event) {
            if (field(event, "path") == QLatin1String(transcriptions)) {
                transcribe(event, u"frase %1"_s.arg(m_peer.events.size()));
            } else if (isInto(event, u"Portuguese"_s)) {
                translate(event, u"pt"_s);
            }
        };
        startBoth();
        speak(8);
        QTRY_COMPARE(shown(Target::Second).size(), 8);
        QVERIFY(m_statuses.filter(u"omit"_s).isEmpty() && shown(Target::First).isEmpty());
    }

    /// With the other one late by two phrases a caption comes when it does alone, and in its order.
    void eachComesWhenItDoesAlone()
    {
        for (const Target target : bothTargets) {
            const QStringList alone = captionsOf(target, false);
            QCOMPARE(alone.size(), 6);
            QCOMPARE(captionsOf(target, true), alone);
        }
    }

    /// Nobody would see it, and it is paid.
    void whatIsSkippedIsNotTranslated()
    {
        startBoth();
        speak();
        const QJsonObject late = await(transcriptions, 1).at(0);
        speak();
        transcribe(await(transcriptions, 2).at(1), u"dos"_s);
        translate(into(u"English"_s, 1).at(0), u"two"_s);
        translate(into(u"Portuguese"_s, 1).at(0), u"dois"_s);
        m_clock.advanceUs(7'001'000);
        QTRY_COMPARE(shown(Target::First), QStringList { u"two"_s });
        QTRY_COMPARE(shown(Target::Second), QStringList { u"dois"_s });
        transcribe(late, u"uno"_s);
        QTRY_VERIFY(m_heard.contains(u"uno"_s));
        const auto &used = m_engine->usage();
        QCOMPARE(used.at(static_cast<std::size_t>(cost::Service::Translation)).requests, 2);
    }

    /// The services hear of the terms of both, and each translation keeps to its own.
    void keepsToItsOwnTerms()
    {
        m_engine->setTerms({ { u"Santa Cena"_s, u"the Lord's Supper"_s, u"English"_s },
            { u"Santa Cena"_s, u"Santa Ceia"_s, u"Portuguese"_s },
            { u"culto"_s, u"culto da manhã"_s, u"Portuguese"_s },
            { u"worship night"_s, u"noche de alabanza"_s, u"Spanish"_s } });
        startBoth();
        speak();
        const QJsonObject upload = await(transcriptions, 1).at(0);
        QVERIFY(QJsonDocument(upload).toJson().contains("noche de alabanza, Santa Cena, culto."));
        transcribe(upload, u"la Santa Cena y noche de alabanza"_s);
        const QJsonObject asked = into(u"Portuguese"_s, 1).at(0);
        QVERIFY(field(asked, "body").contains(u"Santa Cena → Santa Ceia"));
        QVERIFY(!field(asked, "body").contains(u"worship night")); // that is English
        translate(asked, u"a Santa Cena"_s);
        translate(into(u"English"_s, 1).at(0), u"the Santa Cena"_s);
        QTRY_COMPARE(shown(Target::Second), QStringList { u"a Santa Ceia"_s });
        QTRY_COMPARE(shown(Target::First), QStringList { u"the Lord's Supper"_s });
    }

    /// Held, mended and dropped by itself; what a refused key leaves behind is let go.
    void isHeldByItself()
    {
        m_engine->setHold(3000);
        startBoth();
        speak();
        transcribe(await(transcriptions, 1).at(0), u"uno"_s);
        translate(into(u"Portuguese"_s, 1).at(0), u"hum"_s);
        translate(into(u"English"_s, 1).at(0), u"one"_s);
        CaptionLane &second = m_engine->lane(Target::Second);
        QTRY_VERIFY(!second.held().waiting().empty());
        QTRY_VERIFY(!m_engine->lane(Target::First).held().waiting().empty());
        second.changeHeld(second.held().waiting().front().id, u"um"_s);
        m_clock.advanceUs(3'000'000);
        QTRY_COMPARE(shown(Target::Second), QStringList { u"um"_s });
        QTRY_COMPARE(shown(Target::First), QStringList { u"one"_s });

        speak(2);
        transcribe(await(transcriptions, 3).at(1), u"dos"_s);
        translate(into(u"Portuguese"_s, 2).at(1), u"dois"_s);
        QTRY_VERIFY(!second.held().waiting().empty());
        transcribe(await(transcriptions, 3).at(2), u"tres"_s);
        m_peer.answer(into(u"Portuguese"_s, 3).at(2), "{}", 403);
        QTRY_COMPARE(shown(Target::Second), (QStringList { u"um"_s, u"dois"_s }));
    }

private:
    void startBoth(bool voice = false)
    {
        m_shown = {};
        m_engine->caption = [this](const Caption &caption) {
            m_shown.at(static_cast<std::size_t>(caption.target)).append(caption.text);
        };
        m_engine->setLiveDisabled(true);
        m_engine->start(u"sk-secret"_s, u"English"_s, voice, u"es"_s, u"Portuguese"_s);
    }

    /// Six captions of one language, answered after a while, with how late each came. `both`: in a
    /// run into both, of which the other has its answers later and in twos, the second one first.
    QStringList captionsOf(Target target, bool both)
    {
        restart();
        const QStringList names { u"English"_s, u"Portuguese"_s };
        const QString &name = names.at(static_cast<int>(target));
        const QString &other = names.at(1 - static_cast<int>(target));
        QStringList captions;
        m_engine->setLiveDisabled(true);
        m_engine->caption = [&](const Caption &caption) {
            if (!both || caption.target == target) {
                const auto ms = caption.times.passed - caption.times.spoken;
                captions.append(u"%1 %2"_s.arg(caption.text).arg(ms));
            }
        };
        m_engine->start(u"sk-secret"_s,
            both ? names.at(0) : name,
            false,
            u"es"_s,
            both ? names.at(1) : QString());
        for (std::size_t i = 0; i < 6; ++i) {
            speak();
            transcribe(await(transcriptions, i + 1).at(i), u"frase %1"_s.arg(i));
            const QJsonObject request = into(name, i + 1).at(i);
            m_clock.advanceUs(300'000 + static_cast<std::int64_t>(i) * 10'000);
            translate(request, u"caption %1"_s.arg(i));
            static_cast<void>(
                QTest::qWaitFor([&] { return captions.size() > static_cast<qsizetype>(i); }));
            if (both && i % 2 == 1) {
                const auto late = into(other, i + 1);
                translate(late.at(i), u"late"_s);
                translate(late.at(i - 1), u"late"_s);
            }
        }
        return captions;
    }

    [[nodiscard]] const QStringList &shown(Target target) const
    {
        return m_shown.at(static_cast<std::size_t>(target));
    }

    static bool isInto(const QJsonObject &request, const QString &language)
    {
        return field(request, "path") == QLatin1String(responses)
            && field(request, "body").contains(u"fluent "_s + language);
    }

    /// The requests for translations into the language, once there are so many.
    std::vector<QJsonObject> into(const QString &language, std::size_t count)
    {
        std::vector<QJsonObject> found;
        const bool came = QTest::qWaitFor(
            [&] {
                found.clear();
                for (const QJsonObject &request : m_peer.of("request", responses)) {
                    if (isInto(request, language)) {
                        found.push_back(request);
                    }
                }
                return found.size() >= count;
            },
            30000);
        if (!came) {
            qFatal("the requests did not come");
        }
        return found;
    }

    std::array<QStringList, bothTargets.size()> m_shown;
};

NIMBARA_TEST(SecondLanguageTest)
#include "second_language_test.moc"
