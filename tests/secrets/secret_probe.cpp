// Reads the system's secret store for every byte of its input, in a process of its own whose bus
// goes away.

#include "secrets/keychain_store.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    std::setvbuf(stdin, nullptr, _IONBF, 0);
    nimbara::KeychainStore keychain;
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&] {
        if (std::getchar() == EOF) {
            QCoreApplication::quit();
            return;
        }
        keychain.readKeychain(QStringLiteral("openai"), [](const QString &secret) {
            std::puts(secret.isEmpty() ? "empty" : "found");
            std::fflush(stdout);
        });
    });
    return QCoreApplication::exec();
}
