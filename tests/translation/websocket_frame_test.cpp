#include "net/websocket_frame.h"
#include "net/websocket_handshake.h"
#include "support/test_registry.h"

#include <random>

using namespace nimbara::websocket;
using nimbara::testing::RowName;

class WebsocketFrameTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsKnownFrames()
    {
        // The examples of RFC 6455, section 5.7, and unusual headers; FIN with the opcode.
        for (const auto &[hex, more, first, payload] :
            { std::tuple { "810548656c6c6f", 0, 0x81, QByteArray("Hello") },
                { "818537fa213d7f9f4d5158", 0, 0x81, "Hello" },
                { "010348656c", 0, 0x01, "Hel" },
                { "80026c6f", 0, 0x80, "lo" },
                { "890548656c6c6f", 0, 0x89, "Hello" },
                { "827e0100", 256, 0x82, QByteArray(256, 'x') },
                { "827f0000000000010000", 65536, 0x82, QByteArray(65536, 'x') },
                { "81fe000337fa213d7f9f4d", 0, 0x81, "Hel" },
                { "f10161", 0, 0x81, "a" }, // reserved bits
                { "8800", 0, 0x88, "" } }) {
            const RowName named(hex);
            const QByteArray bytes = QByteArray::fromHex(hex) + payload.right(more);
            FrameReader reader;
            for (qsizetype i = 0; i + 1 < bytes.size(); ++i) {
                reader.append(bytes.mid(i, 1));
                QVERIFY(!reader.next());
            }
            reader.append(bytes.right(1) + QByteArray::fromHex("8a00"));
            const auto frame = reader.next();
            QVERIFY(frame);
            QCOMPARE((frame->fin ? 0x80 : 0) | frame->opcode, first);
            QCOMPARE(frame->payload, payload);
            QCOMPARE(static_cast<int>(reader.next()->opcode), 10);
            QVERIFY(!reader.next() && !reader.isBroken());
        }
    }

    void refusesHugeFrames()
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

    void refusesHugeMessages()
    {
        MessageReader reader;
        const QByteArray half(maxLength / 2 + 1, 'x');
        QVERIFY(!reader.add({ false, opcode::text, half }) && !reader.isBroken());
        QVERIFY(!reader.add({ true, opcode::continuation, half }) && reader.isBroken());
    }

    void survivesRandomStreams()
    {
        std::mt19937 random(20240317);
        const auto below
            = [&](qsizetype limit) { return static_cast<qsizetype>(random()) % limit; };
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
};

NIMBARA_TEST(WebsocketFrameTest)
#include "websocket_frame_test.moc"
