#include "support/test_registry.h"
#include "ui/desk.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDesktopServices>
#include <QFileInfo>
#include <QMessageBox>
#include <QStandardPaths>
#include <QUrl>
#include <QWizard>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

using Manner = ScriptedKeyStore::Manner;

/// The window with the assistant on top of it.
struct FirstRun {
    ScriptedKeyStore *keychain;
    Desk desk;

    explicit FirstRun(Manner manner = Manner::Works)
        : keychain(new ScriptedKeyStore(manner))
        , desk(withKeychain(keychain))
    {
        desk.window.onboarding();
    }
    QWizard *assistant() { return desk.window.findChild<QWizard *>(u"onboarding"_s); }
    QAbstractButton *button(QWizard::WizardButton which) { return assistant()->button(which); }
    void press(QWizard::WizardButton which) { QTest::mouseClick(button(which), Qt::LeftButton); }
    void check(const char *box)
    {
        auto *widget = desk.find<QCheckBox>(box);
        QTest::mouseClick(widget, Qt::LeftButton, {}, QPoint(8, widget->height() / 2));
    }
    /// Through the terms, and the key typed on the page after them.
    void enterKey(const QString &key, bool save)
    {
        check("terms");
        press(QWizard::NextButton);
        QTest::keyClicks(desk.find<QLineEdit>("onboardingKey"), key);
        if (save) {
            check("onboardingSave");
        }
    }
    QString shownKey() { return desk.find<QLineEdit>("apiKey")->text(); }
};

QString dataFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

/// A file in place of the folder keeps anything from being written there, whoever runs the test.
void blockSecretFile()
{
    QDir(dataFolder()).removeRecursively();
    QVERIFY(QDir().mkpath(QFileInfo(dataFolder()).path()));
    QFile inTheWay(dataFolder());
    QVERIFY(inTheWay.open(QIODevice::WriteOnly));
}

bool isComplete()
{
    return settings().value(u"onboarding_complete"_s).toBool();
}

} // namespace

class OnboardingTest : public QObject {
    Q_OBJECT

    QList<QUrl> m_opened;

public Q_SLOTS:
    void keepUrl(const QUrl &url) { m_opened << url; }

private Q_SLOTS:
    void init()
    {
        settings().remove(u"onboarding_complete"_s);
        cleanup();
        m_opened.clear();
        QDesktopServices::setUrlHandler(u"file"_s, this, "keepUrl");
    }
    void cleanup()
    {
        QDesktopServices::unsetUrlHandler(u"file"_s);
        QFile::remove(dataFolder());
        QDir(dataFolder()).removeRecursively();
    }

    void termsGateTheWay()
    {
        FirstRun run;
        QVERIFY(run.assistant()->isVisible() && run.assistant()->isModal());
        QCOMPARE(run.button(QWizard::NextButton)->text(), u"Siguiente"_s); // not the toolkit's own
        QVERIFY(!run.button(QWizard::NextButton)->isEnabled());
        run.check("terms");
        QVERIFY(run.button(QWizard::NextButton)->isEnabled());
        run.check("terms");
        QVERIFY(!run.button(QWizard::NextButton)->isEnabled());

        run.desk.press("readTerms");
        auto *credits = run.assistant()->findChild<QMessageBox *>(u"creditsBox"_s);
        QVERIFY(credits != nullptr && credits->isVisible() && credits->isModal());
        QTest::mouseClick(credits->button(QMessageBox::Ok), Qt::LeftButton);
        QTRY_VERIFY(!run.assistant()->findChild<QMessageBox *>(u"creditsBox"_s));
        QVERIFY(run.assistant()->isVisible());
    }

    void finishes()
    {
        for (const auto &[key, save] : { std::pair { u"  "_s, true }, // blanks are no key
                 { u" sk-a1 "_s, false },
                 { u"sk-a1"_s, true } }) {
            init();
            FirstRun run;
            run.enterKey(key, save);
            run.press(QWizard::FinishButton);
            QTRY_VERIFY(run.assistant() == nullptr);
            QVERIFY(isComplete());
            QCOMPARE(run.shownKey(), key.trimmed());
            QCOMPARE(run.desk.dialogs->asked, QStringList());
            const QString kept = save ? key.trimmed() : QString();
            QCOMPARE(SecretFile().readSecretFile(secret_account::openAi()), kept);
            QTRY_COMPARE(run.keychain->secrets.value(secret_account::openAi()), kept);
        }
    }

    void refusedKeyStaysInMemoryWhenTheOperatorSaysSo()
    {
        blockSecretFile();
        FirstRun run(Manner::Refuses);
        run.enterKey(u"sk-a1"_s, true);
        run.press(QWizard::FinishButton);
        QTRY_COMPARE(run.desk.dialogs->asked,
            QStringList { u"API: No se pudo guardar en el almacén seguro. Desmarca guardar para "
                          "mantenerla solo en memoria."_s });

        QVERIFY(run.assistant()->isVisible());
        QVERIFY(!isComplete());
        run.check("onboardingSave");
        run.press(QWizard::FinishButton);
        QTRY_VERIFY(run.assistant() == nullptr);
        QVERIFY(isComplete());
        QCOMPARE(run.shownKey(), u"sk-a1"_s);
    }

    // The system's store may ask for a password, or never answer: nothing waits for it.
    void pageWaitsForTheStoreAlone()
    {
        blockSecretFile();
        FirstRun run(Manner::Waits);
        run.enterKey(u"sk-a1"_s, true);
        run.press(QWizard::FinishButton);
        QTRY_COMPARE(run.keychain->waiting(), 1U);
        QVERIFY(run.assistant()->isVisible());
        QVERIFY(!run.button(QWizard::FinishButton)->isEnabled());

        run.press(QWizard::BackButton); // the answer to come is no longer wanted
        run.keychain->release();
        run.check("terms");
        QTest::qWait(0);
        QVERIFY(run.assistant()->isVisible());
        QVERIFY(!isComplete());

        run.check("terms");
        run.press(QWizard::NextButton);
        run.press(QWizard::FinishButton);
        QTRY_COMPARE(run.keychain->waiting(), 1U);
        run.keychain->release();
        QTRY_VERIFY(run.assistant() == nullptr);
        QVERIFY(isComplete());
    }

    void cancelledAssistantComesBack()
    {
        for (const bool finish : { false, true }) {
            StudioWindow window(false, withKeychain(new ScriptedKeyStore(Manner::Works)));
            window.show();
            QWizard *assistant = nullptr;
            QTRY_VERIFY((assistant = window.findChild<QWizard *>(u"onboarding"_s)) != nullptr);
            if (finish) {
                assistant->findChild<QCheckBox *>(u"terms"_s)->setChecked(true);
                QTest::mouseClick(assistant->button(QWizard::NextButton), Qt::LeftButton);
            }
            const auto last = finish ? QWizard::FinishButton : QWizard::CancelButton;
            QTest::mouseClick(assistant->button(last), Qt::LeftButton);
            QTRY_VERIFY(!window.findChild<QWizard *>(u"onboarding"_s));
            QCOMPARE(isComplete(), finish);
        }
        StudioWindow window(false, withKeychain(new ScriptedKeyStore(Manner::Works)));
        QTest::qWait(1); // past the zero-delay timer
        QVERIFY(!window.findChild<QWizard *>(u"onboarding"_s));
    }

    void creditsOpenTheLogFolderOrNameIt()
    {
        const QString folder = QFileInfo(logFilePath()).absolutePath();
        for (const bool opens : { true, false }) {
            Desk desk;
            desk.press("credits");
            auto *box = desk.find<QMessageBox>("creditsBox");
            QCOMPARE(box->text().section(u"\n\n"_s, -1), u"Registro técnico: "_s + logFilePath());
            QDir(dataFolder()).removeRecursively(); // no log, and no folder for one
            if (!opens) {
                QDesktopServices::unsetUrlHandler(u"file"_s); // this platform opens nothing
            }
            desk.press("openLogFolder");
            QTRY_VERIFY(!desk.window.findChild<QMessageBox *>(u"creditsBox"_s));
            if (!opens) {
                QCOMPARE(desk.find<QMessageBox>("folderBox")->text(),
                    u"No se pudo abrir la carpeta: "_s + folder);
            }
        }
        QCOMPARE(m_opened, QList<QUrl> { QUrl::fromLocalFile(folder) });
        QVERIFY(QFileInfo(folder).isDir());
    }
};

NIMBARA_TEST(OnboardingTest)
#include "onboarding_test.moc"
