#include "base/error.h"
#include "document/project_file.h"
#include "support/full_disk.h"
#include "support/test_registry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace nimbara;

namespace {

template <typename Operation> QString refusal(Operation operation)
{
    try {
        operation();
        return {};
    } catch (const Error &error) {
        return error.text();
    }
}

} // namespace

class ProjectFileTest : public QObject {
    Q_OBJECT

    [[nodiscard]] QString path(const char *name) const
    {
        return m_folder.filePath(QString::fromLatin1(name));
    }
    [[nodiscard]] QByteArray contents(const char *name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QTemporaryDir m_folder;

private Q_SLOTS:
    void readsUpToFourMebibytes();
    void readsRegularFilesOnly_data();
    void readsRegularFilesOnly();
    void savesInOneStep();
    void failedSaveLeavesTheOldFile();
    void aReadOnlyFolderKeepsItsFile();
    void aKilledSaveLeavesAWholeFile();
    void refusesToSaveWhatCannotBeOpened();
};

void ProjectFileTest::readsUpToFourMebibytes()
{
    const QByteArray largest(maxProjectBytes, ' ');
    QFile file(path("largest.nimbara"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(largest), maxProjectBytes);
    QVERIFY(file.flush());
    QCOMPARE(readProjectFile(file.fileName()).size(), maxProjectBytes);
    QCOMPARE(file.write(" "), 1);
    QVERIFY(file.flush());
    QCOMPARE(refusal([&] { readProjectFile(file.fileName()); }),
        QStringLiteral("Proyecto inválido"));
}

void ProjectFileTest::readsRegularFilesOnly_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("missing") << path("ninguno.nimbara");
    QTest::newRow("folder") << m_folder.path();
    QTest::newRow("endless device") << QStringLiteral("/dev/zero");
    QTest::newRow("pipe without a writer") << path("tubo");
    QTest::newRow("link to a device") << path("enlace");
}

void ProjectFileTest::readsRegularFilesOnly()
{
    QFETCH(QString, file);
    ::mkfifo(QFile::encodeName(path("tubo")).constData(), 0600);
    QFile::link(QStringLiteral("/dev/zero"), path("enlace"));
    QCOMPARE(refusal([&] { readProjectFile(file); }), QStringLiteral("Proyecto inválido"));
}

void ProjectFileTest::savesInOneStep()
{
    writeProjectFile(path("culto.nimbara"), "uno");
    writeProjectFile(path("culto.nimbara"), "segundo");
    QCOMPARE(readProjectFile(path("culto.nimbara")), QByteArrayLiteral("segundo"));
    QCOMPARE(QDir(m_folder.path()).entryList({ QStringLiteral("culto*") }).size(), 1);
}

void ProjectFileTest::failedSaveLeavesTheOldFile()
{
    const auto message = QStringLiteral("No se pudo guardar proyecto");
    writeProjectFile(path("lleno.nimbara"), "el de antes");
    for (const int bytes : { 2'000, 50'000 }) { // at its end, and at once
        QString full;
        {
            const nimbara::testing::FullDisk disk(1000);
            full
                = refusal([&] { writeProjectFile(path("lleno.nimbara"), QByteArray(bytes, 'x')); });
        }
        QCOMPARE(full, message);
        QCOMPARE(contents("lleno.nimbara"), QByteArrayLiteral("el de antes"));
    }
    QCOMPARE(refusal([&] { writeProjectFile(path("no/hay.nimbara"), "x"); }), message);
    QCOMPARE(refusal([&] { writeProjectFile(m_folder.path(), "x"); }), message);
}

void ProjectFileTest::aReadOnlyFolderKeepsItsFile()
{
    const QString folder = path("solo-lectura");
    const QString file = folder + QStringLiteral("/culto.nimbara");
    QVERIFY(QDir().mkdir(folder));
    writeProjectFile(file, "el de antes");
    QCOMPARE(::chmod(QFile::encodeName(m_folder.path()).constData(), 0755), 0);
    QCOMPARE(::chmod(QFile::encodeName(folder).constData(), 0555), 0);
    const uid_t user = geteuid();
    constexpr uid_t nobody = 65534;
    if (user == 0) {
        QCOMPARE(seteuid(nobody), 0); // nothing is read-only to the superuser
    }
    const QString told = refusal([&] { writeProjectFile(file, "x"); });
    const QByteArray kept = contents("solo-lectura/culto.nimbara");
    QCOMPARE(seteuid(user), 0);
    QCOMPARE(::chmod(QFile::encodeName(folder).constData(), 0755), 0);
    QCOMPARE(told, QStringLiteral("No se pudo guardar proyecto"));
    QCOMPARE(kept, QByteArrayLiteral("el de antes"));
}

void ProjectFileTest::aKilledSaveLeavesAWholeFile()
{
    const QByteArray even(2'000'000, 'a');
    const QByteArray odd(3'000'000, 'b');
    const QString file = path("muerte.nimbara");
    writeProjectFile(file, even);
    for (int round = 0; round < 25; ++round) {
        const pid_t saver = fork();
        QVERIFY(saver >= 0);
        if (saver == 0) {
            for (;;) {
                writeProjectFile(file, odd);
                writeProjectFile(file, even);
            }
        }
        QTest::qSleep(1 + round); // another point of the save each time
        QCOMPARE(::kill(saver, SIGKILL), 0);
        QCOMPARE(::waitpid(saver, nullptr, 0), saver);
        const QByteArray found = readProjectFile(file);
        QVERIFY2(found == even || found == odd, qPrintable(QString::number(found.size())));
    }
}

void ProjectFileTest::refusesToSaveWhatCannotBeOpened()
{
    writeProjectFile(path("grande.nimbara"), "el de antes");
    const QByteArray large(maxProjectBytes + 1, ' ');
    QCOMPARE(refusal([&] { writeProjectFile(path("grande.nimbara"), large); }),
        QStringLiteral("No se pudo guardar proyecto"));
    QCOMPARE(contents("grande.nimbara"), QByteArrayLiteral("el de antes"));
}

NIMBARA_TEST(ProjectFileTest)
#include "project_file_test.moc"
