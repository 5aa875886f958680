#pragma once

#include <QApplication>
#include <QTranslator>

#include <exception>
#include <memory>

namespace nimbara {

/// The application object, with the failures of event handlers and the toolkit's own texts settled.
class StudioApplication : public QApplication {
    Q_OBJECT
public:
    /// Without a graphical display this says what to do and ends the process with code 1, where the
    /// toolkit would abort.
    static std::unique_ptr<StudioApplication> create(int &argc, char **argv);

    StudioApplication(int &argc, char **argv);

    /// Loads the toolkit's own texts (the buttons of its boxes) in the language, where installed,
    /// and has it name kinds of files and write numbers in that language.
    void translateToolkit(const QString &language);

    /// Runs the event loop. An exception that left an event handler ends the loop and is thrown
    /// again here.
    int runLoop();

    /// Keeps the first exception of an event handler, and logs each: none may travel through the
    /// toolkit.
    bool notify(QObject *receiver, QEvent *event) override;

private:
    void keep(const QString &text);

    QTranslator m_toolkitTexts;
    std::exception_ptr m_failure;
    bool m_inLoop = false;
};

} // namespace nimbara
