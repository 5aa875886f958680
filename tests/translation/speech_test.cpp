#include "support/test_registry.h"
#include "translation/pipeline/segmenter.h"
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
    block.samples.resize(block.samples.size() / 6 * 6); // whole samples of 16 kHz
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

/// Sentences of 3 to 32 words, which no voice speaks twice alike.
QStringList sentences(const QString &words, std::mt19937 &random)
{
    const QStringList known = words.split(u' ');
    QStringList all;
    for (int count = 3; count <= 32; ++count) {
        QStringList sentence;
        for (int i = 0; i < count; ++i) {
            sentence.append(known.at(static_cast<qsizetype>(random()) % known.size()));
        }
        all.append(sentence.join(u' ') + u'.');
    }
    return all;
}

/// A preacher in two languages, and what a church sounds like between and under the words.
class Sermon {
public:
    Sermon()
    {
        const QString es = u"porque Dios amó al mundo hermanos gracia y paz en esta casa que luz "
                           "palabra vida eterna señor dijo a los cielos tierra camino verdad"_s;
        const QString en = u"the Lord is my shepherd he leads me beside still waters grace and "
                           "peace light of world love truth bread for us all"_s;
        for (const auto &[voice, words] : { std::pair(u"es"_s, es), std::pair(u"en"_s, en) }) {
            for (const QString &sentence : sentences(words, m_random)) {
                m_spoken.push_back(speak(voice, sentence));
            }
        }
    }

    /// What comes next: by turns a sentence, every fourth over music, and a pause of some kind.
    AudioBlock next()
    {
        if ((++m_turn & 1U) == 0) {
            return pause();
        }
        AudioBlock block = m_spoken.at(m_random() % m_spoken.size());
        if (m_turn % 8 == 1) {
            for (std::size_t i = 0; i < block.samples.size(); ++i) {
                const double under = music(static_cast<double>(i / 2) / 48000);
                block.samples[i] = 0.8F * block.samples[i] + static_cast<float>(under);
            }
        }
        return block;
    }

    /// Seconds of a room in which nobody speaks and the mains hum.
    AudioBlock hum(int seconds)
    {
        return sound(seconds * 1000, [this](double t) { return 0.005 * sine(60, t) + air(); });
    }

private:
    static double sine(double hertz, double t) { return std::sin(6.283185307 * hertz * t); }
    static double music(double t) { return 0.05 * (sine(220, t) + sine(277, t)); }
    double noise() { return static_cast<double>(m_random()) / 2147483648.0 - 1; }
    double air() { return 0.0005 * noise(); }

    AudioBlock pause()
    {
        switch (m_random() % 5) {
        case 0:
            return hum(4);
        case 1:
            return sound(3000, [this](double t) { return music(t) + air(); });
        case 2: // applause
            return sound(2000,
                [this](double t) { return (std::fmod(t, 0.12) < 0.05 ? 0.3 : 0.03) * noise(); });
        default:
            return sound(m_random() % 2 == 0 ? 300 : 2600, [this](double) { return air(); });
        }
    }

    std::mt19937 m_random { 7 };
    std::vector<AudioBlock> m_spoken;
    unsigned m_turn = 0;
};

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

/// Twenty minutes.
void SpeechTest::cutsASermon()
{
    Sermon sermon;
    Segmenter segmenter;
    Segmenter whole; // takes each sound at once
    PhraseSamples heard;
    std::vector<PhraseSamples> phrases;
    while (heard.size() < std::size_t { 20 } * 60 * 16000) {
        const AudioBlock sound = sermon.next();
        std::vector<PhraseSamples> cut;
        inPieces(sound, 1024, [&](const AudioBlock &piece) {
            for (auto &phrase : segmenter.push(piece)) {
                cut.push_back(std::move(phrase));
            }
        });
        QVERIFY2(cut == whole.push(sound), "blocks of any length give the same phrases");
        const PhraseSamples more = heardBy(sound);
        heard.insert(heard.end(), more.begin(), more.end());
        std::move(cut.begin(), cut.end(), std::back_inserter(phrases));
    }
    auto end = heard.begin(); // of the phrase before
    std::ptrdiff_t lost = 0;
    std::size_t longest = 0;
    for (const PhraseSamples &phrase : phrases) {
        longest = std::max(longest, phrase.size());
        const auto found = std::search(end, heard.end(), phrase.begin(), phrase.end());
        QVERIFY2(found != heard.end(), "a phrase is a piece of the sound, after the one before");
        const std::ptrdiff_t voice = voiced({ end, found });
        QVERIFY2(voice * 5 <= found - end, "what is left out is mostly silence");
        lost += voice;
        end = found + static_cast<std::ptrdiff_t>(phrase.size());
    }
    lost += voiced({ end, heard.end() });
    const double share = static_cast<double>(lost) / static_cast<double>(voiced(heard));
    qInfo("%zu phrases, %.2f s at most, %.2f %% of the voice left out",
        phrases.size(),
        static_cast<double>(longest) / 16000,
        share * 100);
    QVERIFY(phrases.size() > 200 && longest <= std::size_t { 5 } * 16000);
    QVERIFY2(share < 0.02, "only a word alone in a long silence is left out");
    segmenter.flush();
    QVERIFY2(segmenter.push(sermon.hum(180)).empty(), "nobody speaks");
}

NIMBARA_TEST(SpeechTest)
#include "speech_test.moc"
