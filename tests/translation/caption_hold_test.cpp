#include "support/test_registry.h"
#include "translation/pipeline/caption_hold.h"
#include "translation/pipeline/corrected_words.h"

#include <tuple>

using namespace nimbara;
using namespace Qt::StringLiterals;

class CaptionHoldTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_hold = {};
        m_hold.setDelay(2000);
        for (const auto &[text, ms] :
            { std::pair { u"a"_s, 0 }, { u"b"_s, 500 }, { u"c"_s, 900 } }) {
            m_hold.add({ text, {}, {} }, 0, ms);
        }
    }

    void letsGoInOrderWhenItIsTime()
    {
        QCOMPARE(takenAt(1999), u""_s);
        QCOMPARE(takenAt(2500), u"ab"_s);
        m_hold.setDelay(0); // for what waits, too
        QCOMPARE(takenAt(2500), u"c"_s);
    }

    /// The caption and those behind it, for 30 s in all.
    void anEditKeepsItsCaption()
    {
        m_hold.edit(1, 1000);
        QCOMPARE(takenAt(20'000), u""_s);
        m_hold.leave(1);
        m_hold.edit(1, 20'000);
        QCOMPARE(takenAt(30'999), u""_s);
        QVERIFY(m_hold.take(31'000).value().wasLeft);
        m_hold.change(1, u"too late"_s);
        QCOMPARE(takenAt(31'000), u"bc"_s);
    }

    void aChangedOneIsShownAsChanged()
    {
        m_hold.edit(2, 1000);
        QCOMPARE(takenAt(3000), u"a"_s);
        m_hold.change(2, u" B\n"_s);
        m_hold.change(3, u" "_s); // dropped
        QCOMPARE(takenAt(3000), u"B"_s);
        QVERIFY(m_hold.waiting().empty());
    }

    void findsTheCorrectedWords()
    {
        for (const auto &[before, after, words] : {
                 std::tuple { u"Go to Halven more, all"_s,
                     u"Go to Halvenmoor, all"_s,
                     u"Halvenmoor"_s },
                 { u"the holy dinner."_s, u"the Lord's Supper."_s, u"Lord's Supper"_s },
                 { u"in grace"_s, u"in Grace"_s, u"Grace"_s },
                 { u"so so it is"_s, u"so it is"_s, u""_s },
                 { u"it is"_s, u"it is"_s, u""_s },
             }) {
            QCOMPARE(correctedWords(before, after), words);
        }
    }

private:
    QString takenAt(std::int64_t ms)
    {
        QString texts;
        while (const auto held = m_hold.take(ms)) {
            texts += held->caption.text;
        }
        return texts;
    }

    CaptionHold m_hold;
};

NIMBARA_TEST(CaptionHoldTest)
#include "caption_hold_test.moc"
