#include "app/studio_application.h"

#include "base/error.h"
#include "base/log.h"

#include <QLibraryInfo>
#include <QLocale>

#include <cstdio>
#include <cstdlib>

namespace nimbara {

namespace {

/// The toolkit reports a platform that it cannot open as a fatal message, and aborts after it.
void explainFatal(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    static_cast<void>(std::fprintf(stderr, "%s\n", qPrintable(text)));
    if (type == QtFatalMsg) {
        static_cast<void>(std::fputs(
            "No hay pantalla gráfica. Inicia sesión en el escritorio y abre el programa desde "
            "allí, "
            "o indica la pantalla, por ejemplo: DISPLAY=:0\n"
            "There is no graphical display. Log in to the desktop and open the program there, or "
            "name the display, for example: DISPLAY=:0\n",
            stderr));
        std::_Exit(1);
    }
}

} // namespace

std::unique_ptr<StudioApplication> StudioApplication::create(int &argc, char **argv)
{
    const QtMessageHandler previous = qInstallMessageHandler(explainFatal);
    auto application = std::make_unique<StudioApplication>(argc, argv);
    qInstallMessageHandler(previous);
    return application;
}

StudioApplication::StudioApplication(int &argc, char **argv)
    : QApplication(argc, argv)
{
}

void StudioApplication::translateToolkit(const QString &language)
{
    if (QLocale(language).language() != QLocale::system().language()) {
        QLocale::setDefault(QLocale(language));
    }
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (m_toolkitTexts.load(QStringLiteral("qtbase_") + language, folder)) {
        installTranslator(&m_toolkitTexts);
    }
}

void StudioApplication::keep(const QString &text)
{
    logLine(QStringLiteral("Error inesperado: ") + text);
    if (!m_failure) {
        m_failure = std::current_exception();
    }
    if (m_inLoop) { // before it, the toolkit would open no box any more
        exit(1);
    }
}

int StudioApplication::runLoop()
{
    int exitCode = 1;
    if (!m_failure) {
        m_inLoop = true;
        exitCode = exec();
        m_inLoop = false;
    }
    if (m_failure) {
        std::rethrow_exception(std::exchange(m_failure, nullptr));
    }
    return exitCode;
}

bool StudioApplication::notify(QObject *receiver, QEvent *event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception &error) {
        keep(errorText(error));
    } catch (...) { // of a library that throws something else
        keep(QStringLiteral("?"));
    }
    return true;
}

} // namespace nimbara
