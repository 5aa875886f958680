#include "base/secret_texts.h"
#include "support/test_registry.h"

#include <QTest>

using namespace nimbara;

class SecretTextsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void hidesWhatItWasTold()
    {
        hideSecret(QStringLiteral("abcd-1234"));
        hideSecret(QStringLiteral("abcd-1234-long"));
        hideSecret(QStringLiteral("live")); // too short to be told from a word
        QCOMPARE(withoutSecrets(QStringLiteral("rtmp://live/abcd-1234-long and /ABCD-1234!")),
            QStringLiteral("rtmp://live/*** and /***!"));
        QCOMPARE(withoutSecrets(QString()), QString());
    }
};

NIMBARA_TEST(SecretTextsTest)
#include "secret_texts_test.moc"
