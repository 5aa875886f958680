#include "studio/studio_fixture.h"
#include "support/api_peer.h"
#include "support/decoded_sound.h"
#include "support/test_registry.h"
#include "translation/signal.h"

#include <QDir>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// The voice of a run into two languages, as it is found on file.
class SpokenTracksTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// The second language ended while it spoke, and its words went on in the first one's track.
    void theRestOfAClipStaysInItsLanguage() { tracksAfter(false); }

    /// The screens are switched to another language while it speaks.
    void aNewRunBeginsWithoutTheClipBefore() { tracksAfter(true); }

private:
    /// One track alone is left, of what was spoken in Portuguese.
    void tracksAfter(bool isSwitched) const
    {
        ApiPeer peer;
        const QTemporaryDir folder;
        StudioPeers peers;
        peers.openAi = peer.endpoint();
        peers.captionFolder = folder.filePath(u"captions"_s);
        StudioFixture desk(std::move(peers));
        Studio &studio = desk.studio;
        answer(peer);
        begin(desk);
        speak(studio);
        QVERIFY(desk.runUntil([&] { return !studio.programAudio().spoken().empty(); }));
        if (isSwitched) {
            desk.frame(2'000'000); // the next run's files have a name of their own
            studio.translation().switchTarget(u"Spanish"_s);
            QVERIFY(desk.pollUntil([&] { return studio.translation().running(); }));
        } else {
            speak(studio); // and what comes of that is refused in Portuguese
            const auto spoken = [&] { return studio.translation().spokenTarget(); };
            QVERIFY(desk.pollUntil([&] { return spoken() == Target::First; }));
        }
        QVERIFY(studio.programAudio().voice().size() > 96'000); // of 192,000 values
        QVERIFY(desk.runUntil([&] { return studio.programAudio().voice().empty(); }));
        desk.frame();
        studio.shutDown();
        const QDir kept(folder.filePath(u"captions"_s));
        const QStringList tracks = kept.entryList({ u"*.opus"_s });
        QCOMPARE(tracks.size(), 1);
        QVERIFY2(tracks.front().endsWith(u".pt.opus"), qPrintable(tracks.front()));
        const auto heard = decodedSound(kept.filePath(tracks.front()));
        QVERIFY(std::count_if(heard.begin(), heard.end(), [](std::int16_t value) {
            return std::abs(value) > 2000;
        }) > (isSwitched ? 0 : 80'000)); // 2 s
    }

    /// Two seconds of voice for the first phrase; the second is refused in Portuguese, and never
    /// answered in English.
    static void answer(ApiPeer &peer)
    {
        peer.onEvent = [&peer, asked = std::make_shared<int>(0)](const QJsonObject &event) {
            const QString path = field(event, "path");
            if (path.endsWith(u"speech")) {
                const QByteArray tone
                    = QByteArray("\x00\x20", 2).repeated(8) + QByteArray("\x00\xe0", 2).repeated(8);
                peer.answer(event, tone.repeated(3000));
            } else if (path.endsWith(u"transcriptions")) {
                peer.answer(event,
                    "{\"text\":\"frase " + QByteArray::number(peer.events.size()) + "\"}");
            } else if (path.endsWith(u"responses")) {
                const bool isFirst = ++*asked <= 2; // one in each language
                if (isFirst || field(event, "body").contains(u"fluent Portuguese")) {
                    peer.answer(event,
                        R"({"output":[{"content":[{"type":"output_text","text":"x"}]}]})",
                        isFirst ? 200 : 403);
                }
            }
        };
    }

    void begin(StudioFixture &desk) const
    {
        desk.studio.audio().setMuted(true); // the test speaks for itself
        desk.studio.audio().setCapture(std::make_unique<AudioCapture>(m_clock, nullptr));
        TranslationDesk &translation = desk.studio.translation();
        translation.key().setText(u"sk-secret"_s);
        translation.setKeepsKey(false);
        translation.setLiveMode(false);
        translation.chooseTarget(u"English"_s);
        translation.chooseSecondTarget(u"Portuguese"_s);
        translation.setVoice(true);
        translation.setVoiceTarget(Target::Second);
        translation.toggle();
        QTRY_VERIFY(translation.running());
    }

    static void speak(Studio &studio)
    {
        Q_EMIT studio.audio().blockArrived(signal({ { 1200, 0.2 }, { 700, 0 } }));
    }

    SystemClock m_clock;
};

NIMBARA_TEST(SpokenTracksTest)
#include "spoken_tracks_test.moc"
