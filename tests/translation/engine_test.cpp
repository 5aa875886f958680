#include "base/error.h"
#include "translation/engine_fixture.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

class EngineTest : public EngineFixture {
    Q_OBJECT
private Q_SLOTS:
    void init() { restart(); }
    void cleanup() { restart(); } // and looks for the key

    void uploadsPhrases()
    {
        const auto es
            = u"model=gpt-4o-transcribe|language=es|prompt=Prédica cristiana en una iglesia, pantallas de la sala, transmisión a YouTube y Facebook.|response_format=json|file="_s;
        const auto other
            = u"model=gpt-4o-transcribe|prompt=Church sermon.|response_format=json|file="_s;
        for (const QString &source : { u"es"_s, QString() }) {
            restart();
            start(false, false, source);
            QCOMPARE(field(await("/v1/models/gpt-4.1-mini", 1).at(0), "method"), u"GET"_s);
            speak();
            const QJsonObject upload = await(transcriptions, 1).at(0);
            QCOMPARE(field(upload, "method"), u"POST"_s);
            QCOMPARE(field(upload[u"headers"].toObject(), "authorization"), u"Bearer sk-secret"_s);
            QStringList fields;
            for (const QJsonValue &part : upload[u"form"].toArray()) {
                fields << field(part.toObject(), "name") + u'=' + field(part.toObject(), "value");
            }
            QCOMPARE(fields.join(u'|'), source.isEmpty() ? other : es);
            const QJsonObject file = upload[u"form"].toArray().last().toObject();
            QCOMPARE(field(file, "file") + u' ' + field(file, "type"), u"church.wav audio/wav"_s);
            QVERIFY(wavOf(upload).startsWith("RIFF") && wavOf(upload).size() == 44 + 30400 * 2);
        }
    }

    void translatesInContext()
    {
        start();
        speak();
        transcribe(await(transcriptions, 1).at(0), u"Hola hermanos"_s);
        QCOMPARE(inputOf(await(responses, 1).at(0)), u"New text: Hola hermanos"_s);
        const QString body = field(await(responses, 1).at(0), "body");
        QVERIFY(body.contains(uR"(,"max_output_tokens":400,"model":"gpt-4.1-mini","store":false)"));
        QVERIFY(body.contains(u"fluent English as a human interpreter"));
        m_clock.advanceUs(1'200'000);
        translate(await(responses, 1).at(0), u" Hello brothers"_s);
        QTRY_COMPARE(m_captions, QStringList { u"Hello brothers"_s });
        QCOMPARE(m_notices, QStringList { u"Subtítulo actualizado · 1.2 s después de la frase"_s });
        QCOMPARE(m_statuses.size(), 1);
        speak(3);
        const auto uploads = await(transcriptions, 4);
        transcribe(uploads.at(1), u"¡HOLA, hermanos!"_s);
        QTRY_COMPARE(m_heard,
            (QStringList { u"Hola hermanos"_s, u"(repetido, descartado) ¡HOLA, hermanos!"_s }));
        transcribe(uploads.at(2), u"  "_s);
        transcribe(uploads.at(3), u"sea la luz"_s);
        QCOMPARE(inputOf(await(responses, 2).at(1)),
            u"Previous original:  Hola hermanos\nPrevious translation:   Hello brothers\nNew text: sea la luz"_s);
        translate(await(responses, 2).at(1), u"let there be light"_s);
        QTRY_COMPARE(m_captions.size(), 2); // what gave nothing holds nothing up
    }

    void countsWhatItAsksFor()
    {
        using Used = std::pair<std::int64_t, std::int64_t>;
        startLive();
        hear(signal({ { 1200, 0.2 } }));
        turn(u"uno"_s, 1, u"one"_s);
        const auto used = [this](cost::Service service) {
            const cost::Use &use = m_engine->usage().at(static_cast<std::size_t>(service));
            return Used(use.requests, use.us);
        };
        QCOMPARE(used(cost::Service::Live), Used(1, 1'200'000));
        QCOMPARE(used(cost::Service::Translation), Used(1, 0));
        QCOMPARE(used(cost::Service::Phrases), Used(0, 0));
    }

    /// Shown, spoken and measured is what the operator let pass, when it was time.
    void holdsCaptionsBack()
    {
        QList<std::int64_t> held;
        CaptionLane &lane = m_engine->lane(Target::First);
        m_engine->caption = [&](const Caption &caption) {
            m_captions.append(caption.text);
            held.append(caption.times.passed - caption.times.translated);
        };
        m_engine->setHold(3000);
        start(false, true);
        for (const auto &[heard, translated] : { std::pair { u"uno"_s, u"one"_s },
                 { u"dos"_s, u"tow"_s },
                 { u"tres"_s, u"three"_s } }) {
            interpret(heard, translated);
            const auto &waiting = lane.held().waiting();
            QTRY_VERIFY(!waiting.empty() && waiting.back().caption.text == translated);
        }
        m_clock.advanceUs(2'999'000);
        m_engine->releaseHeld();
        QVERIFY(m_captions.isEmpty());
        lane.dropHeld(lane.held().waiting().at(0).id);
        lane.changeHeld(lane.held().waiting().at(0).id, u" two "_s);
        m_clock.advanceUs(1'000);
        QTRY_COMPARE(m_captions, (QStringList { u"two"_s, u"three"_s })); // by its own timer
        QCOMPARE(held, (QList<std::int64_t> { 3000, 3000 }));
        QCOMPARE(await(speeches, 2).size(), 2U);
        QVERIFY(inputOf(m_peer.of("request", speeches).at(0)).contains(u"two"));

        interpret(u"cuatro"_s, u"four"_s);
        QTRY_COMPARE(lane.held().waiting().size(), 1U);
        m_engine->stopEngine();
        QCOMPARE(lane.takeHeld().at(0).text, u"four"_s);
        QCOMPARE(m_captions.size(), 2);
    }

    void skipsAPhraseThatNeverComes()
    {
        startLive();
        turn(u"uno"_s);
        const QJsonObject late = await(responses, 1).at(0);
        turn(u"dos"_s, 2, u"two"_s);
        turn(u"tres"_s, 3, u"three"_s);
        m_clock.advanceUs(7'000'000);
        m_engine->releaseResults();
        QVERIFY(m_captions.isEmpty());
        m_clock.advanceUs(1'000);
        // By the engine's own timer.
        QTRY_COMPARE(m_captions, (QStringList { u"two"_s, u"three"_s }));
        QVERIFY(m_statuses.contains(u"Se omitió un segmento lento para no detener la pantalla."_s));
        translate(late, u"one"_s);
        turn(u"cuatro"_s, 4, u"four"_s);
        QTRY_COMPARE(m_captions, (QStringList { u"two"_s, u"three"_s, u"four"_s }));
    }

    void goesOnAfterFailures()
    {
        for (const auto &[inUpload, status] : { std::pair { true, 429 }, { false, 503 } }) {
            const RowName named(QByteArray::number(status));
            restart();
            const auto failing
                = inUpload ? QLatin1String(transcriptions) : QLatin1String(responses);
            m_peer.onEvent = [&, fails = inUpload, code = status](const QJsonObject &event) {
                if (field(event, "path") == failing) {
                    m_peer.answer(event, "{}", code);
                } else if (!fails && field(event, "path") == QLatin1String(transcriptions)) {
                    transcribe(event, u"uno"_s);
                }
            };
            start();
            speak();
            QTRY_VERIFY(
                m_statuses.last().startsWith(inUpload ? u"Transcripcion: " : u"Traduccion: "));
            QCOMPARE(m_peer.count("request", failing.data()), 1);
            m_peer.onEvent = {};
            m_peer.events.clear();
            // Said again it is no repetition, nor does the failed one stand in its context.
            interpret(u"uno"_s, u"one"_s);
            QCOMPARE(inputOf(await(responses, 1).back()), u"New text: uno"_s);
            QTRY_COMPARE(m_captions, QStringList { u"one"_s });
        }
    }

    void stopsAfterFatalFailures()
    {
        bool runningInMessage = false;
        m_engine->statusChanged = [&](const Message &text) {
            m_statuses.append(text.spanish());
            runningInMessage = m_engine->running();
        };
        start();
        speak(5);
        const auto uploads = await(transcriptions, 3);
        m_peer.answer(uploads.at(1), "{}", 401);
        QTRY_VERIFY(!m_engine->running());
        QVERIFY2(runningInMessage, "the message comes first");
        QCOMPARE(m_statuses.last(), u"Transcripcion: API key o permisos no validos."_s);
        transcribe(uploads.at(0), u"uno"_s);
        m_peer.answer(uploads.at(2), "{}", 500);
        speak();
        start(); // ends the old run
        interpret(u"dos"_s, u"two"_s);
        QTRY_COMPARE(m_captions, QStringList { u"two"_s });
        QCOMPARE(m_statuses.size(), 3);
        QCOMPARE(m_peer.count("request", transcriptions), 4);
    }

    /// As a stop does: no connection is left, and what is owed is not waited for.
    void aFatalFailureEndsTheRunWhole()
    {
        const QByteArray credit = R"("error":{"code":"insufficient_quota","message":"No credit"}})";
        const QString live = u"Error en vivo: No credit"_s;
        const auto answer = [this](int status, const QByteArray &body) {
            m_peer.answer(await(responses, 1).at(0), body, status);
        };
        const std::tuple<const char *, std::function<void()>, QString> rows[] {
            { "key refused",
                [&] { answer(403, "{}"); },
                u"Traduccion: API key o permisos no validos."_s },
            { "no credit",
                [&] { answer(429, "{" + credit); },
                u"Traduccion: Sin cuota/saldo disponible en el proyecto API. Revisa Facturación del proyecto."_s },
            { "session", [&] { m_peer.send(R"({"type":"error",)" + credit); }, live },
            { "phrase",
                [&] {
                    m_peer.send(R"({"type":"conversation.item.input_audio_transcription.failed",)"
                        + credit);
                },
                live },
        };
        for (const auto &[name, fail, message] : rows) {
            const RowName named(name);
            restart();
            QStringList told;
            m_engine->ended = [&] { told = m_statuses; };
            startLive();
            turn(u"uno"_s);
            await(responses, 1);
            fail();
            QTRY_VERIFY(!m_engine->running());
            QCOMPARE(told.last(), message);
            QTRY_COMPARE(m_peer.count("closed"), 1);
        }
    }

    void showsNothingOfAnOldRun()
    {
        startLive();
        for (int i = 0; i < 3; ++i) {
            turn(u"viejo %1"_s.arg(i));
        }
        const auto old = await(responses, 3);
        translate(old.at(2), u"old 2"_s);
        translate(old.at(1), u"old 1"_s);
        QTest::qWait(1); // they may have arrived already when the run ends
        const std::int32_t generation = m_engine->requestGeneration();
        startLive();
        QVERIFY(m_engine->requestGeneration() > generation);
        translate(old.at(0), u"old 0"_s);
        m_peer.answer(old.at(0), "{}", 401);
        turn(u"nuevo"_s);
        QCOMPARE(inputOf(await(responses, 1).at(0)), u"New text: nuevo"_s);
        translate(await(responses, 1).at(0), u"new"_s);
        QTRY_COMPARE(m_captions, QStringList { u"new"_s });
        QCOMPARE(m_statuses.size(), 2);
    }

    void obeysStopsFromCallbacks()
    {
        startLive();
        for (int i = 0; i < 3; ++i) {
            turn(u"frase %1"_s.arg(i));
        }
        const auto requests = await(responses, 3);
        m_engine->caption = [this](const Caption &caption) {
            m_captions.append(caption.text);
            m_engine->stopEngine();
        };
        for (std::size_t i = 3; i > 0; --i) {
            translate(requests.at(i - 1), u"x"_s);
        }
        QTRY_VERIFY(!m_engine->running());
        QCOMPARE(m_captions.size(), 1);
        m_engine->statusChanged = [this](const Message &) { m_engine->stopEngine(); };
        start();
        QVERIFY(!m_engine->running());
    }

    void limitsWhatIsUnderWay()
    {
        const QString late = u"IA con retraso; se omite un segmento."_s;
        start();
        speak(9);
        QVERIFY(!m_statuses.contains(late));
        speak();
        QCOMPARE(m_statuses.last(), late);
        // They may arrive in any order: each has a connection of its own.
        const auto uploads = await(transcriptions, 3);
        for (std::size_t i = 0; i < 3; ++i) {
            transcribe(uploads.at(i), u"frase %1"_s.arg(i));
            translate(await(responses, i + 1).at(i), u"phrase"_s);
        }
        QTRY_COMPARE(m_captions.size(), 3);
        QCOMPARE(await(transcriptions, 6).size(), std::size_t { 6 });
    }

    /// On both roads from the last voiced sample on, whatever is said meanwhile.
    void timesEachStage()
    {
        for (const bool live : { false, true }) {
            const RowName named(live ? "live" : "phrases");
            restart();
            PhraseTimes times;
            m_engine->caption = [&](const Caption &caption) {
                times = caption.times;
                m_captions.append(caption.text);
            };
            live ? startLive() : start();
            hear(signal({ { 1300, 0.2 } }));
            const int silence = live ? 450 : 700;
            m_clock.advanceUs(silence * 1000);
            hear(signal({ { silence, 0 } }));
            m_clock.advanceUs(300'000);
            hear(signal({ { 500, 0.2 } }));
            if (live) {
                turn(u"uno"_s);
            } else {
                transcribe(await(transcriptions, 1).at(0), u"uno"_s);
            }
            const QJsonObject request = await(responses, 1).at(0);
            m_clock.advanceUs(400'000);
            translate(request, u"one"_s);
            QTRY_COMPARE(m_captions.size(), 1);
            QCOMPARE(times.heard - times.spoken, silence);
            QCOMPARE(times.transcribed - times.heard, 300);
            QCOMPARE(times.asked - times.transcribed, 0);
            QCOMPARE(times.translated - times.asked, 400);
        }
    }

    /// Both services are told of the terms, and what they say is held to them.
    void keepsToTheGlossary()
    {
        restart();
        m_engine->setTerms({ { u"Halvenmoor"_s, {}, {} },
            { u"Santa Cena"_s, u"the Lord's Supper"_s, u"English"_s } });
        start();
        speak();
        const QJsonObject upload = await(transcriptions, 1).at(0);
        QVERIFY(QJsonDocument(upload).toJson().contains("Halvenmoor, Santa Cena."));
        transcribe(upload, u"Santa Cena en Halven Moor"_s);
        const QJsonObject asked = await(responses, 1).at(0);
        QCOMPARE(inputOf(asked), u"New text: Santa Cena en Halvenmoor"_s);
        QVERIFY(field(asked, "body").contains(u"Santa Cena → the Lord's Supper"));
        translate(asked, u"Santa Cena at Halvenmoor"_s);
        QTRY_COMPARE(m_captions, QStringList { u"The Lord's Supper at Halvenmoor"_s });
    }

    void speaksCaptions()
    {
        start(false, true);
        for (std::size_t i = 0; i < 4; ++i) {
            interpret(u"frase %1"_s.arg(i), u"phrase"_s);
            const QJsonObject request = await(speeches, i + 1).at(i);
            QCOMPARE(field(request, "body"),
                uR"({"input":"phrase","model":"gpt-4o-mini-tts","response_format":"pcm","voice":"coral"})"_s);
            m_peer.answer(request,
                QByteArray(i == 1 ? 1440001 : 1440000, '\1'),
                i == 2 ? 500 : 200);
        }
        QTRY_COMPARE(m_voices.size(), 2); // neither what is too long nor what failed
        QVERIFY(
            m_statuses.join(u'|').contains(u"|Voz: No se pudo completar la solicitud. HTTP 500."));
        QCOMPARE(m_captions.size(), 4);
    }

    void anOlderClipIsNotSpoken()
    {
        startLive(true);
        for (std::size_t i = 1; i <= 3; ++i) {
            turn(u"frase %1"_s.arg(i), i, u"phrase"_s);
            await(speeches, i);
        }
        const auto requests = await(speeches, 3);
        m_peer.answer(requests.at(1), "second");
        QTRY_COMPARE(m_voices, QByteArrayList { "second" });
        m_peer.answer(requests.at(0), "first");
        m_peer.answer(requests.at(2), "third");
        QTRY_COMPARE(m_voices, (QByteArrayList { "second", "third" }));
    }

    void sendsOnlyWhileRunning()
    {
        speak(2);
        QVERIFY_EXCEPTION_THROWN(m_engine->start(u" \n"_s, u"English"_s, false, {}), Error);
        speak(2);
        start();
        speak();
        await(transcriptions, 1);
        QCOMPARE(m_peer.count("upgrade"), 0); // live mode is off
        m_engine->stopEngine();
        QTRY_VERIFY(m_peer.count("gone") > 0);
        m_peer.events.clear();
        speak(3);
        // Its request comes after any of the stopped one.
        Translation later(m_clock, std::make_unique<OpenAiProvider>(m_clock, m_peer.endpoint()));
        later.setLiveDisabled(true);
        later.start(u"k"_s, {}, false, {});
        await("/v1/models/gpt-4.1-mini", 1);
        QCOMPARE(m_peer.count("request"), 1);
        QCOMPARE(m_statuses.size(), 1);
    }

    void pausesAfterThreeHours()
    {
        start();
        m_clock.advanceUs(10'800'000'000);
        m_engine->processAudio(signal({ { 10, 0 } }));
        QVERIFY(m_engine->running());
        m_clock.advanceUs(1'000);
        speak();
        QVERIFY(!m_engine->running());
        QCOMPARE(m_statuses.last(),
            u"IA pausada tras 3 horas; inicia otra sesion si corresponde."_s);
        QCOMPARE(m_statuses.size(), 2);
    }

    /// One phrase is transcribed, the second is being spoken when the session ends: it goes whole
    /// by the other road, and the first does not go again.
    void changesRoads()
    {
        const AudioBlock phrase = signal({ { 1900, 0.2 }, { 1000, 0 } });
        // How the peer ends the active session (empty: refuses it), after so many minutes and so
        // many milliseconds of the phrase.
        for (const auto &[name, end, minutes, spoken] :
            { std::tuple { "refused", QByteArray(), 0, 700 },
                { "lost as a phrase begins", "terminate", 1, 100 },
                { "lost in a phrase", "terminate", 1, 1500 },
                { "lost before the transcript", "terminate", 1, 2500 },
                { "closed after 40 minutes", "close", 40, 1500 } }) {
            const RowName named(name);
            restart();
            const auto cut = phrase.samples.begin() + spoken * 96;
            if (end.isEmpty()) {
                m_peer.live("reject");
                start(true);
            } else {
                startLive();
                hear(phrase);
                turn(u"uno"_s, 1, u"one"_s);
                QTRY_COMPARE(m_captions, QStringList { u"one"_s });
                for (int i = 0; i < minutes; ++i) { // a second of each, and nobody speaks
                    hear(signal({ { 1000, 0 } }));
                    m_clock.advanceUs(60'000'000);
                }
            }
            hear(AudioBlock { { phrase.samples.begin(), cut }, 0 });
            if (!end.isEmpty()) {
                m_peer.command("{\"do\":\"" + end + "\"}");
            }
            QTRY_VERIFY(
                m_statuses.contains(u"Modo en vivo no disponible; se usa modo por trozos."_s));
            hear(AudioBlock { { cut, phrase.samples.end() }, 0 });
            const double lost = 1900 - voicedMs(wavOf(await(transcriptions, 1).at(0)));
            QVERIFY2(std::abs(lost) < 2, qPrintable(QString::number(lost)));
            QCOMPARE(m_peer.count("upgrade"), 1);
            transcribe(await(transcriptions, 1).at(0), u"dos"_s);
            translate(await(responses, end.isEmpty() ? 1 : 2).back(), u"two"_s);
            QTRY_COMPARE(m_captions.last(), u"two"_s);
            QCOMPARE(m_peer.count("request", transcriptions), 1);
        }
    }

    /// The session that is lost later does not owe what it answered with an error.
    void aPhraseAnsweredWithAnErrorIsNotSentAgain()
    {
        for (const char *event : { R"({"type":"conversation.item.input_audio_transcription.failed",
                 "error":{"code":"audio_unintelligible","message":"mal"}})",
                 R"({"type":"error","error":{"code":"input_audio_buffer_commit_empty",
                 "message":"mal"}})" }) {
            restart();
            startLive();
            hear(signal({ { 1900, 0.2 }, { 1000, 0 } }));
            m_peer.send(event);
            QTRY_COMPARE(m_statuses.last(), u"Error en vivo: mal"_s);
            m_peer.command(R"({"do":"terminate"})");
            QTRY_VERIFY(
                m_statuses.contains(u"Modo en vivo no disponible; se usa modo por trozos."_s));
            speak();
            const double lost = 1200 - voicedMs(wavOf(await(transcriptions, 1).at(0)));
            QVERIFY2(std::abs(lost) < 2, qPrintable(QString::number(lost)));
        }
    }

    /// A speaker who makes no pause is cut at 5 s; what is behind the cut goes to the session.
    void handsTheVoiceOverAtACut()
    {
        start(true);
        hear(signal({ { 3000, 0.2 } }));
        QTRY_COMPARE(m_peer.count("text"), 1);
        m_peer.send(R"({"type":"session.updated"})");
        QTRY_VERIFY(m_statuses.contains(liveActive));
        QCOMPARE(m_engine->road(), VoiceRoad::Phrases);
        hear(signal({ { 3000, 0.2 } }));
        QCOMPARE(m_engine->road(), VoiceRoad::Live);
        const double uploaded = voicedMs(wavOf(await(transcriptions, 1).at(0)));
        m_peer.command(R"({"do":"ping","data":""})");
        QTRY_COMPARE(m_peer.count("pong"), 1); // comes after all that was sent
        double sent = 0;
        for (const QJsonObject &event : m_peer.of("text")) {
            const auto message = QJsonDocument::fromJson(field(event, "text").toUtf8());
            sent += static_cast<double>(
                        QByteArray::fromBase64(message["audio"_L1].toString().toLatin1()).size())
                / 48;
        }
        const double waits = 6000 - uploaded - sent; // less than a message
        QVERIFY2(waits > -2 && waits < 102, qPrintable(QString::number(waits)));
    }

    void sendsWhatWasSaidBeforeTheSession()
    {
        start(true);
        m_engine->processAudio(signal({ { 900, 0.2 } }));
        QTRY_COMPARE(m_peer.count("text"), 1);
        m_peer.send(R"({"type":"session.updated"})");
        QTRY_VERIFY(m_statuses.contains(liveActive));
        speak();
        turn(u"dos"_s, 1, u"two"_s);
        transcribe(await(transcriptions, 1).at(0), u"uno"_s);
        translate(await(responses, 2).at(1), u"one"_s);
        QTRY_COMPARE(m_captions, (QStringList { u"one"_s, u"two"_s }));
        QCOMPARE(m_peer.count("request", transcriptions), 1);
    }
};

NIMBARA_TEST(EngineTest)
#include "engine_test.moc"
