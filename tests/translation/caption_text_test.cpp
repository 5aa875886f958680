#include "document/profile.h"
#include "support/test_registry.h"
#include "translation/pipeline/caption_text.h"

#include <QTest>

using namespace nimbara;
using namespace Qt::StringLiterals;

class CaptionTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void findsTheBox();
    void joins();
    void dropsTheOldestFromTheTop();
    void keepsANewestThatDoesNotFit();
    void clearsAfterFortySeconds();
};

namespace {

const CaptionBox roomy { QSizeF(1700, 800), u"Sans Serif"_s, 60, true };

ScenePtr subtitles(double width, bool visible)
{
    Layer layer = newLayer(LayerKind::Subtitle);
    layer.w = width;
    layer.h = 0.5;
    layer.visible = visible;
    layer.size = 54;
    layer.bold = false;
    layer.font = u"Serif"_s;
    return makeScene({}, { newLayer(LayerKind::Camera), layer });
}

} // namespace

void CaptionTextTest::findsTheBox()
{
    const ScenePtr hidden = subtitles(0.9, false);
    const ScenePtr narrow = subtitles(0.25, true);
    const ScenePtr wide = subtitles(1.0, true);
    const CaptionBox found { QSizeF(456, 524), u"Serif"_s, 54, false };
    QCOMPARE(captionBox(*hidden, { hidden, narrow, wide }, landscapeSize), found);
    QCOMPARE(captionBox(*narrow, { wide }, landscapeSize), found);
    const CaptionBox none { QSizeF(972, 1440), u"Sans Serif"_s, 120, true };
    QCOMPARE(captionBox(*hidden, { hidden }, portraitSize), none);
}

void CaptionTextTest::joins()
{
    CaptionText captions;
    captions.addCaption(u" uno\n"_s, roomy, 1);
    captions.addCaption(u"  "_s, roomy, 2);
    captions.addCaption(u"dos"_s, roomy, 3);
    QCOMPARE(captions.captionText(), u"uno\ndos"_s);
    const QStringList joined { u"uno dos"_s, u"uno\ndos"_s, u"uno\n\ndos"_s, u"uno\ndos"_s };
    for (int setting = 0; setting < 4; ++setting) {
        captions.setSeparator(captionSeparator(setting));
        QCOMPARE(captions.captionText(), joined.at(setting));
    }
    captions.clear();
    QVERIFY(captions.captionText().isEmpty() && captions.captionPhrases().isEmpty());
}

void CaptionTextTest::dropsTheOldestFromTheTop()
{
    CaptionText captions;
    for (int i = 0; i < 100; ++i) {
        captions.addCaption(u"Frase número %1"_s.arg(i), roomy, 1);
        QVERIFY(captionFits(captions.captionText(), roomy));
        QCOMPARE(captions.captionPhrases().last(), u"Frase número %1"_s.arg(i));
    }
    const qsizetype count = captions.captionPhrases().size();
    QVERIFY(count > 5);
    QCOMPARE(captions.captionPhrases().first(), u"Frase número %1"_s.arg(100 - count));
    QVERIFY2(!captionFits(u"Una más\n"_s + captions.captionText(), roomy), "there was room left");
}

void CaptionTextTest::keepsANewestThatDoesNotFit()
{
    CaptionText captions;
    captions.addCaption(u"uno"_s, roomy, 1);
    const QString endless = u"palabra "_s.repeated(2000).trimmed();
    captions.addCaption(endless, roomy, 2);
    QCOMPARE(captions.captionText(), endless);
    captions.addCaption(u"dos"_s, roomy, 3);
    QCOMPARE(captions.captionText(), u"dos"_s);
    captions.addCaption(u"tres"_s, { QSizeF(-4, 10), u"Sans Serif"_s, 4, true }, 4);
    QCOMPARE(captions.captionText(), u"tres"_s);
}

void CaptionTextTest::clearsAfterFortySeconds()
{
    CaptionText captions;
    captions.addCaption(u"uno"_s, roomy, 5000);
    captions.addCaption(u"dos"_s, roomy, 6000);
    QVERIFY(!captions.clearOld(46000));
    QCOMPARE(captions.captionText(), u"uno\ndos"_s);
    QVERIFY(captions.clearOld(46001));
    QVERIFY(captions.captionText().isEmpty() && captions.captionPhrases().isEmpty());
    QVERIFY(!captions.clearOld(90000));
}

NIMBARA_TEST(CaptionTextTest)
#include "caption_text_test.moc"
