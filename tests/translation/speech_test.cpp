#include "support/test_registry.h"
#include "translation/segmenter.h"
#include "translation/signal.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <cmath>
#include <functional>
#include <random>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

/// The segmenter on minutes of spoken Spanish and English with what a church sounds like between.
class SpeechTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cutsASermon();
};

namespace {

/// Speaks the text; 48 kHz, both channels alike.
AudioBlock speak(const QString &voice, const QString &text)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"speech.wav"_s));
    QProcess::execute(u"espeak-ng"_s, { u"-v"_s, voice, u"-w"_s, file.fileName(), text });
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("espeak-ng does not speak");
    }
    const QByteArray wav = file.readAll();
    const double step = qFromLittleEndian<quint32>(wav.constData() + 24) / 48000.0;
    const auto sample = [&](qsizetype i) {
        return qFromLittleEndian<qint16>(wav.constData() + 44 + i * 2) / 32768.0;
    };
    AudioBlock block;
    for (double at = 0; at + 1 < static_cast<double>((wav.size() - 44) / 2); at += step) {
        const auto whole = static_cast<qsizetype>(at);
        const double value = std::lerp(sample(whole), sample(whole + 1), at - std::floor(at));
        block.samples.insert(block.samples.end(), 2, static_cast<float>(value));
    }
    return block;
}

AudioBlock sound(int ms, const std::function<double(double seconds)> &level)
{
    AudioBlock block;
    for (int frame = 0; frame < ms * 48; ++frame) {
        const auto value = static_cast<float>(level(frame / 48000.0));
        block.samples.insert(block.samples.end(), 2, value);
    }
    return block;
}

/// Four minutes.
AudioBlock sermon()
{
    const QString verse = u"Porque de tal manera amó Dios al mundo que ha dado a su Hijo unigénito "
                          "para que todo aquel que en él cree no se pierda mas tenga vida eterna y "
                          "esto hermanos es lo que hoy queremos recordar juntos en esta casa"_s;
    const QString psalm = u"He makes me lie down in green pastures he leads me beside still waters "
                          "he restores my soul and guides me along the right paths"_s;
    const std::vector<AudioBlock> sentences {
        speak(u"es"_s, u"Hermanos, abramos la Biblia. Juan tres dieciséis."_s),
        speak(u"es"_s, verse),
        speak(u"es"_s, u"Amén."_s),
        speak(u"en"_s, u"Let us pray. The Lord is my shepherd; I shall not want."_s),
        speak(u"en"_s, psalm),
    };
    std::mt19937 random(7);
    const auto noise = [&] { return static_cast<double>(random()) / 2147483648.0 - 1; };
    const auto sine = [](double hertz, double t) { return std::sin(6.283185307 * hertz * t); };
    const std::vector<AudioBlock> between {
        sound(2600, [](double) { return 0.0; }),
        sound(300, [](double) { return 0.0; }),
        sound(4000, [&](double t) { return 0.005 * sine(60, t); }), // mains hum
        sound(3000, [&](double t) { return 0.1 * (sine(220, t) + sine(277, t)); }), // music
        sound(2000, [&](double t) { return (std::fmod(t, 0.12) < 0.05 ? 0.3 : 0.03) * noise(); }),
    };
    AudioBlock all;
    while (all.samples.size() < std::size_t { 240 } * 96000) {
        for (const auto *choice : { &sentences, &between }) {
            const AudioBlock &next = (*choice)[random() % choice->size()];
            all.samples.insert(all.samples.end(), next.samples.begin(), next.samples.end());
        }
    }
    return all;
}

/// What the segmenter hears, by plain arithmetic; both channels are alike.
PhraseSamples heardBy(const AudioBlock &block)
{
    PhraseSamples heard;
    for (std::size_t i = 0; i + 5 < block.samples.size(); i += 6) {
        const double sum = static_cast<double>(block.samples[i])
            + static_cast<double>(block.samples[i + 2]) + static_cast<double>(block.samples[i + 4]);
        heard.push_back(static_cast<std::int16_t>(sum / 3 * 32767));
    }
    return heard;
}

/// Samples that count as voice.
std::ptrdiff_t voiced(std::span<const std::int16_t> samples)
{
    return std::count_if(samples.begin(), samples.end(), [](std::int16_t sample) {
        return sample / 32767.0 * sample / 32767.0 > 0.00004;
    });
}

} // namespace

void SpeechTest::cutsASermon()
{
    const AudioBlock sound = sermon();
    Segmenter segmenter;
    std::vector<PhraseSamples> phrases;
    inPieces(sound, 1024, [&](const AudioBlock &piece) {
        for (auto &phrase : segmenter.push(piece)) {
            phrases.push_back(std::move(phrase));
        }
    });
    QVERIFY(phrases.size() > 40);
    QVERIFY2(phrases == Segmenter().push(sound), "blocks of any length give the same phrases");
    const PhraseSamples heard = heardBy(sound);
    auto end = heard.begin(); // of the phrase before
    std::ptrdiff_t lost = 0;
    for (const PhraseSamples &phrase : phrases) {
        QVERIFY(phrase.size() <= 5 * 16000);
        const auto found = std::search(end, heard.end(), phrase.begin(), phrase.end());
        QVERIFY2(found != heard.end(), "a phrase is a piece of the sound, after the one before");
        const std::ptrdiff_t voice = voiced({ end, found });
        QVERIFY2(voice * 5 <= found - end, "what is left out is mostly silence");
        lost += voice;
        end = found + static_cast<std::ptrdiff_t>(phrase.size());
    }
    lost += voiced({ end, heard.end() });
    QVERIFY2(lost * 50 < voiced(heard), "only a word alone in a long silence is left out");
}

NIMBARA_TEST(SpeechTest)
#include "speech_test.moc"
