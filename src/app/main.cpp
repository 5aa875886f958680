#include "app/end_guard.h"
#include "app/studio_application.h"
#include "app/studio_run.h"
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

#include <QMessageBox>
#include <QSettings>
#include <QStandardPaths>

namespace {

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

nimbara::StudioServices services()
{
    nimbara::StudioServices services;
    services.dataFolder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    services.cacheFolder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    services.remembersDesk = true;
    services.captionFolder = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation)
        + QStringLiteral("/Vesperline");
    return services;
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
        nimbara::askForTickPriority();
        exitCode = nimbara::runStudio(*application, guard, services());
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
