#include "support/test_registry.h"
#include "translation/segmenter.h"
#include "translation/signal.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <cmath>
#include <numbers>
#include <random>

using namespace nimbara;
using namespace nimbara::testing;

/// The segmenter on minutes of spoken Spanish and English with what a church sounds like between.
class SpeechTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cutsASermon();

private:
    AudioBlock m_sermon;
};

namespace {

/// Speaks the text; 48 kHz, both channels alike.
AudioBlock speak(const QString &voice, const QString &text)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("speech.wav"));
    QProcess process;
    process.start(QStringLiteral("espeak-ng"),
        { QStringLiteral("-v"), voice, QStringLiteral("-w"), path, text });
    QFile file(path);
    if (!process.waitForFinished() || !file.open(QIODevice::ReadOnly)) {
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
        const double part = at - static_cast<double>(whole);
        const double value = sample(whole) * (1 - part) + sample(whole + 1) * part;
        block.samples.insert(block.samples.end(), 2, static_cast<float>(value));
    }
    return block;
}

AudioBlock sound(int ms, const std::function<double(double seconds)> &level)
{
    AudioBlock block;
    for (int frame = 0; frame < ms * 48; ++frame) {
        block.samples.insert(block.samples.end(), 2, static_cast<float>(level(frame / 48000.0)));
    }
    return block;
}

double sine(double hertz, double seconds)
{
    return std::sin(2 * std::numbers::pi * hertz * seconds);
}

void append(AudioBlock &to, const AudioBlock &block)
{
    to.samples.insert(to.samples.end(), block.samples.begin(), block.samples.end());
}

/// What the segmenter hears, by plain arithmetic.
PhraseSamples heardBy(const AudioBlock &block)
{
    PhraseSamples heard;
    for (std::size_t i = 0; i + 5 < block.samples.size(); i += 6) {
        double sum = 0;
        for (std::size_t frame = 0; frame < 3; ++frame) {
            const double left = block.samples[i + frame * 2];
            const double right = block.samples[i + frame * 2 + 1];
            sum += std::clamp((left + right) * 0.5, -1.0, 1.0);
        }
        heard.push_back(static_cast<std::int16_t>(sum / 3 * 32767));
    }
    return heard;
}

/// Samples that the segmenter takes for voice.
std::ptrdiff_t voiced(std::span<const std::int16_t> samples)
{
    return std::count_if(samples.begin(), samples.end(), [](std::int16_t sample) {
        return sample / 32767.0 * sample / 32767.0 > 0.00004;
    });
}

} // namespace

void SpeechTest::initTestCase()
{
    const std::vector<AudioBlock> sentences {
        speak(QStringLiteral("es"),
            QStringLiteral("Hermanos, abramos la Biblia. Juan tres dieciséis.")),
        speak(QStringLiteral("es"),
            QStringLiteral(
                "Porque de tal manera amó Dios al mundo que ha dado a su Hijo unigénito para "
                "que todo aquel que en él cree no se pierda mas tenga vida eterna y esto "
                "hermanos es lo que hoy queremos recordar juntos en esta casa")),
        speak(QStringLiteral("es"), QStringLiteral("Amén.")),
        speak(QStringLiteral("en"),
            QStringLiteral("Let us pray. The Lord is my shepherd; I shall not want.")),
        speak(QStringLiteral("en"),
            QStringLiteral(
                "He makes me lie down in green pastures he leads me beside still waters he "
                "restores my soul and guides me along the right paths")),
    };
    std::mt19937 random(7);
    const auto noise = [&] { return static_cast<double>(random()) / 4294967296.0 * 2 - 1; };
    const std::vector<AudioBlock> between {
        sound(2600, [](double) { return 0.0; }),
        sound(4000, [](double t) { return 0.005 * sine(60, t); }), // mains hum
        sound(3000,
            [](double t) { return 0.2 * (sine(220, t) + sine(277, t) + sine(330, t)) / 3; }),
        sound(2000,
            [&](double t) { return 0.3 * noise() * (std::fmod(t, 0.12) < 0.05 ? 1 : 0.1); }),
        sound(300, [](double) { return 0.0; }),
        sound(800, [](double t) { return 0.002 * sine(50, t); }),
    };
    while (m_sermon.samples.size() < std::size_t { 240 } * 96000) {
        append(m_sermon, sentences[random() % sentences.size()]);
        append(m_sermon, between[random() % between.size()]);
    }
    append(m_sermon, between[0]);
}

void SpeechTest::cutsASermon()
{
    Segmenter segmenter;
    std::vector<PhraseSamples> phrases;
    inPieces(m_sermon, 1024, [&](const AudioBlock &piece) {
        for (auto &phrase : segmenter.push(piece)) {
            phrases.push_back(std::move(phrase));
        }
    });
    QVERIFY(phrases.size() > 40);
    const PhraseSamples heard = heardBy(m_sermon);
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
