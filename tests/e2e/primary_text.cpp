#include <QClipboard>
#include <QGuiApplication>

#include <cstdio>

// Holds a text as the desktop's primary selection, as if it were selected in another window, until
// it is killed: primary_text TEXT
int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QGuiApplication::clipboard()->setText(QGuiApplication::arguments().value(1),
        QClipboard::Selection);
    QCoreApplication::processEvents();
    std::puts("held");
    std::fflush(stdout);
    return QGuiApplication::exec();
}
