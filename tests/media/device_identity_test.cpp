#include "media/capture/device_identity.h"
#include "support/test_registry.h"

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// "serial@port/node" of one product; "twin" behind it.
DeviceIdentity camera(const QString &text)
{
    const bool hasTwin = text.endsWith(u" twin");
    const QString marks = text.section(u' ', 0, 0);
    return { u"Cam"_s,
        u"046d"_s,
        u"0825"_s,
        marks.section(u'@', 0, 0),
        marks.section(u'@', 1).section(u'/', 0, 0),
        marks.section(u'/', 1),
        hasTwin };
}

std::vector<DeviceIdentity> cameras(const QString &texts)
{
    std::vector<DeviceIdentity> all;
    for (const QString &text : texts.split(u", "_s, Qt::SkipEmptyParts)) {
        all.push_back(camera(text));
    }
    return all;
}

QString text(const std::vector<std::vector<std::size_t>> &matches)
{
    QStringList all;
    for (const auto &places : matches) {
        QStringList one;
        for (const std::size_t place : places) {
            one << QString::number(place);
        }
        all << (one.isEmpty() ? u"away"_s : one.join(u'|'));
    }
    return all.join(u", "_s);
}

} // namespace

class DeviceIdentityTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void findsTheVeryDevice()
    {
        const std::tuple<const char *, const char *, const char *> rows[] {
            { "S1@1/a", "S1@1/a", "0" },
            { "S1@1/a", "S2@1/a", "away" }, // another one at its port
            { "S1@1/a", "S2@1/a, S1@2/b", "1" }, // moved
            { "S1@1/a", "", "away" },
            { "S1@1/a", "S1@2/b, S1@1/a", "1" }, // the serial number is no one's own
            { "S1@1/a", "S1@2/b, S1@3/c", "0|1" }, // which of the two?
            { "S1@1/a twin, S1@2/b twin", "S1@2/b", "away, 0" },
            { "S1@1/a twin, S1@2/b twin", "S1@2/b, S1@1/a", "1, 0" },
            { "S1@1/a twin", "S1@2/b", "away" }, // its twin
            { "@1/a twin", "@2/b", "away" },
            { "@1/a", "@2/b", "0" }, // the only one of its product
            { "@1/a", "@2/b, @3/c", "0|1" },
            { "@1/a, @2/b", "@2/b", "away, 0" }, // somebody else's
            { "@1/a, @2/b", "@2/b, @3/c", "1, 0" },
            { "@1/a, @1/b", "@1/b, @1/a", "1, 0" }, // colour and infrared
            { "@/a, @/b", "@/b, @/a", "1, 0" }, // a service that tells no port
            { "@/a twin", "@/b", "away" },
            { "@1/a twin", "@2/a", "away" }, // the node's name is no port's
        };
        for (const auto &[wanted, present, found] : rows) {
            const RowName named(QByteArray(wanted) + " among " + present);
            QCOMPARE(text(matchDevices(cameras(QString::fromLatin1(wanted)),
                         cameras(QString::fromLatin1(present)))),
                QString::fromLatin1(found));
        }
        DeviceIdentity other = camera(u"@1/a"_s);
        other.product = u"0826"_s;
        QCOMPARE(text(matchDevices({ camera(u"@1/a"_s) }, { other })), u"away"_s);
    }

    /// Whatever is plugged in anywhere, chosen while both were there.
    void twinsNeverSwap()
    {
        const auto both = cameras(u"S1@1/a, S1@2/b"_s);
        const std::vector wanted { rememberedAs(both, 0), rememberedAs(both, 1) };
        for (int there = 0; there < 4; ++there) {
            std::vector<DeviceIdentity> present;
            for (const int each : { 1, 0 }) {
                if ((there & (1 << each)) != 0) {
                    present.push_back(both.at(static_cast<std::size_t>(each)));
                }
            }
            const auto found = matchDevices(wanted, present);
            for (std::size_t each = 0; each < wanted.size(); ++each) {
                QCOMPARE(found[each].empty(), (there & (1 << each)) == 0);
                for (const std::size_t place : found[each]) {
                    QCOMPARE(present[place].path, both[each].path);
                }
            }
        }
    }

    void isRememberedAsText()
    {
        for (const char *each : { "S1@1/a", "@1/a twin", "@/" }) {
            const DeviceIdentity identity = camera(QString::fromLatin1(each));
            QCOMPARE(identityFrom(identityText(identity)), identity);
        }
        QCOMPARE(identityText(identityFrom(u"no such text"_s)), QString());
        QVERIFY(!rememberedAs(cameras(u"S1@1/a, S2@2/b"_s), 0).hasTwin);
    }
};

NIMBARA_TEST(DeviceIdentityTest)

#include "device_identity_test.moc"
