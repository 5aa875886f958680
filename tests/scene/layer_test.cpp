#include "app/i18n.h"
#include "scene/layer.h"
#include "scene/layer_geometry.h"
#include "support/test_registry.h"

#include <QTest>

using namespace nimbara;

class LayerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void kindsGoThroughTheirWords_data();
    void kindsGoThroughTheirWords();
    void unknownKindsReadAsCamera();
    void horizontalEditsKeepTheVerticalBits_data();
    void horizontalEditsKeepTheVerticalBits();
};

void LayerTest::kindsGoThroughTheirWords_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("name");

    const auto row = [](int kind, const char *word, const char *name) {
        QTest::newRow(word) << kind << QString::fromLatin1(word) << QString::fromUtf8(name);
    };
    row(0, "camera", "Cámara");
    row(1, "image", "Imagen");
    row(2, "text", "Texto");
    row(3, "video", "Video");
    row(4, "screen", "Pantalla");
    row(5, "color", "Color");
    row(6, "verse", "Versículo");
    row(7, "subtitle", "Subtítulos (IA)");
}

void LayerTest::kindsGoThroughTheirWords()
{
    QFETCH(int, kind);
    QFETCH(QString, word);
    QFETCH(QString, name);
    const auto value = static_cast<LayerKind>(kind);
    QCOMPARE(wordOfKind(value), word);
    QCOMPARE(kindFromWord(word), value);
    QCOMPARE(displayName(value), name);
}

void LayerTest::unknownKindsReadAsCamera()
{
    QCOMPARE(kindFromWord(QStringLiteral("Camera ")), LayerKind::Camera);
    QCOMPARE(kindFromWord(QString()), LayerKind::Camera);
    for (const int outside : { -1, 8, 1'000'000 }) {
        QCOMPARE(wordOfKind(static_cast<LayerKind>(outside)), QStringLiteral("camera"));
        QVERIFY(displayName(static_cast<LayerKind>(outside)).isEmpty());
    }
}

void LayerTest::horizontalEditsKeepTheVerticalBits_data()
{
    QTest::addColumn<int>("bits");
    QTest::addColumn<int>("shown"); // 0 left, 1 centre, 2 right
    QTest::addColumn<int>("chosen");
    QTest::addColumn<int>("result");

    QTest::newRow("centred to left") << 132 << 1 << 0 << 129;
    QTest::newRow("top left to centre") << 33 << 0 << 1 << 36;
    QTest::newRow("bottom right to right") << 66 << 2 << 2 << 66;
    QTest::newRow("justified to right") << (8 | 64) << 0 << 2 << 66;
    QTest::newRow("vertical only") << 128 << 0 << 1 << 132;
}

void LayerTest::horizontalEditsKeepTheVerticalBits()
{
    QFETCH(int, bits);
    QFETCH(int, shown);
    QFETCH(int, chosen);
    QFETCH(int, result);
    QCOMPARE(static_cast<int>(horizontalAlign(bits)), shown);
    QCOMPARE(withHorizontalAlign(bits, static_cast<HorizontalAlign>(chosen)), result);
}

NIMBARA_TEST(LayerTest)
#include "layer_test.moc"
