#include "app/log.h"
#include "support/api_peer.h"
#include "support/fake_device.h"
#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/picture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLineEdit>
#include <QProcess>
#include <QSettings>
#include <QTabWidget>
#include <QTemporaryDir>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

constexpr const char *key = "sk-llave-que-nadie-ve";

StudioServices servicesOf(const ApiPeer &peer)
{
    StudioServices services;
    services.openAi = peer.endpoint();
    return services;
}

/// A voice at the audio input: espeak-ng through a capture, in real time, then silence.
class Voice {
public:
    Voice()
    {
        const QString text = u"Hermanos, abramos la Biblia en el evangelio de Juan."_s;
        QProcess::execute(u"espeak-ng"_s, { u"-v"_s, u"es"_s, u"-w"_s, path(), text });
    }
    void connectTo(Studio &studio, const Clock &clock) const
    {
        // The silence of a live source goes on when the spoken file has ended.
        const DeviceRef device = fakeDevice({ .deviceClass = "Audio/Source",
            .caps = "audio/x-raw",
            .opens = "filesrc location=" + path().toStdString()
                + " ! wavparse ! audioconvert ! audioresample ! "
                  "audio/x-raw,rate=48000,channels=2,format=F32LE,layout=interleaved ! mix. "
                  "audiotestsrc wave=silence is-live=true ! "
                  "audio/x-raw,rate=48000,channels=2,format=F32LE,layout=interleaved ! "
                  "audiomixer name=mix" });
        studio.audio().setCapture(std::make_unique<AudioCapture>(clock, device.get()));
    }

private:
    [[nodiscard]] QString path() const { return m_dir.filePath(u"voice.wav"_s); }
    QTemporaryDir m_dir;
};

int brightPixels(const QImage &picture)
{
    int bright = 0;
    for (int y = 0; y < picture.height(); y += 4) {
        for (int x = 0; x < picture.width(); x += 4) {
            bright += qGray(picture.pixel(x, y)) > 240 ? 1 : 0;
        }
    }
    return bright;
}

} // namespace

/// The live translation in the real window, with the API played by a server of this machine.
class TranslationControlsTest : public QObject {
    Q_OBJECT
    ApiPeer m_peer;
    SystemClock m_clock;

    /// Answers what the engine asks for, as the API would.
    void answerEverything()
    {
        m_peer.onEvent = [this](const QJsonObject &event) {
            const QString path = field(event, "path");
            if (field(event, "event") != u"request") {
                return;
            }
            if (path.endsWith(u"transcriptions")) {
                m_peer.answer(event, R"({"text":"abramos la Biblia"})");
            } else if (path.endsWith(u"responses")) {
                m_peer.answer(event,
                    R"({"output":[{"content":[{"type":"output_text",)"
                    R"("text":"Let us open the Bible"}]}]})");
            } else if (path.endsWith(u"speech")) {
                m_peer.answer(event, QByteArray(96000, '\x10'));
            } else {
                m_peer.answer(event, "{}");
            }
        };
    }
    static QString stored(const QString &name)
    {
        return QSettings(u"Halvenmoor"_s, u"NimbaraStudio"_s).value(name).toString();
    }

private Q_SLOTS:
    void init()
    {
        QSettings(u"Halvenmoor"_s, u"NimbaraStudio"_s).clear();
        QFile::remove(SecretFile::defaultPath());
        QFile::remove(logFilePath());
        m_peer.events.clear();
        m_peer.onEvent = {};
    }
    void cleanup()
    {
        QFile log(logFilePath());
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY2(!log.readAll().contains(key), "the key is in the log");
    }

    /// Heard, shown and spoken; nothing is sent before the start or after the pause.
    void aSpokenPhraseIsShownAndSpoken()
    {
        const Voice voice;
        Desk desk(servicesOf(m_peer));
        answerEverything();
        Studio &studio = desk.window.studio();
        desk.press("editHall");
        desk.press("take");
        QImage hall;
        QStringList shown;
        const auto show = studio.onPictures;
        studio.onPictures = [&](const Pictures &pictures) {
            show(pictures);
            hall = pictures.hall;
            shown = studio.stage().captions.phrases;
        };
        voice.connectTo(studio, m_clock);
        QTest::qWait(500); // the operator has not started: the server must hear nothing
        QCOMPARE(m_peer.count("request"), 0);
        const int before = brightPixels(hall);

        desk.find<QLineEdit>("apiKey")->setText(QLatin1String(key));
        desk.find<QCheckBox>("liveMode")->setChecked(false);
        desk.find<QCheckBox>("voice")->setChecked(true);
        QMetaObject::invokeMethod(desk.find<QPushButton>("startTranslation"), "click");
        QCOMPARE(desk.find<QPushButton>("startTranslation")->text(), u"Pausar traducción"_s);
        voice.connectTo(studio, m_clock);
        QTRY_COMPARE(shown, QStringList { u"Let us open the Bible"_s });
        QVERIFY(brightPixels(hall) > before + 300); // the very frame that has the caption
        QVERIFY(desk.find<QLabel>("heard")->text().endsWith(u"abramos la Biblia"));
        QTRY_VERIFY(!studio.programAudio().voice().empty());
        QVERIFY(desk.find<QLabel>("aiStatus")->text().startsWith(u"Subtítulo actualizado · "));

        QMetaObject::invokeMethod(desk.find<QPushButton>("startTranslation"), "click");
        QCOMPARE(desk.find<QPushButton>("startTranslation")->text(), u"Iniciar traducción"_s);
        QVERIFY(studio.stage().captions.phrases.isEmpty());
        QVERIFY(studio.programAudio().voice().empty());
        const int sent = m_peer.count("request");
        voice.connectTo(studio, m_clock);
        QTest::qWait(3000); // a spoken phrase that nobody may hear any more
        QCOMPARE(m_peer.count("request"), sent);
    }

    void startNeedsAVoiceAndAKey()
    {
        Desk desk(servicesOf(m_peer));
        const auto start = [&] {
            QMetaObject::invokeMethod(desk.find<QPushButton>("startTranslation"), "click");
        };
        start();
        QCOMPARE(desk.status(), u"Conecta una entrada de voz antes de iniciar IA"_s);
        const Voice voice;
        voice.connectTo(desk.window.studio(), m_clock);
        start();
        QTRY_COMPARE(desk.status(), u"Ingresa tu API key"_s);
        QVERIFY(desk.find<QPushButton>("startTranslation")->isEnabled());

        desk.find<QLineEdit>("apiKey")->setText(QLatin1String(key));
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

    void languagesAndSettingsAreKept()
    {
        {
            Desk desk(servicesOf(m_peer));
            QCOMPARE(desk.find<QComboBox>("target")->currentText(), u"English"_s);
            QVERIFY(QTest::qWaitForWindowActive(&desk.window));
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
            desk.find<QCheckBox>("liveMode")->setChecked(false);
            desk.find<QComboBox>("separator")->setCurrentIndex(2);
            QCOMPARE(desk.window.studio().stage().captions.separator, u"\n\n"_s);
            desk.find<QCheckBox>("showSubtitles")->setChecked(false);
            QVERIFY(!desk.window.studio().stage().captions.shown);
        }
        Desk again(servicesOf(m_peer));
        QCOMPARE(again.find<QComboBox>("target")->currentText(), u"Tagalog"_s);
        QVERIFY(!again.find<QCheckBox>("liveMode")->isChecked());
        QCOMPARE(again.window.studio().stage().captions.separator, u"\n\n"_s);
    }

    void testsTheKey_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("told");
        QTest::newRow("good") << 200 << u"La traducción está lista para usarse."_s;
        QTest::newRow("refused") << 401 << u"API con error HTTP 401: bad •••"_s;
    }
    void testsTheKey()
    {
        QFETCH(int, status);
        QFETCH(QString, told);
        Desk desk(servicesOf(m_peer));
        const auto press
            = [&] { QMetaObject::invokeMethod(desk.find<QPushButton>("testApiKey"), "click"); };
        press();
        QTRY_COMPARE(desk.status(), u"Ingresa tu API key"_s);
        desk.find<QLineEdit>("apiKey")->setText(QLatin1String(key));
        press();
        QCOMPARE(desk.find<QLabel>("aiStatus")->text(), u"Probando la API de OpenAI..."_s);
        QTRY_COMPARE(m_peer.count("request"), 1);
        m_peer.answer(m_peer.of("request").back(),
            QByteArray(R"({"error":{"message":"bad )") + key + "\"}}",
            status);
        QTRY_VERIFY2(desk.status().endsWith(told), qPrintable(desk.status()));
    }
};

NIMBARA_TEST(TranslationControlsTest)
#include "translation_controls_test.moc"
