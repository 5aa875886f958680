#include "bible/builtin.h"
#include "compositor/text/text_overflow.h"
#include "studio/services/verse_desk.h"
#include "support/manual_clock.h"
#include "support/test_registry.h"

#include <QFontMetricsF>
#include <QRegularExpression>

using namespace nimbara;
using nimbara::testing::ManualClock;
using namespace Qt::StringLiterals;

namespace {

/// A verse layer as the quick reference makes it, on a desk whose services are never asked.
struct VerseStage {
    ManualClock clock;
    Stage stage { clock };
    QString status;
    VerseDesk desk;
    LayerId place;

    VerseStage()
        : desk(openAiEndpoint(),
            apiBibleEndpoint(),
            stage,
            [this](auto &text) { status = text.spanish(); })
        , place(desk.quickVerseLayer())
    {
        bible::prepare().waitForFinished();
    }
    const Layer &layer() { return *findLayer(stage.document.scenes(), place); }
    void setPaged(bool paged)
    {
        stage.document.apply(SetField { place, LayerField::Paged, paged });
    }
    void show(const QString &typed, const QString &lang)
    {
        desk.lookupVerse(place, typed, { lang, {}, {} });
    }
    /// The number of hidden lines that the status line tells; −1 when it says something else.
    [[nodiscard]] int told(const QString &label) const
    {
        static const QRegularExpression form(
            u"^Versículo listo: (.+?)(?: · El texto no cabe en su recuadro: (\\d+) "
            "líneas? ocultas?)?$"_s);
        const auto match = form.match(status);
        return match.captured(1) == label ? match.captured(2).toInt() : -1;
    }
};

} // namespace

/// Verses of every length in their box.
class VerseDeskTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    /// A box that is as many lines higher as are told to be hidden shows all, in any profile.
    void extremes()
    {
        VerseStage on;
        for (const auto &[typed, fits] : { std::pair { "Juan 11:35", true }, // the shortest verse
                 { "Ester 8:9", false }, // the longest one
                 { "Salmos 119", false }, // the longest chapter
                 { "Jonás 1:16-17", true } }) { // an empty verse
            for (const QString &lang : { u"es"_s, u"en"_s }) {
                on.show(QString::fromUtf8(typed), lang);
                on.setPaged(false); // the layer comes with its first verse
                on.show(QString::fromUtf8(typed), lang);
                QCOMPARE(on.told(on.layer().name),
                    hiddenLines(on.layer(), on.stage.previewFrame()));
                for (const auto profile : { StreamProfile::Landscape, StreamProfile::Portrait }) {
                    const FrameSize size = streamSize(profile);
                    Layer layer = on.layer();
                    const int hidden = hiddenLines(layer, size);
                    QVERIFY2(profile == StreamProfile::Portrait || (hidden == 0) == fits, typed);
                    QFont font(layer.font, -1, layer.bold ? QFont::Bold : QFont::Normal);
                    font.setPixelSize(size.height * layer.size / 1080);
                    const double line = QFontMetricsF(font).lineSpacing() / size.height;
                    layer.h += (hidden - 2) * line;
                    QVERIFY(hidden < 2 || hiddenLines(layer, size) == 2);
                    layer.h += 2 * line;
                    QCOMPARE(hiddenLines(layer, size), 0);
                }
            }
        }
    }

    void tellsHowManyPagesThereAre()
    {
        VerseStage on;
        on.show(u"Salmos 119"_s, u"es"_s);
        QVERIFY2(QRegularExpression(u"^Versículo listo: Salmos 119 · página 1 de \\d+$"_s)
                     .match(on.status)
                     .hasMatch(),
            qPrintable(on.status));
        on.show(u"Ester 8:9"_s, u"es"_s);
        QCOMPARE(on.told(u"Ester 8:9"_s), 0); // made smaller
        const Box low { 0.08, 0.62, 0.84, 0.03 }; // not one line high
        on.stage.document.apply(SetField { on.place, LayerField::Box, low });
        on.show(u"Salmos 119"_s, u"es"_s);
        QVERIFY2(on.status.contains(u" · El texto no cabe en su recuadro: "_s)
                && on.status.contains(u" · página 1 de "_s),
            qPrintable(on.status));
    }
};

NIMBARA_TEST(VerseDeskTest)
#include "verse_desk_test.moc"
