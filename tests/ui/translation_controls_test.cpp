#include "bible/builtin.h"
#include "support/api_peer.h"
#include "support/test_registry.h"
#include "translation/signal.h"
#include "ui/captions/translation_tab.h"
#include "ui/captions/verse_card.h"
#include "ui/desk.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QSpinBox>
#include <QTableWidget>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *key = "sk-llave-que-nadie-ve";

} // namespace

/// The live translation in the real window, with the API played by a server of this machine.
class TranslationControlsTest : public QObject {
    Q_OBJECT
    ApiPeer m_peer;
    SystemClock m_clock;

    void connectVoice(Studio &studio) const
    {
        studio.audio().setMuted(true); // the tests speak for themselves
        studio.audio().setCapture(std::make_unique<AudioCapture>(m_clock, nullptr));
    }
    static QString stored(const QString &name) { return settings().value(name).toString(); }

private Q_SLOTS:
    void init()
    {
        settings().clear();
        QFile::remove(SecretFile::defaultPath());
        QFile::remove(logFilePath());
        m_peer.events.clear();
        m_peer.onEvent = {};
    }
    void cleanup()
    {
        static const QByteArrayList silent { "theGlossaryIsEditedInItsTable",
            "aDelayThatGrowsIsAmberInFiguresAndCurve" }; // they have nothing to log
        const bool isSilent = silent.contains(QByteArray(QTest::currentTestFunction()));
        QVERIFY(isSilent || !logText().isEmpty());
        QVERIFY2(!logText().contains(QLatin1String(key)), "the key is in the log");
    }

    /// Heard, shown and spoken; nothing is sent before the start or after the pause.
    void aSpokenPhraseIsShownAndSpoken()
    {
        Desk desk(servicesAt(m_peer.endpoint()));
        m_peer.serve({ { u"abramos la Biblia"_s,
                         u"Let us open the Bible, and let us hear what the Lord says"_s } },
            0,
            QByteArray(96000, '\x10'));
        Studio &studio = desk.window.studio();
        const auto speak = [&studio] {
            Q_EMIT studio.audio().blockArrived(signal({ { 1200, 0.2 }, { 700, 0 } }));
        };
        const QStringList &shown = studio.stage().captions.phrases;
        auto *start = desk.find<QPushButton>("startTranslation");
        connectVoice(studio);
        speak();
        desk.enter("apiKey", QLatin1String(key));
        desk.find<QCheckBox>("liveMode")->setChecked(false);
        desk.find<QCheckBox>("voice")->setChecked(true);
        desk.find<QComboBox>("separator")->setCurrentIndex(3);
        QCOMPARE(m_peer.count("connection"), 0);
        QMetaObject::invokeMethod(start, "click");
        QCOMPARE(start->text(), u"Pausar traducción"_s);
        QCOMPARE(desk.find<QLabel>("voiceRoad")->text(), u"Por frases"_s);
        const auto *notice = desk.find<QLabel>("captionNotice");
        const auto speakLow = [&studio] {
            Stretches low;
            for (int syllable = 0; syllable < 80; ++syllable) {
                low.append({ { 150, 0.005 }, { 100, 0 } });
            }
            Q_EMIT studio.audio().blockArrived(signal(low));
        };
        speakLow();
        QCOMPARE(notice->text(), u"El micrófono llega muy bajo: sube la ganancia."_s);
        studio.audio().setMuted(false);
        QCOMPARE(notice->text(), QString());
        studio.audio().setMuted(true);
        speakLow();
        speak();
        QCOMPARE(notice->text(), QString());
        QTRY_COMPARE(shown,
            QStringList { u"Let us open the Bible,\nand let us hear what the Lord says"_s });
        QVERIFY(desk.find<QLabel>("heard")->text().endsWith(u"abramos la Biblia"));
        QVERIFY(notice->text().startsWith(u"Subtítulo actualizado · "));
        QCOMPARE(desk.status(), u"IA: IA activa; conectando modo en vivo..."_s); // it stays
        QTRY_VERIFY(!studio.programAudio().voice().empty());

        QMetaObject::invokeMethod(start, "click");
        QCOMPARE(start->text(), u"Iniciar traducción"_s);
        QVERIFY(shown.isEmpty() && studio.programAudio().voice().empty());
        QVERIFY(notice->text().startsWith(u"Retraso de la traducción: mediana "));
        QCOMPARE(desk.find<QLabel>("voiceRoad")->text(), QString());
        const int sent = m_peer.count("request");
        speak();
        desk.find<QPushButton>("testApiKey")->click(); // its request comes after any other
        QTRY_COMPARE(desk.find<QLabel>("aiStatus")->text().left(6), u"API OK"_s);
        QCOMPARE(m_peer.count("request"), sent + 1);
        m_peer.serve({});
    }

    /// Seen, changed or dropped before the screens have it; what is held at a pause is shown.
    void theNextCaptionIsMended()
    {
        Desk desk(servicesAt(m_peer.endpoint()));
        m_peer.serve({ { u"uno"_s, u"Go to Halven more"_s },
            { u"dos"_s, u"Noise"_s },
            { u"tres"_s, u"Amen"_s },
            { u"cuatro"_s, u"More noise"_s },
            { u"cinco"_s, u"Peace"_s } });
        Studio &studio = desk.window.studio();
        const QStringList &shown = studio.stage().captions.phrases;
        auto *start = desk.find<QPushButton>("startTranslation");
        auto *next = desk.find<QLineEdit>("nextCaption");
        desk.showTab(4);
        QVERIFY(!next->isVisible());
        desk.find<QSpinBox>("holdSeconds")->setValue(10);
        connectVoice(studio);
        desk.enter("apiKey", QLatin1String(key));
        QMetaObject::invokeMethod(start, "click");
        QTRY_VERIFY(desk.status().startsWith(u"IA: Modo en vivo activo"));
        m_peer.sendTranscript("uno");
        QTRY_COMPARE(next->text(), u"Go to Halven more"_s);
        QVERIFY(next->isVisible());
        QTest::mouseClick(next, Qt::LeftButton); // it stays as long as that takes
        m_peer.sendTranscript("dos");
        m_peer.sendTranscript("tres");
        QTRY_COMPARE(desk.find<QLabel>("heldBehind")->text(), u"y 2 más"_s);
        next->end(false);
        for (int i = 0; i < 5; ++i) {
            QTest::keyClick(next, Qt::Key_Backspace);
        }
        QTest::keyClicks(next, u"moor"_s);
        QTest::keyClick(next, Qt::Key_Return);
        desk.find<QSpinBox>("holdSeconds")->setValue(0); // all are let go
        QTRY_COMPARE(shown, (QStringList { u"Go to Halvenmoor"_s, u"Noise"_s, u"Amen"_s }));
        auto *target = desk.find<QComboBox>("target");
        target->setCurrentText(u"Spanish"_s); // for the next run
        desk.find<QPushButton>("correctionToGlossary")->click();
        target->setCurrentText(u"English"_s);
        auto *table = desk.find<QTableWidget>("glossary");
        QCOMPARE(table->item(0, 1)->text(), u"Halvenmoor"_s);
        table->item(0, 0)->setText(u"Jalvenmur"_s);
        const Terms terms { { u"Jalvenmur"_s, u"Halvenmoor"_s, u"English"_s } };
        QCOMPARE(desk.document().project().terms, terms);
        desk.find<QPushButton>("clearNow")->click();
        QVERIFY(shown.isEmpty());

        desk.find<QSpinBox>("holdSeconds")->setValue(10);
        QCOMPARE(stored(u"caption_hold"_s), u"10"_s);
        m_peer.sendTranscript("cuatro");
        QTRY_COMPARE(next->text(), u"More noise"_s);
        QTest::mouseClick(next, Qt::LeftButton);
        m_peer.sendTranscript("cinco");
        QTRY_COMPARE(desk.find<QLabel>("heldBehind")->text(), u"y 1 más"_s);
        desk.find<QPushButton>("dropCaption")->click();
        QCOMPARE(next->text(), u"Peace"_s);
        QVERIFY(desk.isActive());
        QTest::mouseClick(next, Qt::LeftButton);
        QMetaObject::invokeMethod(start, "click");
        QCOMPARE(shown, QStringList { u"Peace"_s });
        QTest::keyClick(desk.window.windowHandle(), Qt::Key_Space); // typed on, for nobody
        QVERIFY(!desk.stage().program.streams());
        QCOMPARE(next->text(), QString());
        m_peer.serve({});
    }

    /// The line is one page: no verse steps under who mends it, by a foot switch either.
    void pageKeysStayInTheHeldCaption()
    {
        settings().setValue(u"clicker_keys"_s, true);
        Desk desk(servicesAt(m_peer.endpoint()));
        m_peer.serve({ { u"uno"_s, u"Go to Halven more"_s } });
        Layer verse = desk.document().newVerseLayer();
        verse.text = u"palabra "_s.repeated(1200);
        desk.setLayers({ verse });
        desk.select(0);
        const auto page = [&desk] { return desk.layers()[0].page; };
        auto *start = desk.find<QPushButton>("startTranslation");
        auto *next = desk.find<QLineEdit>("nextCaption");
        desk.showTab(4);
        QVERIFY(desk.isActive());
        desk.find<QSpinBox>("holdSeconds")->setValue(10);
        connectVoice(desk.window.studio());
        desk.enter("apiKey", QLatin1String(key));
        QMetaObject::invokeMethod(start, "click");
        QTRY_VERIFY(desk.status().startsWith(u"IA: Modo en vivo activo"));
        m_peer.sendTranscript("uno");
        QTRY_COMPARE(next->text(), u"Go to Halven more"_s);
        QTest::mouseClick(next, Qt::LeftButton);
        next->end(false);
        QTest::keyClick(next, Qt::Key_PageUp);
        QCOMPARE(next->cursorPosition(), 0);
        QTest::keyClick(next, Qt::Key_PageDown, Qt::ShiftModifier);
        QCOMPARE(next->selectedText(), next->text());
        QTest::keyClick(next, Qt::Key_PageDown);
        QCOMPARE(next->cursorPosition(), next->text().size());
        QCOMPARE(page(), 0);
        auto *canvas = desk.find<Canvas>("canvas");
        canvas->setFocus();
        QTest::keyClick(canvas, Qt::Key_PageDown);
        QTRY_COMPARE(page(), 1);
        QMetaObject::invokeMethod(start, "click");
        m_peer.serve({});
    }

    /// Held, mended and shown by itself, and corrected in its own language.
    void aSecondLanguageIsShownBesideTheFirst()
    {
        Desk desk(servicesAt(m_peer.endpoint()));
        m_peer.onEvent = [this](const QJsonObject &event) {
            if (field(event, "path").endsWith(u"transcriptions")) {
                m_peer.answer(event, R"({"text":"uno"})");
            } else if (field(event, "path").endsWith(u"responses")) {
                const bool isSecond = field(event, "body").contains(u"fluent Portuguese");
                m_peer.answer(event,
                    "{\"output\":[{\"content\":[{\"type\":\"output_text\",\"text\":\""
                        + QByteArray(isSecond ? "Hum" : "One") + "\"}]}]}");
            }
        };
        Studio &studio = desk.window.studio();
        const Captions &shown = studio.stage().captions;
        auto *start = desk.find<QPushButton>("startTranslation");
        auto *next = desk.find<QLineEdit>("secondNextCaption");
        connectVoice(studio);
        desk.enter("apiKey", QLatin1String(key));
        desk.find<QCheckBox>("liveMode")->setChecked(false);
        desk.find<QSpinBox>("holdSeconds")->setValue(10);
        QVERIFY(next->parentWidget()->isHidden());
        desk.find<QComboBox>("secondTarget")->setCurrentText(u"Portuguese"_s);
        QVERIFY(!next->parentWidget()->isHidden());
        QVERIFY(!shown.second);
        QMetaObject::invokeMethod(start, "click");
        Q_EMIT studio.audio().blockArrived(signal({ { 1200, 0.2 }, { 700, 0 } }));
        QTRY_COMPARE(next->text(), u"Hum"_s);
        QTRY_COMPARE(desk.find<QLineEdit>("nextCaption")->text(), u"One"_s);
        desk.showTab(4);
        QTest::mouseClick(next, Qt::LeftButton);
        next->selectAll();
        QTest::keyClicks(next, u"Um"_s);
        QTest::keyClick(next, Qt::Key_Return);
        desk.find<QSpinBox>("holdSeconds")->setValue(0);
        QCOMPARE(shown.second, QStringList { u"Um"_s });
        QCOMPARE(shown.phrases, QStringList { u"One"_s });
        QTRY_VERIFY(desk.find<QLabel>("captionDelay")->text().contains(u"\nPortuguese: Retraso "));
        desk.find<QPushButton>("secondCorrectionToGlossary")->click();
        const auto *table = desk.find<QTableWidget>("glossary");
        QCOMPARE(table->item(0, 1)->text() + table->item(0, 2)->text(), u"UmPortuguese"_s);
        QMetaObject::invokeMethod(start, "click");
        QVERIFY(shown.second && shown.second->isEmpty());
        QVERIFY(desk.find<QLabel>("captionNotice")->text().contains(u" Portuguese: Retraso de "));
    }

    /// Its layers are not blank to the end of the run, and the operator cannot miss it.
    void aSecondLanguageThatEndsIsStoodInForByTheFirst()
    {
        Desk desk(servicesAt(m_peer.endpoint()));
        m_peer.onEvent = [this, asked = std::make_shared<int>(0)](const QJsonObject &event) {
            const auto text = [](const QByteArray &name) {
                return "{\"output\":[{\"content\":[{\"type\":\"output_text\",\"text\":\"" + name
                    + "\"}]}]}";
            };
            if (field(event, "path").endsWith(u"transcriptions")) {
                const auto number = QByteArray::number(m_peer.events.size());
                m_peer.answer(event, "{\"text\":\"frase " + number + "\"}");
            } else if (!field(event, "path").endsWith(u"responses")) {
                return;
            } else if (!field(event, "body").contains(u"fluent Portuguese")) {
                m_peer.answer(event, text("One"));
            } else {
                m_peer.answer(event, text("Hum"), ++*asked == 1 ? 200 : 403);
            }
        };
        Studio &studio = desk.window.studio();
        const Captions &shown = studio.stage().captions;
        const auto speak = [&studio] {
            Q_EMIT studio.audio().blockArrived(signal({ { 1200, 0.2 }, { 700, 0 } }));
        };
        connectVoice(studio);
        desk.enter("apiKey", QLatin1String(key));
        desk.find<QCheckBox>("liveMode")->setChecked(false);
        desk.find<QComboBox>("secondTarget")->setCurrentText(u"Portuguese"_s);
        QMetaObject::invokeMethod(desk.find<QPushButton>("startTranslation"), "click");
        speak();
        QTRY_COMPARE(shown.second, QStringList { u"Hum"_s });
        speak();
        const auto &notices = studio.notices().all();
        QTRY_VERIFY(!notices.empty());
        QVERIFY(notices.back().text.spanish().startsWith(
            u"La traducción a Portuguese terminó sola: sus capas muestran English"));
        QCOMPARE(shown.in(caption_language::second).phrases, QStringList { u"Hum"_s });
        desk.find<QPushButton>("clearNow")->click();
        speak();
        QTRY_VERIFY(shown.in(caption_language::second).phrases.contains(u"One"_s));
        QVERIFY(studio.translation().running());
        QMetaObject::invokeMethod(desk.find<QPushButton>("startTranslation"), "click");
    }

    /// Its curve would stay white beside amber figures.
    void aDelayThatGrowsIsAmberInFiguresAndCurve()
    {
        TranslationTab tab;
        tab.delayCurve()->setPoints({ 1000, 1000, 3000, 4000 });
        const auto amberPixels = [&tab] {
            const QImage picture = tab.delayCurve()->grab().toImage();
            int amber = 0;
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x) {
                    const QColor colour = picture.pixelColor(x, y);
                    amber += colour.red() > 200 && colour.blue() < 60 ? 1 : 0;
                }
            }
            return amber;
        };
        for (const bool grows : { false, true, false }) {
            tab.showDelay(u"Retraso"_s, {}, grows);
            QCOMPARE(amberPixels() > 20, grows);
            QCOMPARE(tab.findChild<QLabel *>(u"captionDelay"_s)->styleSheet().isEmpty(), !grows);
        }
    }

    /// Counted as it is asked for; near its limit a mark stands and nothing is stopped.
    void whatItCostsIsTold()
    {
        const auto warning
            = u"Textos traducidos: el gasto estimado pasó del 80 % de su límite. Nada se detiene."_s;
        {
            Desk desk(servicesAt(m_peer.endpoint()));
            m_peer.serve({ { u"uno"_s, u"One"_s }, { u"dos"_s, u"Two"_s } },
                0,
                QByteArray(96000, '\x10'));
            Studio &studio = desk.window.studio();
            const auto &notices = studio.notices().all();
            connectVoice(studio);
            desk.enter("apiKey", QLatin1String(key));
            desk.find<QCheckBox>("liveMode")->setChecked(false);
            desk.find<QCheckBox>("voice")->setChecked(true);
            desk.find<QPushButton>("openPrices")->click();
            const std::pair<const char *, double> entered[] { { "perMinute1", 1 },
                { "perRequest2", 2 },
                { "perMinute3", 30 },
                { "limit2", 2.51 } };
            for (const auto &[name, value] : entered) {
                desk.find<QDoubleSpinBox>(name)->setValue(value);
            }
            QMetaObject::invokeMethod(desk.find<QPushButton>("startTranslation"), "click");
            Q_EMIT studio.audio().blockArrived(signal({ { 2300, 0.2 }, { 700, 0 } }));
            // 3 s that were sent, one translation and 2 s that were spoken.
            const auto *told = desk.find<QLabel>("translationCost");
            QTRY_COMPARE(told->text(), u"Gasto estimado 3.05 · 0.1 min · 3 pedidos"_s);
            QVERIFY(notices.empty());
            desk.find<QDoubleSpinBox>("limit2")->setValue(2.5);
            QCOMPARE(notices.size(), 1U);
            QCOMPARE(notices.front().text.spanish(), warning);
            QCOMPARE(desk.status(), warning);
            QVERIFY(studio.translation().running());
            desk.find<QDoubleSpinBox>("limit2")->setValue(3);
            QVERIFY(notices.empty());
        }
        Desk again(servicesAt(m_peer.endpoint()));
        const cost::Price kept { 0, 2, 3 };
        QCOMPARE(again.window.studio().costs().prices().at(2), kept);
        m_peer.serve({});
    }

    void aRefusedKeyEndsAsAPauseDoes()
    {
        Desk desk(servicesAt(m_peer.endpoint()));
        Studio &studio = desk.window.studio();
        auto *start = desk.find<QPushButton>("startTranslation");
        m_peer.serve({ { u"uno"_s, u"One"_s } }, 0, QByteArray(96000, '\x10'));
        connectVoice(studio);
        desk.enter("apiKey", QLatin1String(key));
        desk.find<QCheckBox>("voice")->setChecked(true);
        QMetaObject::invokeMethod(start, "click");
        QTRY_VERIFY(desk.status().startsWith(u"IA: Modo en vivo activo"));
        m_peer.sendTranscript("uno");
        QTRY_VERIFY(!studio.programAudio().voice().empty());
        m_peer.serve({});
        m_peer.onEvent = [this](const QJsonObject &event) {
            if (field(event, "path").endsWith(u"responses")) {
                m_peer.answer(event, "{}", 401);
            }
        };
        m_peer.sendTranscript("dos");
        QTRY_COMPARE(start->text(), u"Iniciar traducción"_s);
        QCOMPARE(desk.status(), u"IA: Traduccion: API key o permisos no validos."_s);
        QVERIFY(studio.stage().captions.phrases.isEmpty());
        QVERIFY(studio.programAudio().voice().empty());
        QTRY_COMPARE(m_peer.count("closed"), 1);
    }

    void startNeedsAVoiceAndAKey()
    {
        Desk desk(servicesAt(m_peer.endpoint()));
        const auto start = [&] {
            QMetaObject::invokeMethod(desk.find<QPushButton>("startTranslation"), "click");
        };
        start();
        QCOMPARE(desk.status(), u"Conecta una entrada de voz antes de iniciar IA"_s);
        connectVoice(desk.window.studio());
        start();
        QTRY_COMPARE(desk.status(), u"Ingresa tu API key"_s);
        QVERIFY(desk.find<QPushButton>("startTranslation")->isEnabled());

        desk.enter("apiKey", QLatin1String(key));
        desk.find<QCheckBox>("saveApiKey")->setChecked(true);
        start();
        QTRY_VERIFY(desk.window.studio().translation().running());
        QCOMPARE(SecretFile().readSecretFile(secret_account::openAi()), QLatin1String(key));
        start();
        desk.find<QLineEdit>("apiKey")->clear();
        desk.find<QCheckBox>("saveApiKey")->setChecked(false);
        start(); // with the stored key
        QTRY_VERIFY(desk.window.studio().translation().running());
        QCOMPARE(desk.find<QLineEdit>("apiKey")->text(), QLatin1String(key));
    }

    /// Each change a step of undo, which the table follows.
    void theGlossaryIsEditedInItsTable()
    {
        Desk desk(servicesAt(m_peer.endpoint()));
        desk.find<QPushButton>("openGlossary")->click();
        auto *table = desk.find<QTableWidget>("glossary");
        const auto write = [&](int row, int column, const QString &text) {
            table->item(row, column)->setText(text);
        };
        write(0, 0, u" Halvenmoor "_s);
        write(1, 0, u"Santa Cena"_s);
        write(1, 1, u"the Lord's Supper"_s);
        const Terms terms { { u"Halvenmoor"_s, {}, u"English"_s },
            { u"Santa Cena"_s, u"the Lord's Supper"_s, u"English"_s } };
        QCOMPARE(desk.document().project().terms, terms);
        table->selectRow(0);
        desk.find<QPushButton>("removeTerms")->click();
        QCOMPARE(desk.document().project().terms, terms.mid(1));
        desk.document().undo();
        QCOMPARE(table->rowCount(), 3);
        QCOMPARE(table->item(0, 0)->text(), u"Halvenmoor"_s);
        desk.find<QPushButton>("openGlossary")->click();
        QCOMPARE(desk.window.findChildren<QTableWidget *>(u"glossary"_s).size(), 1);
    }

    void aNamedVerseTakesTwoKeys()
    {
        bible::prepare().waitForFinished();
        Desk desk(servicesAt(m_peer.endpoint()));
        QVERIFY(desk.isActive());
        const auto *card = desk.find<VerseCard>("verseCard");
        QVERIFY(card->isHidden());
        Q_EMIT desk.window.studio().translation().understood(u"Juan tres dieciséis"_s, true);
        QVERIFY(card->isVisible());
        QCOMPARE(desk.find<QLabel>("spokenVerse")->text(), u"John 3:16"_s);
        QVERIFY(!desk.find<QPushButton>("spokenOnAir")->isEnabled());
        QTest::keyClick(&desk.window, Qt::Key_F3);
        QCOMPARE(desk.layers().back().name, u"John 3:16"_s);
        QCOMPARE(desk.selected(), static_cast<int>(desk.layers().size()) - 1);
        QVERIFY(desk.find<QPushButton>("spokenOnAir")->isEnabled());
        QTest::keyClick(&desk.window, Qt::Key_F4);
        const ProgramState &program = desk.stage().program;
        QTRY_VERIFY(program.streams() && program.streams()->layers.back().name == u"John 3:16"_s);
        QVERIFY(card->isHidden());
    }

    void languagesAndSettingsAreKept()
    {
        {
            Desk desk(servicesAt(m_peer.endpoint()));
            QCOMPARE(desk.find<QComboBox>("target")->currentText(), u"English"_s);
            QVERIFY(desk.isActive());
            QTest::keyClick(&desk.window, Qt::Key_F1);
            QCOMPARE(desk.status(), u"Pantallas en español."_s);
            QCOMPARE(stored(u"source_language"_s), u"en"_s);
            QTest::keyClick(&desk.window, Qt::Key_F2);
            QCOMPARE(desk.status(), u"Pantallas en inglés."_s);
            QVERIFY(!desk.window.studio().translation().running());
            desk.find<QComboBox>("target")->setCurrentText(u"Spanish"_s);
            QCOMPARE(stored(u"source_language"_s), u"en"_s);
            desk.find<QComboBox>("target")->setCurrentText(u" Tagalog "_s);
            QCOMPARE(stored(u"source_language"_s), QString());
            auto *second = desk.find<QComboBox>("secondTarget");
            for (const auto &[typed, name] : { std::pair(u"Portuguese"_s, u"Portuguese"_s),
                     { u""_s, {} }, // while it is typed over
                     { u"Ninguno"_s, {} },
                     { u" French "_s, u"French"_s } }) {
                second->setCurrentText(typed);
                QCOMPARE(second->currentText(), typed);
                QCOMPARE(stored(u"translation_second_target"_s), name);
            }
            auto *spoken = desk.find<QComboBox>("voiceLanguage");
            QCOMPARE(spoken->itemText(0) + spoken->itemText(1), u"TagalogFrench"_s);
            QVERIFY(!spoken->isHidden());
            spoken->setCurrentIndex(1);
            second->setCurrentText(u"Ninguno"_s);
            QVERIFY(spoken->isHidden()); // there is nothing to choose
            second->setCurrentText(u"French"_s);
            desk.find<QCheckBox>("liveMode")->setChecked(false);
            desk.find<QComboBox>("separator")->setCurrentIndex(2);
            QCOMPARE(desk.window.studio().stage().captions.separator, u"\n\n"_s);
            desk.find<QCheckBox>("showSubtitles")->setChecked(false);
            QVERIFY(!desk.window.studio().stage().captions.shown);
        }
        Desk again(servicesAt(m_peer.endpoint()));
        QCOMPARE(again.find<QComboBox>("target")->currentText(), u"Tagalog"_s);
        QCOMPARE(again.find<QComboBox>("secondTarget")->currentText(), u"French"_s);
        QCOMPARE(again.find<QComboBox>("voiceLanguage")->currentText(), u"French"_s);
        QVERIFY(!again.find<QCheckBox>("liveMode")->isChecked());
        QCOMPARE(again.window.studio().stage().captions.separator, u"\n\n"_s);
    }
};

NIMBARA_TEST(TranslationControlsTest)
#include "translation_controls_test.moc"
