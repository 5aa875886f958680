#include "support/test_registry.h"
#include "translation/websocket_frame.h"
#include "translation/websocket_handshake.h"

#include <QTest>

#include <random>

using namespace nimbara::websocket;

class WebsocketFrameTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsKnownFrames_data();
    void readsKnownFrames();
    void writesLengths_data();
    void writesLengths();
    void refusesHugeFrames();
    void joinsFragments();
    void splitsTheHandshakeAnywhere();
    void survivesRandomStreams();
};

void WebsocketFrameTest::readsKnownFrames_data()
{
    // The examples of RFC 6455, section 5.7, and unusual headers.
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("fin");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("payload");
    const auto hex = [](const char *text) { return QByteArray::fromHex(text); };
    QTest::newRow("text") << hex("810548656c6c6f") << true << 1 << QByteArray("Hello");
    QTest::newRow("masked") << hex("818537fa213d7f9f4d5158") << true << 1 << QByteArray("Hello");
    QTest::newRow("first fragment") << hex("010348656c") << false << 1 << QByteArray("Hel");
    QTest::newRow("last fragment") << hex("80026c6f") << true << 0 << QByteArray("lo");
    QTest::newRow("ping") << hex("890548656c6c6f") << true << 9 << QByteArray("Hello");
    QTest::newRow("256 bytes") << hex("827e0100") + QByteArray(256, 'x') << true << 2
                               << QByteArray(256, 'x');
    QTest::newRow("64 KiB") << hex("827f0000000000010000") + QByteArray(65536, 'x') << true << 2
                            << QByteArray(65536, 'x');
    QTest::newRow("masked, 16-bit length")
        << hex("81fe000337fa213d7f9f4d") << true << 1 << QByteArray("Hel");
    QTest::newRow("reserved bits") << hex("f10161") << true << 1 << QByteArray("a");
    QTest::newRow("empty close") << hex("8800") << true << 8 << QByteArray();
}

void WebsocketFrameTest::readsKnownFrames()
{
    QFETCH(QByteArray, bytes);
    FrameReader reader;
    for (qsizetype i = 0; i + 1 < bytes.size(); ++i) {
        reader.append(bytes.mid(i, 1));
        if (i < 12 || i + 12 > bytes.size()) {
            QVERIFY(!reader.next());
        }
    }
    reader.append(bytes.right(1) + QByteArray::fromHex("8a00"));
    const auto frame = reader.next();
    QVERIFY(frame);
    QTEST(frame->fin, "fin");
    QTEST(static_cast<int>(frame->opcode), "code");
    QTEST(frame->payload, "payload");
    QCOMPARE(static_cast<int>(reader.next()->opcode), 10);
    QVERIFY(!reader.next() && !reader.isBroken());
}

void WebsocketFrameTest::writesLengths_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QByteArray>("header");
    QTest::newRow("0") << 0 << QByteArray::fromHex("8180");
    QTest::newRow("125") << 125 << QByteArray::fromHex("81fd");
    QTest::newRow("126") << 126 << QByteArray::fromHex("81fe007e");
    QTest::newRow("65535") << 65535 << QByteArray::fromHex("81feffff");
    QTest::newRow("65536") << 65536 << QByteArray::fromHex("81ff0000000000010000");
}

void WebsocketFrameTest::writesLengths()
{
    QFETCH(int, length);
    QFETCH(QByteArray, header);
    const Mask mask { 0x11, 0x22, 0x33, 0x44 };
    const QByteArray frame = encodeFrame(opcode::text, QByteArray(length, '\0'), mask);
    QCOMPARE(frame.left(header.size() + 4), header + QByteArray::fromHex("11223344"));
    QCOMPARE(frame.mid(header.size() + 4),
        QByteArray::fromHex("11223344").repeated(length / 4 + 1).left(length));
}

void WebsocketFrameTest::refusesHugeFrames()
{
    for (const char *header :
        { "817f8000000000000000", "81ff7fffffffffffffff", "817f0000000000800001" }) {
        FrameReader reader;
        reader.append(QByteArray::fromHex(header));
        QVERIFY(!reader.next());
        QVERIFY(reader.isBroken());
        reader.append(QByteArray::fromHex("810161"));
        QVERIFY2(!reader.next(), "nothing is read from a broken stream");
    }
    FrameReader reader;
    reader.append(QByteArray::fromHex("817f0000000000800000"));
    QVERIFY(!reader.next() && !reader.isBroken());
}

void WebsocketFrameTest::joinsFragments()
{
    MessageReader reader;
    QVERIFY(!reader.add({ false, opcode::text, "Sea " }));
    QVERIFY(!reader.add({ false, opcode::continuation, "la " }));
    QCOMPARE(*reader.add({ true, opcode::continuation, "luz" }), QByteArray("Sea la luz"));
    QCOMPARE(*reader.add({ true, opcode::text, "fue" }), QByteArray("fue"));
    const QByteArray half(maxLength / 2 + 1, 'x');
    QVERIFY(!reader.add({ false, opcode::text, half }) && !reader.isBroken());
    QVERIFY(!reader.add({ true, opcode::continuation, half }) && reader.isBroken());
}

void WebsocketFrameTest::splitsTheHandshakeAnywhere()
{
    const QByteArray answer = "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\n\r\nrest";
    const qsizetype end = answer.indexOf("rest");
    for (qsizetype split = 0; split <= answer.size(); ++split) {
        QByteArray buffer = answer.left(split);
        auto block = takeHeaderBlock(buffer);
        QCOMPARE(block.has_value(), split >= end);
        buffer += answer.mid(split);
        if (!block) {
            block = takeHeaderBlock(buffer);
        }
        QCOMPARE(*block, answer.left(end - 4));
        QVERIFY(isUpgraded(*block));
        QCOMPARE(buffer, QByteArray("rest"));
    }
    QByteArray endless(maxHeaderBlock + 1, 'x');
    QVERIFY(!isUpgraded(*takeHeaderBlock(endless)));
    QVERIFY(endless.isEmpty());
}

void WebsocketFrameTest::survivesRandomStreams()
{
    std::mt19937 random(20240317);
    const auto below = [&](std::uint32_t limit) { return static_cast<int>(random() % limit); };
    for (int round = 0; round < 400; ++round) {
        QByteArray stream;
        QByteArrayList sent;
        for (int i = below(6); i >= 0; --i) {
            const int length = below(4) == 0 ? below(70000) : below(200);
            sent.append(QByteArray(length, static_cast<char>(below(256))));
            const Mask mask { static_cast<std::uint8_t>(random()), 0, 7, 255 };
            stream += encodeFrame(static_cast<std::uint8_t>(below(16)), sent.last(), mask);
        }
        const bool damaged = round % 2 == 1;
        for (int i = damaged ? 1 + below(8) : 0; i > 0; --i) {
            const int start = below(2) == 0 ? 0 : below(static_cast<std::uint32_t>(stream.size()));
            stream[std::min<qsizetype>(start + below(14), stream.size() - 1)]
                = static_cast<char>(random());
        }
        FrameReader reader;
        MessageReader messages;
        QByteArrayList received;
        for (qsizetype at = 0; at < stream.size();) {
            const int piece = 1 + below(below(2) == 0 ? 8 : 9000);
            reader.append(stream.mid(at, piece));
            at += piece;
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
