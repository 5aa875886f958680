#include "support/test_registry.h"
#include "translation/pipeline/caption_cues.h"

using namespace nimbara;
using namespace Qt::StringLiterals;

class CaptionCuesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void writesEachFormat()
    {
        const cues::Cue cue { 3'723'004, 3'725'900, u"Fe & <gracia>\n\nasí --> hoy"_s };
        QCOMPARE(cues::srt(cue, 7),
            u"7\n01:02:03,004 --> 01:02:05,900\nFe & <gracia>\nasí -> hoy\n\n"_s);
        QCOMPARE(cues::vtt(cue),
            u"01:02:03.004 --> 01:02:05.900\nFe &amp; &lt;gracia&gt;\nasí --&gt; hoy\n\n"_s);
        QCOMPARE(cues::vtt({ -5, -9, u"x"_s }), u"00:00:00.000 --> 00:00:00.001\nx\n\n"_s);
        QCOMPARE(cues::pageRow(3'723'004, u"a < b"_s, u"c"_s),
            u"<tr><td>1:02:03</td><td>a &lt; b</td><td>c</td></tr>\n"_s);
        QVERIFY(
            cues::pageHead(u"<1>"_s, u"Spanish"_s, u"English"_s).contains(u"<h1>&lt;1&gt;</h1>"));
    }
};

NIMBARA_TEST(CaptionCuesTest)
#include "caption_cues_test.moc"
