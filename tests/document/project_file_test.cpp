#include "document/project_file.h"
#include "support/error_of.h"
#include "support/full_disk.h"
#include "support/test_registry.h"

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

class ProjectFileTest : public QObject {
    Q_OBJECT

    [[nodiscard]] QString path(const char *name) const
    {
        return m_folder.filePath(QString::fromLatin1(name));
    }
    [[nodiscard]] QByteArray contents(const char *name) const
    {
        return readProjectFile(path(name));
    }
    [[nodiscard]] QString readError(const QString &file) const
    {
        return errorOf([&] { return readProjectFile(file); });
    }
    [[nodiscard]] QString writeError(const QString &file, const QByteArray &bytes = "x") const
    {
        return errorOf([&] { return writeProjectFile(file, bytes), 0; });
    }
    const QString m_invalid = u"Proyecto inválido"_s;
    const QString m_unsaved = u"No se pudo guardar proyecto"_s;
    QTemporaryDir m_folder;

private Q_SLOTS:
    void readsRegularFilesUpToFourMebibytes()
    {
        QFile file(path("largest.nimbara"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        QCOMPARE(file.write(QByteArray(maxProjectBytes, ' ')), maxProjectBytes);
        QCOMPARE(readProjectFile(file.fileName()).size(), maxProjectBytes);
        QCOMPARE(file.write(" "), 1);
        QCOMPARE(readError(file.fileName()), m_invalid);
        QCOMPARE(::mkfifo(QFile::encodeName(path("tubo")).constData(), 0600), 0);
        QVERIFY(QFile::link(u"/dev/zero"_s, path("enlace")));
        for (const QString &other :
            { path("ninguno"), m_folder.path(), u"/dev/zero"_s, path("tubo"), path("enlace") }) {
            QCOMPARE(readError(other), m_invalid);
        }
    }

    void savesInOneStep()
    {
        writeProjectFile(path("culto.nimbara"), "uno");
        writeProjectFile(path("culto.nimbara"), "segundo");
        QCOMPARE(readProjectFile(path("culto.nimbara")), QByteArray("segundo"));
        QCOMPARE(QDir(m_folder.path()).entryList({ u"culto*"_s }).size(), 1);
    }

    void failedSaveLeavesTheOldFile()
    {
        writeProjectFile(path("lleno.nimbara"), "el de antes");
        for (const int bytes : { 2'000, 50'000 }) { // at its end, and at once
            QString full;
            {
                const FullDisk disk(1000);
                full = writeError(path("lleno.nimbara"), QByteArray(bytes, 'x'));
            }
            QCOMPARE(full, m_unsaved);
        }
        // What could not be opened again is not saved.
        const QByteArray large(maxProjectBytes + 1, ' ');
        QCOMPARE(writeError(path("lleno.nimbara"), large), m_unsaved);
        QCOMPARE(contents("lleno.nimbara"), QByteArray("el de antes"));
        QCOMPARE(writeError(path("no/hay.nimbara")), m_unsaved);
        QCOMPARE(writeError(m_folder.path()), m_unsaved);
    }

    void aReadOnlyFolderKeepsItsFile()
    {
        const QString folder = path("solo-lectura");
        const QString file = folder + u"/culto.nimbara"_s;
        QVERIFY(QDir().mkdir(folder));
        writeProjectFile(file, "el de antes");
        QCOMPARE(::chmod(QFile::encodeName(m_folder.path()).constData(), 0755), 0);
        QCOMPARE(::chmod(QFile::encodeName(folder).constData(), 0555), 0);
        const uid_t user = geteuid();
        constexpr uid_t nobody = 65534;
        if (user == 0) {
            QCOMPARE(seteuid(nobody), 0); // nothing is read-only to the superuser
        }
        const QString told = writeError(file);
        const QByteArray kept = contents("solo-lectura/culto.nimbara");
        QCOMPARE(seteuid(user), 0);
        QCOMPARE(::chmod(QFile::encodeName(folder).constData(), 0755), 0);
        QCOMPARE(told, m_unsaved);
        QCOMPARE(kept, QByteArray("el de antes"));
    }

    void aKilledSaveLeavesAWholeFile()
    {
        const QByteArray even(2'000'000, 'a');
        const QByteArray odd(3'000'000, 'b');
        const QString file = path("muerte.nimbara");
        writeProjectFile(file, even);
        for (int round = 0; round < 25; ++round) {
            const pid_t saver = fork();
            QVERIFY(saver >= 0);
            while (saver == 0) {
                writeProjectFile(file, odd);
                writeProjectFile(file, even);
            }
            QTest::qSleep(1 + round); // another point of the save each time
            QCOMPARE(::kill(saver, SIGKILL), 0);
            QCOMPARE(::waitpid(saver, nullptr, 0), saver);
            const QByteArray found = readProjectFile(file);
            QVERIFY2(found == even || found == odd, qPrintable(QString::number(found.size())));
        }
    }
};

NIMBARA_TEST(ProjectFileTest)
#include "project_file_test.moc"
