#include "base/i18n.h"
#include "base/log.h"
#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/shell/credits.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QLineEdit>
#include <QMessageBox>
#include <QSettings>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>
#include <QWizard>

#include <vector>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

enum class Manner { Takes, Refuses, Waits };

/// A system's store that takes secrets, refuses them, or answers only when the test says so.
class ScriptedStore final : public SystemKeyStore {
public:
    explicit ScriptedStore(Manner manner)
        : m_manner(manner)
    {
    }
    void readKeychain(const QString &account, std::function<void(const QString &)> done) override
    {
        answer([this, account, done] { done(secrets.value(account)); });
    }
    void writeKeychain(const QString &account,
        const QString &value,
        std::function<void(bool)> done) override
    {
        if (m_manner == Manner::Takes) {
            secrets.insert(account, value);
        }
        if (m_manner == Manner::Waits) {
            waiting.push_back(std::move(done));
        } else {
            answer([this, done] { done(m_manner == Manner::Takes); });
        }
    }

    QHash<QString, QString> secrets;
    std::vector<std::function<void(bool)>> waiting;

private:
    void answer(std::function<void()> give) { QTimer::singleShot(0, &m_context, std::move(give)); }
    Manner m_manner;
    QObject m_context;
};

/// The window with the assistant on top of it.
struct FirstRun {
    ScriptedStore *keychain;
    Desk desk;

    explicit FirstRun(Manner manner = Manner::Takes)
        : keychain(new ScriptedStore(manner))
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
    QWizard *assistant() { return desk.window.findChild<QWizard *>(QStringLiteral("onboarding")); }
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
    return QSettings(QStringLiteral("Halvenmoor"), QStringLiteral("NimbaraStudio"))
        .value(QStringLiteral("onboarding_complete"))
        .toBool();
}

} // namespace

Q_DECLARE_METATYPE(Manner)

class OnboardingTest : public QObject {
    Q_OBJECT

    QList<QUrl> m_opened;

    static QString say(const char *spanish, const char *english)
    {
        return QString::fromUtf8(
            nimbara_i18n::language() == QLatin1String("en") ? english : spanish);
    }

public Q_SLOTS:
    void keepUrl(const QUrl &url) { m_opened << url; }

private Q_SLOTS:
    void initTestCase_data() // each test in both languages
    {
        QTest::addColumn<QString>("language");
        QTest::newRow("Spanish") << "es";
        QTest::newRow("English") << "en";
    }
    void init()
    {
        QSettings settings(QStringLiteral("Halvenmoor"), QStringLiteral("NimbaraStudio"));
        settings.remove(QStringLiteral("onboarding_complete"));
        settings.sync();
        cleanup();
        QFETCH_GLOBAL(QString, language);
        nimbara_i18n::language() = language;
        m_opened.clear();
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "keepUrl");
    }
    void cleanup()
    {
        nimbara_i18n::language() = QStringLiteral("es");
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        QFile::remove(dataFolder());
        QDir(dataFolder()).removeRecursively();
    }

    void termsGateTheWay()
    {
        FirstRun run;
        QVERIFY(run.assistant()->isVisible());
        QVERIFY(run.assistant()->isModal());
        QCOMPARE(run.assistant()->windowTitle(),
            say("Bienvenido a Ardenvale Vesperline", "Welcome to Ardenvale Vesperline"));
        QCOMPARE(run.button(QWizard::BackButton)->text(), say("Atrás", "Back"));
        QCOMPARE(run.button(QWizard::NextButton)->text(), say("Siguiente", "Next"));
        QCOMPARE(run.button(QWizard::FinishButton)->text(), say("Terminar", "Finish"));
        QVERIFY(!run.button(QWizard::NextButton)->isEnabled());
        run.check("terms");
        QVERIFY(run.button(QWizard::NextButton)->isEnabled());
        run.check("terms");
        QVERIFY(!run.button(QWizard::NextButton)->isEnabled());

        run.desk.press("readTerms");
        auto *credits = run.assistant()->findChild<QMessageBox *>(QStringLiteral("creditsBox"));
        QVERIFY(credits != nullptr);
        QVERIFY(credits->isVisible());
        QVERIFY(credits->isModal());
        QTest::mouseClick(credits->button(QMessageBox::Ok), Qt::LeftButton);
        QTRY_VERIFY(!run.assistant()->findChild<QMessageBox *>(QStringLiteral("creditsBox")));
        QVERIFY(run.assistant()->isVisible());
    }

    void finishes_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("save");
        QTest::addColumn<bool>("fileWorks");
        QTest::addColumn<Manner>("keychain");
        QTest::addColumn<bool>("stored");
        QTest::newRow("without a key") << "" << true << true << Manner::Takes << false;
        QTest::newRow("blanks are no key") << "  " << true << true << Manner::Takes << false;
        QTest::newRow("for this session") << " sk-a1 " << false << true << Manner::Takes << false;
        QTest::newRow("in both stores") << "sk-a1" << true << true << Manner::Takes << true;
        QTest::newRow("in the file alone") << "sk-a1" << true << true << Manner::Refuses << true;
        QTest::newRow("in the system alone") << "sk-a1" << true << false << Manner::Takes << true;
    }
    void finishes()
    {
        QFETCH(QString, key);
        QFETCH(bool, save);
        QFETCH(bool, fileWorks);
        QFETCH(Manner, keychain);
        QFETCH(bool, stored);
        if (!fileWorks) {
            blockSecretFile();
        }
        FirstRun run(keychain);
        run.enterKey(key, save);
        run.press(QWizard::FinishButton);
        QTRY_VERIFY_WITH_TIMEOUT(run.assistant() == nullptr, 30000);
        QVERIFY(isComplete());
        QCOMPARE(run.shownKey(), key.trimmed());
        QCOMPARE(run.desk.dialogs->asked, QStringList());
        const QString kept = stored ? key.trimmed() : QString();
        QCOMPARE(SecretFile().readSecretFile(secret_account::openAi()),
            fileWorks ? kept : QString());
        QTRY_COMPARE(run.keychain->secrets.value(secret_account::openAi()),
            keychain == Manner::Takes ? kept : QString());
    }

    void refusedKeyStaysInMemoryWhenTheOperatorSaysSo()
    {
        blockSecretFile();
        FirstRun run(Manner::Refuses);
        run.enterKey(QStringLiteral("sk-a1"), true);
        run.press(QWizard::FinishButton);
        QTRY_COMPARE_WITH_TIMEOUT(run.desk.dialogs->asked,
            QStringList { say(
                "API: No se pudo guardar en el almacén seguro. Desmarca guardar para mantenerla "
                "solo en memoria.",
                "API: The key could not be saved in the secure store. Uncheck the box to keep the "
                "key in memory only.") },
            30000);
        QVERIFY(run.assistant()->isVisible());
        QVERIFY(!isComplete());
        run.check("onboardingSave");
        run.press(QWizard::FinishButton);
        QTRY_VERIFY(run.assistant() == nullptr);
        QVERIFY(isComplete());
        QCOMPARE(run.shownKey(), QStringLiteral("sk-a1"));
    }

    // The system's store may ask for a password, or never answer: nothing waits for it.
    void pageWaitsForTheStoreAlone()
    {
        blockSecretFile();
        FirstRun run(Manner::Waits);
        run.enterKey(QStringLiteral("sk-a1"), true);
        run.press(QWizard::FinishButton);
        QTRY_COMPARE_WITH_TIMEOUT(run.keychain->waiting.size(), 1U, 30000);
        QVERIFY(run.assistant()->isVisible());
        QVERIFY(!run.button(QWizard::FinishButton)->isEnabled());

        run.press(QWizard::BackButton); // the answer to come is no longer wanted
        run.keychain->waiting.front()(true);
        run.check("terms");
        QTest::qWait(0);
        QVERIFY(run.assistant()->isVisible());
        QVERIFY(!isComplete());

        run.check("terms");
        run.press(QWizard::NextButton);
        run.press(QWizard::FinishButton);
        QTRY_COMPARE_WITH_TIMEOUT(run.keychain->waiting.size(), 2U, 30000);
        run.keychain->waiting.back()(true);
        QTRY_VERIFY(run.assistant() == nullptr);
        QVERIFY(isComplete());
    }

    void cancelledAssistantComesBack()
    {
        for (const bool finish : { false, true }) {
            StudioWindow window(false, FirstRun::services(new ScriptedStore(Manner::Takes)));
            window.show();
            QWizard *assistant = nullptr;
            QTRY_VERIFY(
                (assistant = window.findChild<QWizard *>(QStringLiteral("onboarding"))) != nullptr);
            if (finish) {
                assistant->findChild<QCheckBox *>(QStringLiteral("terms"))->setChecked(true);
                QTest::mouseClick(assistant->button(QWizard::NextButton), Qt::LeftButton);
            }
            const auto last = finish ? QWizard::FinishButton : QWizard::CancelButton;
            QTest::mouseClick(assistant->button(last), Qt::LeftButton);
            QTRY_VERIFY(!window.findChild<QWizard *>(QStringLiteral("onboarding")));
            QCOMPARE(isComplete(), finish);
        }
        StudioWindow window(false, FirstRun::services(new ScriptedStore(Manner::Takes)));
        QTest::qWait(1); // past the zero-delay timer
        QVERIFY(!window.findChild<QWizard *>(QStringLiteral("onboarding")));
    }

    void creditsTellTheSameInBothLanguages()
    {
        const QString path = QStringLiteral("/home/ana/Vesperline.log");
        nimbara_i18n::language() = QStringLiteral("es");
        const QStringList spanish = creditsText(path).split(QStringLiteral("\n\n"));
        nimbara_i18n::language() = QStringLiteral("en");
        const QStringList english = creditsText(path).split(QStringLiteral("\n\n"));
        QCOMPARE(spanish.size(), 5);
        QCOMPARE(english.size(), 5);
        QCOMPARE(spanish.last(), QStringLiteral("Registro técnico: ") + path);
        QCOMPARE(english.last(), QStringLiteral("Technical log: ") + path);
        for (int i = 0; i < 5; ++i) {
            QVERIFY2(spanish.at(i) != english.at(i), qPrintable(spanish.at(i)));
        }
        const QString licences
            = QStringLiteral("GStreamer: LGPL-2.1-or-later; Qt Core/Gui/Widgets/Network: LGPL-3.0");
        QVERIFY(spanish.at(1).startsWith(licences));
        QVERIFY(english.at(1).startsWith(licences));
    }

    void creditsOpenTheLogFolderOnly()
    {
        Desk desk;
        const QString name = QStringLiteral("creditsBox");
        desk.press("credits");
        QTest::mouseClick(desk.find<QMessageBox>(name)->button(QMessageBox::Ok), Qt::LeftButton);
        QTRY_VERIFY(!desk.window.findChild<QMessageBox *>(name));
        QCOMPARE(m_opened, QList<QUrl>());

        desk.press("credits");
        QDir(dataFolder()).removeRecursively(); // no log, and no folder for one
        desk.press("openLogFolder");
        QTRY_VERIFY(!desk.window.findChild<QMessageBox *>(name));
        QCOMPARE(m_opened,
            QList<QUrl> { QUrl::fromLocalFile(QFileInfo(logFilePath()).absolutePath()) });
        QVERIFY(QFileInfo(m_opened.first().toLocalFile()).isDir());
    }

    void creditsNameTheFolderThatTheDesktopCannotOpen()
    {
        QDesktopServices::unsetUrlHandler(QStringLiteral("file")); // this platform opens nothing
        Desk desk;
        desk.press("credits");
        desk.press("openLogFolder");
        QCOMPARE(desk.find<QMessageBox>("folderBox")->text(),
            say("No se pudo abrir la carpeta: ", "The folder could not be opened: ")
                + QFileInfo(logFilePath()).absolutePath());
    }
};

NIMBARA_TEST(OnboardingTest)
#include "onboarding_test.moc"
