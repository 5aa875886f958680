#include "support/test_registry.h"
#include "translation/heard_line.h"
#include "translation/languages.h"
#include "translation/phrase_order.h"
#include "translation/transcript_memory.h"
#include "translation/voice.h"

#include <QTest>

#include <algorithm>
#include <array>

using namespace nimbara;

class PhrasesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void releasesEveryPermutationInOrder();
    void skipsALatePhrase();
    void tellsRepetitions_data();
    void tellsRepetitions();
    void forgetsOldTranscripts();
    void givesBoundedContext();
    void speaksOnlyTheNewestPhrase();
    void keepsPartialTextsOutOfTheLog();
    void knowsWhatIsPreached();
};

void PhrasesTest::releasesEveryPermutationInOrder()
{
    std::array<std::int32_t, 5> arrival { 0, 1, 2, 3, 4 };
    do {
        PhraseOrder order;
        for (std::int64_t time = 100; time < 105; ++time) {
            QCOMPARE(order.take(time), static_cast<std::int32_t>(time - 100));
        }
        QString shown;
        for (const std::int32_t sequence : arrival) {
            order.store(sequence, QStringLiteral(" %1 ").arg(sequence));
            while (const auto phrase = order.next()) {
                QCOMPARE(phrase->phraseTimeMs, 100 + shown.size());
                shown += phrase->text;
            }
        }
        QCOMPARE(shown, QStringLiteral("01234"));
    } while (std::next_permutation(arrival.begin(), arrival.end()));
}

void PhrasesTest::skipsALatePhrase()
{
    PhraseOrder order;
    for (int i = 0; i < 4; ++i) {
        order.take(1000 + i);
    }
    QVERIFY2(!order.skipLate(100000), "nothing waits behind it");
    order.store(3, QStringLiteral("d"));
    QVERIFY(!order.skipLate(8000));
    QVERIFY(order.skipLate(8001));
    QVERIFY2(!order.next(), "one phrase per call");
    order.store(0, QStringLiteral("late"));
    order.store(1, QStringLiteral("b"));
    QVERIFY(!order.skipLate(100000));
    QCOMPARE(order.next()->text, QStringLiteral("b"));
    QVERIFY(order.skipLate(100000));
    QCOMPARE(order.next()->text, QStringLiteral("d"));
    QVERIFY(!order.next());
    QVERIFY(!order.skipLate(200000));
    order.clear();
    QCOMPARE(order.take(1), 0);
}

void PhrasesTest::tellsRepetitions_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<bool>("repeated");
    QTest::newRow("same") << "Gloria a Dios"
                          << "Gloria a Dios" << true;
    QTest::newRow("case and marks") << "¡Gloria a Dios!"
                                    << "gloria  a dios." << true;
    QTest::newRow("accents count") << "El Señor habló"
                                   << "EL SEÑOR HABLÓ" << true;
    QTest::newRow("other words") << "Gloria a Dios"
                                 << "Gloria a Dios hoy" << false;
    QTest::newRow("other digits") << "Juan 3 16"
                                  << "Juan 3 17" << false;
    QTest::newRow("only marks") << "..."
                                << "..." << false;
    QTest::newRow("other scripts")
        << QString::fromUtf8("하나님") << QString::fromUtf8("하나님!") << true;
}

void PhrasesTest::tellsRepetitions()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    TranscriptMemory memory;
    QVERIFY(!memory.isRepeated(first));
    QTEST(memory.isRepeated(second), "repeated");
}

void PhrasesTest::forgetsOldTranscripts()
{
    TranscriptMemory memory;
    for (int i = 0; i < 7; ++i) {
        QVERIFY(!memory.isRepeated(QStringLiteral("frase %1").arg(i)));
    }
    QVERIFY(!memory.isRepeated(QStringLiteral("frase 0")));
    QVERIFY(memory.isRepeated(QStringLiteral("frase 2")));
}

void PhrasesTest::givesBoundedContext()
{
    TranscriptMemory memory;
    QVERIFY(memory.context().isEmpty());
    memory.addOriginal(QStringLiteral("uno"));
    memory.addTranslation(QStringLiteral("one"));
    memory.addOriginal(QStringLiteral("dos"));
    QCOMPARE(memory.context(),
        QStringLiteral("Previous original:  uno dos\nPrevious translation:  one\n"));
    for (int i = 0; i < 5000; ++i) {
        memory.addOriginal(QString::fromUtf8("🙏🏽a"));
        memory.addTranslation(QStringLiteral("b"));
    }
    const QString context = memory.context();
    QVERIFY(context.size() > 800 && context.size() <= 843);
    QCOMPARE(QString::fromUtf8(context.toUtf8()), context); // no half of a surrogate pair
}

void PhrasesTest::speaksOnlyTheNewestPhrase()
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

void PhrasesTest::keepsPartialTextsOutOfTheLog()
{
    QVERIFY(!heard::logText(QString::fromUtf8("… hermanos")));
    QCOMPARE(*heard::logText(QString::fromUtf8("…hermanos")),
        QStringLiteral("IA escuchó: …hermanos"));
    QCOMPARE(heard::label(QString(100, QLatin1Char('a')) + QString(300, QLatin1Char('b'))),
        QString(QStringLiteral("Escuchado: ") + QString(300, QLatin1Char('b'))));
}

void PhrasesTest::knowsWhatIsPreached()
{
    QCOMPARE(languages::sourceFor(QStringLiteral("Spanish")), QStringLiteral("en"));
    QCOMPARE(languages::sourceFor(QStringLiteral("English")), QStringLiteral("es"));
    QVERIFY(languages::sourceFor(QStringLiteral("Tagalog")).isEmpty());
    QCOMPARE(languages::targets().size(), 16);
    QVERIFY(languages::targets().contains(languages::defaultTarget()));
}

NIMBARA_TEST(PhrasesTest)
#include "phrases_test.moc"
