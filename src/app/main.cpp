#include "app/end_guard.h"
#include "app/studio_application.h"
#include "base/error.h"
#include "base/gst_environment.h"
#include "base/gst_log_hook.h"
#include "base/i18n.h"
#include "base/log.h"
#include "base/memory_policy.h"
#include "base/picture_memory.h"
#include "media/gst/picture_allocator.h"
#include "studio/programs/tick_priority.h"
#include "ui/kit/style.h"
#include "ui/shell/studio_window.h"

#include <QMessageBox>
#include <QSettings>
#include <QStandardPaths>

namespace {

constexpr std::chrono::milliseconds wayOut { 3500 }; ///< after the loop; the outputs had 6 s

void settleLanguage()
{
    const QSettings settings(QStringLiteral("Halvenmoor"), QStringLiteral("NimbaraStudio"));
    nimbara_i18n::language()
        = nimbara_i18n::startLanguage(settings.value(QStringLiteral("language")).toString(),
            QLocale::system());
}

void startGstreamer()
{
    nimbara::pointGstreamerAtBundle(QCoreApplication::applicationDirPath());
    gst_init(nullptr, nullptr);
    nimbara::useMemoryForPictures();
    nimbara::installGstLogHook();
    nimbara::logLine(QStringLiteral("=== Inicio Vesperline " NIMBARA_VERSION " ==="));
}

void showFailure(const nimbara::Message &failure)
{
    nimbara::logLine(QStringLiteral("Fin: ") + failure.spanish());
    QMessageBox::critical(nullptr,
        nimbara_i18n::tr("No se pudo iniciar Ardenvale Vesperline"),
        nimbara_i18n::tr(failure),
        QMessageBox::Ok);
}

/// The window lives inside, so that every pipeline is gone when this returns.
int runStudio(nimbara::StudioApplication &application, nimbara::EndGuard &guard)
{
    nimbara::StudioServices services;
    services.dataFolder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    services.cacheFolder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    nimbara::askForTickPriority();
    services.remembersDesk = true;
    services.captionFolder = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation)
        + QStringLiteral("/Vesperline");
    nimbara::StudioWindow window(false, std::move(services));
    window.show();
    int exitCode = 1;
    try {
        exitCode = application.runLoop();
    } catch (...) {
        guard.start(wayOut, exitCode);
        throw;
    }
    guard.start(wayOut, exitCode); // outputs are finished, and the operator has been told
    return exitCode;
}

} // namespace

int main(int argc, char **argv)
{
    nimbara::keepFreedPictures();
    nimbara::startPictureMemory();
    nimbara::forbidCoreDumps();
    const auto application = nimbara::StudioApplication::create(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("NimbaraStudio"));
    QCoreApplication::setApplicationVersion(QStringLiteral(NIMBARA_VERSION));
    QCoreApplication::setOrganizationName(QStringLiteral("Halvenmoor"));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.halvenmoor.NimbaraStudio"));
    int exitCode = 1;
    nimbara::EndGuard guard;
    try {
        settleLanguage();
        application->translateToolkit(nimbara_i18n::language());
        startGstreamer();
        application->setStyleSheet(
            nimbara::applicationStyleSheet(nimbara::textPixels(QApplication::font())));
        exitCode = runStudio(*application, guard);
    } catch (const std::exception &error) {
        guard.callOff();
        showFailure(nimbara::errorMessage(error));
    } catch (...) {
        guard.callOff();
        showFailure("Error inesperado");
    }
    gst_deinit();
    return exitCode;
}
