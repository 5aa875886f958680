// The studio in a process of its own, in which everything hangs while it is closed: its recording,
// a clip, a project and the system's key store. The standard output gets "closes" with the
// operator's last answer, and what was told in boxes in the end. With "fault" behind the folder
// nothing hangs, and a handler throws while it records: "whole" is a file with its end.

#include "app/studio_run.h"
#include "output/sink/finished_file.h"
#include "support/hung_file.h"
#include "support/hung_save.h"
#include "support/scripted_key_store.h"
#include "ui/scripted_dialogs.h"

#include <QSettings>
#include <QTest>

#include <gst/gst.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

using namespace nimbara;
using namespace nimbara::testing;

namespace {

struct Probe {
    QString folder;
    HungFile recording { folder + QStringLiteral("/culto.mkv") };
    HungFile clip { folder + QStringLiteral("/clip.mp4") };
    HungSave project { folder };
    ScriptedKeyStore *keychain = new ScriptedKeyStore(ScriptedKeyStore::Manner::Waits);
    ScriptedDialogs *dialogs = new ScriptedDialogs;

    StudioServices services() const
    {
        StudioServices services;
        services.dialogs.reset(dialogs);
        services.keychain.reset(keychain);
        services.dataFolder = folder;
        return services;
    }

    /// Everything is under way, and hangs.
    bool begins(Studio &studio)
    {
        studio.layers().addVideoFile(folder + QStringLiteral("/clip.mp4"));
        studio.recordings().start(folder + QStringLiteral("/culto.mkv"));
        recording.answer();
        studio.streams().setKey(0, QStringLiteral("k3y-closing"));
        studio.streams().saveKeys();
        return QTest::qWaitFor(
            [&] {
                const auto figures = studio.outputs().recording().figures();
                return keychain->waiting() == 1 && figures && figures->pictures > 30;
            },
            60'000);
    }

    void close(StudioWindow &window)
    {
        dialogs->answers = { true, true }; // ends the outputs, does not wait for the save
        dialogs->choices = { SaveChoice::Save };
        dialogs->files = { project.file };
        dialogs->meanwhile = [this] {
            if (dialogs->asked.last().contains(QStringLiteral("sin esperar"))) {
                print(QStringLiteral("closes"));
            }
        };
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, qApp, [this] {
            print(dialogs->asked.last());
        });
        window.close();
    }

    static void print(const QString &line)
    {
        std::puts(qPrintable(line));
        std::fflush(stdout);
    }
};

StudioWindow *studioWindow()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *window = qobject_cast<StudioWindow *>(widget)) {
            return window;
        }
    }
    return nullptr;
}

bool records(Studio &studio)
{
    return QTest::qWaitFor(
        [&] { return studio.recordings().isWriting() && studio.outputs().recording().ready(); },
        60'000);
}

/// Ends the process at once: what the window's libraries leak is not what is looked for.
[[noreturn]] void runToFault(StudioApplication &application, const QString &path)
{
    QTimer::singleShot(0, &application, [&path] {
        Studio &studio = studioWindow()->studio();
        studio.recordings().start(path);
        if (records(studio)) {
            throw std::runtime_error("broken");
        }
    });
    EndGuard guard;
    try {
        std::_Exit(runStudio(application, guard, {}));
    } catch (const std::exception &error) {
        guard.callOff();
        Probe::print(QLatin1String(error.what()));
        Probe::print(isFinishedRecording(path) ? QStringLiteral("whole") : QStringLiteral("cut"));
        std::_Exit(1);
    }
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("XDG_DATA_HOME", "/dev/null/no-folder"); // the system's key store alone
    const auto application = StudioApplication::create(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("NimbaraStudio"));
    QCoreApplication::setOrganizationName(QStringLiteral("Halvenmoor"));
    gst_init(nullptr, nullptr);
    QSettings(QStringLiteral("Halvenmoor"), QStringLiteral("NimbaraStudio"))
        .setValue(QStringLiteral("onboarding_complete"), true);
    if (argc > 2) {
        runToFault(*application, QFile::decodeName(argv[1]) + QStringLiteral("/culto.webm"));
    }
    Probe probe { .folder = QFile::decodeName(argv[1]) };
    QTimer::singleShot(0, application.get(), [&probe] {
        StudioWindow *window = studioWindow();
        if (probe.begins(window->studio())) {
            probe.close(*window);
        } else {
            QCoreApplication::exit(2);
        }
    });
    EndGuard guard;
    return runStudio(*application, guard, probe.services());
}
