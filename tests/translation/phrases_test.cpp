#include "support/test_registry.h"
#include "translation/pipeline/caption_text.h"
#include "translation/pipeline/heard_line.h"
#include "translation/pipeline/phrase_order.h"
#include "translation/pipeline/request_line.h"
#include "translation/pipeline/transcript_memory.h"
#include "translation/pipeline/voice.h"

using namespace nimbara;
using namespace Qt::StringLiterals;

class PhrasesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void givesEveryOrderInOrder()
    {
        PhraseOrder order;
        std::array<std::int32_t, 5> arrival { 0, 1, 2, 3, 4 };
        do {
            const std::int32_t first = order.take(1);
            for (int i = 1; i < 5; ++i) {
                order.take(1);
            }
            QString shown;
            for (const std::int32_t i : arrival) {
                order.store(first + i, QString::number(i));
                while (const auto next = order.next()) {
                    shown += next->text;
                }
            }
            QCOMPARE(shown, u"01234"_s);
        } while (std::next_permutation(arrival.begin(), arrival.end()));
    }

    void skipsALatePhrase()
    {
        PhraseOrder order;
        for (int i = 0; i < 4; ++i) {
            order.take(1000 + i);
        }
        QVERIFY2(!order.skipLate(100000), "nothing waits behind it");
        order.store(3, u"d"_s);
        QVERIFY(!order.skipLate(8000));
        QVERIFY(order.skipLate(8001));
        QVERIFY2(!order.next(), "one phrase per call");
        order.store(0, u"late"_s);
        order.store(1, u"b"_s);
        QVERIFY(!order.skipLate(100000));
        QCOMPARE(order.next()->text, u"b"_s);
        QVERIFY(order.skipLate(100000));
        QCOMPARE(order.next()->text, u"d"_s);
        QVERIFY(!order.next() && !order.skipLate(200000));
    }

    /// 51 phrases, a second apart, without the network.
    void givesUpWhatNoScreenCanUse()
    {
        RequestLine line;
        const auto useless = [&](std::int64_t wallMs) {
            QList<std::int32_t> sequences;
            for (const PhraseRequest &request : line.takeUseless(wallMs)) {
                sequences.append(request.sequence);
            }
            return sequences;
        };
        QVERIFY(line.putBack({ 0, {}, {}, {}, {} }, 0, 0));
        for (std::int32_t i = 1; i <= 50; ++i) {
            QVERIFY2(line.hasRoom(), "the newest always has");
            line.add({ i, { 0, i * 1000 }, {}, {}, {} });
        }
        QCOMPARE(useless(50'000), (QList { 0, 1, 2 })); // 48 may wait
        QCOMPARE(useless(95'000), (QList { 3, 4 }));
        QCOMPARE(line.take(95'000, 0)->sequence, 5);
    }

    void tellsRepetitions()
    {
        const auto repeats = [](const QString &first, const QString &second) {
            TranscriptMemory memory;
            return !memory.isRepeated(first) && memory.isRepeated(second);
        };
        QVERIFY(repeats(u"¡El Señor  habló!"_s, u"EL SEÑOR HABLÓ."_s));
        QVERIFY(repeats(u"하나님"_s, u"하나님!"_s));
        QVERIFY(!repeats(u"Gloria a Dios"_s, u"Gloria a Dios hoy"_s));
        QVERIFY(!repeats(u"Juan 3 16"_s, u"Juan 3 17"_s));
        QVERIFY(!repeats(u"..."_s, u"..."_s));
        TranscriptMemory memory;
        for (int i = 0; i < 7; ++i) {
            QVERIFY(!memory.isRepeated(u"frase %1"_s.arg(i)));
        }
        QVERIFY2(!memory.isRepeated(u"frase 0"_s), "six are remembered");
        QVERIFY(memory.isRepeated(u"frase 2"_s));
    }

    void givesBoundedContext()
    {
        TranscriptMemory memory;
        QVERIFY(memory.context().isEmpty());
        memory.addOriginal(u"uno"_s);
        memory.addTranslation(u"one"_s);
        memory.addOriginal(u"dos"_s);
        QCOMPARE(memory.context(), u"Previous original:  uno dos\nPrevious translation:  one\n"_s);
        for (int i = 0; i < 5000; ++i) {
            memory.addOriginal(u"🙏🏽a"_s);
            memory.addTranslation(u"b"_s);
        }
        const QString context = memory.context();
        QVERIFY(context.size() > 800 && context.size() <= 843);
        QCOMPARE(QString::fromUtf8(context.toUtf8()), context); // no half of a surrogate pair
    }

    void speaksOnlyTheNewestPhrase()
    {
        AudioFifo queue(voiceQueueLimit);
        queueVoice(queue, QByteArray(maxVoiceBytes, '\1'));
        QCOMPARE(queue.size(), voiceQueueLimit);
        queueVoice(queue, QByteArray(96000, '\0'));
        QCOMPARE(queue.size(), std::size_t { 192000 });
        queueVoice(queue, QByteArray::fromHex("0080ff7f55"));
        QCOMPARE(queue.size(), std::size_t { 8 });
        QCOMPARE(queue.at(3), -1.0F);
        QCOMPARE(queue.at(4), 32767.0F / 32768.0F);
    }

    void keepsPartialTextsOutOfTheLog()
    {
        QVERIFY(!heard::logText(u"… hermanos"_s));
        QCOMPARE(*heard::logText(u"…hermanos"_s), u"IA escuchó: …hermanos"_s);
        QCOMPARE(heard::label(u"a"_s + u"b"_s.repeated(300)).spanish(),
            u"Escuchado: "_s + u"b"_s.repeated(300));
    }
};

class CaptionTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void keepsTheNewestPhrases()
    {
        CaptionText captions;
        captions.addCaption(u" uno\n"_s, 1);
        captions.addCaption(u"  "_s, 2);
        QCOMPARE(captions.captionPhrases(), QStringList { u"uno"_s });
        for (int i = 0; i < 300; ++i) {
            captions.addCaption(QString::number(i), 3);
        }
        QCOMPARE(captions.captionPhrases().size(), CaptionText::maxPhrases);
        QCOMPARE(captions.captionPhrases().last(), u"299"_s);
        const QStringList joined { u" "_s, u"\n"_s, u"\n\n"_s, u"\n"_s };
        for (int setting = 0; setting < 4; ++setting) {
            QCOMPARE(separatorText(captionSeparator(setting)), joined.at(setting));
        }
    }

    void clearsAfterFortySeconds()
    {
        CaptionText captions;
        captions.addCaption(u"uno"_s, 5000);
        captions.addCaption(u"dos"_s, 6000);
        QVERIFY(!captions.clearOld(46000));
        QCOMPARE(captions.captionPhrases(), (QStringList { u"uno"_s, u"dos"_s }));
        QVERIFY(captions.clearOld(46001));
        QVERIFY(captions.captionPhrases().isEmpty());
        QVERIFY(!captions.clearOld(90000));
    }
};

NIMBARA_TEST(PhrasesTest)
NIMBARA_TEST(CaptionTextTest)
#include "phrases_test.moc"
