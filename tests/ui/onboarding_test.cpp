#include "base/log.h"
#include "support/scripted_key_store.h"
#include "support/test_registry.h"
#include "ui/desk.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QSettings>
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
        , desk(services(keychain))
    {
        desk.window.onboarding();
    }
    static StudioServices services(SystemKeyStore *keychain)
    {
        StudioServices services;
        services.keychain.reset(keychain);
        return services;
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
    return QSettings(u"Halvenmoor"_s, u"NimbaraStudio"_s).value(u"onboarding_complete"_s).toBool();
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
        QSettings settings(u"Halvenmoor"_s, u"NimbaraStudio"_s);
        settings.remove(u"onboarding_complete"_s);
        settings.sync();
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
        QVERIFY(run.assistant()->isVisible());
        QVERIFY(run.assistant()->isModal());
        const auto buttons = { QWizard::BackButton, QWizard::NextButton, QWizard::FinishButton };
        QStringList texts; // the toolkit's own would be English
        for (const auto which : buttons) {
            texts << run.button(which)->text();
        }
        QCOMPARE(texts, (QStringList { u"Atrás"_s, u"Siguiente"_s, u"Terminar"_s }));
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
        const std::vector<std::tuple<const char *, QString, bool, Manner, bool>> rows {
            { "blanks are no key", u"  "_s, true, Manner::Works, false },
            { "for this session", u" sk-a1 "_s, false, Manner::Works, false },
            { "in both stores", u"sk-a1"_s, true, Manner::Works, true },
            { "in the file alone", u"sk-a1"_s, true, Manner::Refuses, true },
        };
        for (const auto &[name, key, save, keychain, stored] : rows) {
            const RowName named(name);
            cleanup();
            init();
            FirstRun run(keychain);
            run.enterKey(key, save);
            run.press(QWizard::FinishButton);
            QTRY_VERIFY(run.assistant() == nullptr);
            QVERIFY(isComplete());
            QCOMPARE(run.shownKey(), key.trimmed());
            QCOMPARE(run.desk.dialogs->asked, QStringList());
            const QString kept = stored ? key.trimmed() : QString();
            QCOMPARE(SecretFile().readSecretFile(secret_account::openAi()), kept);
            QTRY_COMPARE(run.keychain->secrets.value(secret_account::openAi()),
                keychain == Manner::Works ? kept : QString());
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
            StudioWindow window(false, FirstRun::services(new ScriptedKeyStore(Manner::Works)));
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
        StudioWindow window(false, FirstRun::services(new ScriptedKeyStore(Manner::Works)));
        QTest::qWait(1); // past the zero-delay timer
        QVERIFY(!window.findChild<QWizard *>(u"onboarding"_s));
    }

    void creditsOpenTheLogFolderOnly()
    {
        Desk desk;
        const QString name = u"creditsBox"_s;
        desk.press("credits");
        const QStringList told = desk.find<QMessageBox>(name)->text().split(u"\n\n"_s);
        QCOMPARE(told.size(), 5);
        QCOMPARE(told.last(), u"Registro técnico: "_s + logFilePath());
        QVERIFY(
            told.at(1).startsWith(u"GStreamer: LGPL-2.1-or-later; Qt Core/Gui/Widgets/Network"));
        QDir(dataFolder()).removeRecursively(); // no log, and no folder for one
        desk.press("openLogFolder");
        QTRY_VERIFY(!desk.window.findChild<QMessageBox *>(name));
        QCOMPARE(m_opened,
            QList<QUrl> { QUrl::fromLocalFile(QFileInfo(logFilePath()).absolutePath()) });
        QVERIFY(QFileInfo(m_opened.first().toLocalFile()).isDir());
    }

    void creditsNameTheFolderThatTheDesktopCannotOpen()
    {
        QDesktopServices::unsetUrlHandler(u"file"_s); // this platform opens nothing
        Desk desk;
        desk.press("credits");
        desk.press("openLogFolder");
        QCOMPARE(desk.find<QMessageBox>("folderBox")->text(),
            u"No se pudo abrir la carpeta: "_s + QFileInfo(logFilePath()).absolutePath());
    }
};

NIMBARA_TEST(OnboardingTest)
#include "onboarding_test.moc"
