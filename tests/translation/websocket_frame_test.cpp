#include "net/websocket_frame.h"
#include "net/websocket_handshake.h"
#include "support/test_registry.h"

#include <QTest>

#include <random>

using namespace nimbara::websocket;

class WebsocketFrameTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsKnownFrames_data();
    void readsKnownFrames();
    void refusesHugeFrames();
    void refusesHugeMessages();
    void survivesRandomStreams();
};

void WebsocketFrameTest::readsKnownFrames_data()
{
    // The examples of RFC 6455, section 5.7, and unusual headers.
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("first"); // FIN and opcode
    QTest::addColumn<QByteArray>("payload");
    const auto row = [](const char *hex, int first, const QByteArray &payload, int more = 0) {
        QTest::newRow(hex) << QByteArray::fromHex(hex) + payload.right(more) << first << payload;
    };
    row("810548656c6c6f", 0x81, "Hello");
    row("818537fa213d7f9f4d5158", 0x81, "Hello");
    row("010348656c", 0x01, "Hel");
    row("80026c6f", 0x80, "lo");
    row("890548656c6c6f", 0x89, "Hello");
    row("827e0100", 0x82, QByteArray(256, 'x'), 256);
    row("827f0000000000010000", 0x82, QByteArray(65536, 'x'), 65536);
    row("81fe000337fa213d7f9f4d", 0x81, "Hel");
    row("f10161", 0x81, "a"); // reserved bits
    row("8800", 0x88, "");
}

void WebsocketFrameTest::readsKnownFrames()
{
    QFETCH(QByteArray, bytes);
    FrameReader reader;
    for (qsizetype i = 0; i + 1 < bytes.size(); ++i) {
        reader.append(bytes.mid(i, 1));
        QVERIFY(!reader.next());
    }
    reader.append(bytes.right(1) + QByteArray::fromHex("8a00"));
    const auto frame = reader.next();
    QVERIFY(frame);
    QTEST((frame->fin ? 0x80 : 0) | frame->opcode, "first");
    QTEST(frame->payload, "payload");
    QCOMPARE(static_cast<int>(reader.next()->opcode), 10);
    QVERIFY(!reader.next() && !reader.isBroken());
}

void WebsocketFrameTest::refusesHugeFrames()
{
    for (const char *hex :
        { "817f8000000000000000", "81ff7fffffffffffffff", "817f0000000000800001" }) {
        FrameReader reader;
        reader.append(QByteArray::fromHex(hex));
        QVERIFY(!reader.next() && reader.isBroken());
        reader.append(QByteArray::fromHex("810161"));
        QVERIFY2(!reader.next(), "nothing is read from a broken stream");
    }
    FrameReader reader;
    reader.append(QByteArray::fromHex("817f0000000000800000"));
    QVERIFY(!reader.next() && !reader.isBroken());
    QByteArray endless(maxHeaderBlock + 1, 'x');
    QVERIFY(!isUpgraded(*takeHeaderBlock(endless)) && endless.isEmpty());
}

void WebsocketFrameTest::refusesHugeMessages()
{
    MessageReader reader;
    const QByteArray half(maxLength / 2 + 1, 'x');
    QVERIFY(!reader.add({ false, opcode::text, half }) && !reader.isBroken());
    QVERIFY(!reader.add({ true, opcode::continuation, half }) && reader.isBroken());
}

void WebsocketFrameTest::survivesRandomStreams()
{
    std::mt19937 random(20240317);
    const auto below = [&](qsizetype limit) { return static_cast<qsizetype>(random()) % limit; };
    for (int round = 0; round < 400; ++round) {
        QByteArray stream;
        QByteArrayList sent;
        for (qsizetype i = below(6); i >= 0; --i) {
            sent.append(
                QByteArray(below(below(4) == 0 ? 70000 : 200), static_cast<char>(random())));
            const Mask mask { static_cast<std::uint8_t>(random()), 0, 7, 255 };
            stream += encodeFrame(static_cast<std::uint8_t>(below(16)), sent.last(), mask);
        }
        const bool damaged = round % 2 == 1;
        for (qsizetype i = damaged ? 1 + below(8) : 0; i > 0; --i) {
            const qsizetype at = (below(2) == 0 ? 0 : below(stream.size())) + below(14);
            stream[std::min(at, stream.size() - 1)] = static_cast<char>(random());
        }
        FrameReader reader;
        MessageReader messages;
        QByteArrayList received;
        for (qsizetype at = 0, piece = 0; at < stream.size(); at += piece) {
            piece = 1 + below(below(2) == 0 ? 8 : 9000);
            reader.append(stream.mid(at, piece));
            while (const auto frame = reader.next()) {
                QVERIFY(frame->payload.size() <= stream.size());
                received.append(frame->payload);
                messages.add(*frame);
            }
        }
        QVERIFY2(damaged || received == sent, "a sound stream arrives whole");
    }
}

NIMBARA_TEST(WebsocketFrameTest)
#include "websocket_frame_test.moc"
