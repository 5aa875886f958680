#include "scene/profile.h"
#include "support/test_registry.h"
#include "translation/caption_text.h"

#include <QTest>

using namespace nimbara;

class CaptionTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void findsTheBox();
    void joins_data();
    void joins();
    void dropsTheOldestFromTheTop();
    void keepsANewestThatDoesNotFit();
    void clearsAfterFortySeconds();
    void holdsNinetyMinutes();
};

namespace {

const CaptionBox roomy { QSizeF(1700, 800), QStringLiteral("Sans Serif"), 60, true };

Layer subtitle(double width, bool visible)
{
    Layer layer = newLayer(LayerKind::Subtitle);
    layer.w = width;
    layer.h = 0.5;
    layer.visible = visible;
    layer.size = 54;
    layer.bold = false;
    layer.font = QStringLiteral("Serif");
    return layer;
}

} // namespace

void CaptionTextTest::findsTheBox()
{
    const Scene hidden { QStringLiteral("a"),
        { newLayer(LayerKind::Camera), subtitle(0.9, false) } };
    const Scene narrow { QStringLiteral("b"), { subtitle(0.25, true), subtitle(0.75, true) } };
    const Scene wide { QStringLiteral("c"), { subtitle(1.0, true) } };
    const CaptionBox found { QSizeF(456, 524), QStringLiteral("Serif"), 54, false };
    QCOMPARE(captionBox(hidden, { wide, narrow }, landscapeSize).size, QSizeF(1896, 524));
    QCOMPARE(captionBox(hidden, { hidden, narrow, wide }, landscapeSize), found);
    QCOMPARE(captionBox(narrow, { wide }, landscapeSize), found);
    const CaptionBox none { QSizeF(972, 1440), QStringLiteral("Sans Serif"), 120, true };
    QCOMPARE(captionBox(hidden, { hidden }, portraitSize), none);
}

void CaptionTextTest::joins_data()
{
    QTest::addColumn<int>("setting");
    QTest::addColumn<QString>("joined");
    QTest::newRow("blank") << 0 << "uno dos";
    QTest::newRow("line") << 1 << "uno\ndos";
    QTest::newRow("empty line") << 2 << "uno\n\ndos";
    QTest::newRow("unknown setting") << 7 << "uno\ndos";
}

void CaptionTextTest::joins()
{
    QFETCH(int, setting);
    CaptionText captions;
    captions.addCaption(QStringLiteral(" uno\n"), roomy, 1);
    captions.addCaption(QStringLiteral("  "), roomy, 2);
    captions.addCaption(QStringLiteral("dos"), roomy, 3);
    captions.setSeparator(captionSeparator(setting));
    QTEST(captions.captionText(), "joined");
    captions.addCaption(QStringLiteral("tres"), roomy, 4);
    QCOMPARE(captions.captionPhrases().size(), 3);
    captions.clear();
    QVERIFY(captions.captionText().isEmpty() && captions.captionPhrases().isEmpty());
}

void CaptionTextTest::dropsTheOldestFromTheTop()
{
    CaptionText captions;
    for (int i = 0; i < 100; ++i) {
        const QString phrase = QStringLiteral("Frase número %1").arg(i);
        captions.addCaption(phrase, roomy, 1);
        QVERIFY(captionFits(captions.captionText(), roomy));
        QCOMPARE(captions.captionPhrases().last(), phrase);
    }
    const QStringList phrases = captions.captionPhrases();
    QVERIFY(phrases.size() > 5);
    QCOMPARE(phrases.first(), QStringLiteral("Frase número %1").arg(100 - phrases.size()));
    QVERIFY2(!captionFits(QStringLiteral("Frase\n") + captions.captionText(), roomy),
        "one more line would have fitted");
}

void CaptionTextTest::keepsANewestThatDoesNotFit()
{
    CaptionText captions;
    captions.addCaption(QStringLiteral("uno"), roomy, 1);
    const QString endless = QStringLiteral("palabra ").repeated(2000).trimmed();
    captions.addCaption(endless, roomy, 2);
    QCOMPARE(captions.captionPhrases(), QStringList { endless });
    captions.addCaption(QStringLiteral("dos"), roomy, 3);
    QCOMPARE(captions.captionText(), QStringLiteral("dos"));
    const CaptionBox nothing { QSizeF(-4, 10), QStringLiteral("Sans Serif"), 4, true };
    captions.addCaption(QStringLiteral("tres"), nothing, 4);
    QCOMPARE(captions.captionText(), QStringLiteral("tres"));
}

void CaptionTextTest::clearsAfterFortySeconds()
{
    CaptionText captions;
    QVERIFY(!captions.clearOld(1'000'000));
    captions.addCaption(QStringLiteral("uno"), roomy, 5000);
    captions.addCaption(QStringLiteral("dos"), roomy, 6000);
    QVERIFY(!captions.clearOld(46000));
    QCOMPARE(captions.captionText(), QStringLiteral("uno\ndos"));
    QVERIFY(captions.clearOld(46001));
    QVERIFY(captions.captionText().isEmpty() && captions.captionPhrases().isEmpty());
    QVERIFY(!captions.clearOld(90000));
}

void CaptionTextTest::holdsNinetyMinutes()
{
    CaptionText captions;
    const QStringList phrases { QStringLiteral("Y dijo Dios: sea la luz."),
        QStringLiteral("Porque de tal manera amó Dios al mundo, que ha dado a su Hijo unigénito."),
        QStringLiteral("Amén.") };
    qsizetype most = 0;
    qsizetype mostInFirstMinutes = 0;
    for (std::int64_t second = 1; second < 90 * 60; second += 4) {
        captions.addCaption(phrases.at(second % 3), roomy, second * 1000);
        captions.clearOld(second * 1000 + 3900);
        most = std::max(most, captions.captionText().size());
        mostInFirstMinutes = second < 300 ? most : mostInFirstMinutes;
    }
    QCOMPARE(most, mostInFirstMinutes);
}

NIMBARA_TEST(CaptionTextTest)
#include "caption_text_test.moc"
