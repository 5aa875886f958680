// The secrets room in a process of its own, for tests that trace or kill it:
//   secret_probe write <file>    one write
//   secret_probe loop <file>     writes two values in turn until killed, one line after each
//   secret_probe keychain        reads the system's store for every line of the input

#include "secrets/keychain_store.h"
#include "secrets/secret_file.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>

using namespace nimbara;

namespace {

int writeForever(const QString &path)
{
    SecretFile file(path);
    for (int turn = 0; file.writeSecretFile(QStringLiteral("openai"),
             QString(20'000, QLatin1Char(turn % 2 == 0 ? 'a' : 'b')));
         ++turn) {
        std::puts("written");
        std::fflush(stdout);
    }
    return 1;
}

int readKeychain(QCoreApplication &application)
{
    KeychainStore keychain;
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

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    std::setvbuf(stdin, nullptr, _IONBF, 0);
    const QStringList arguments = QCoreApplication::arguments();
    const QString command = arguments.value(1);
    if (command == QStringLiteral("loop")) {
        return writeForever(arguments.value(2));
    }
    if (command == QStringLiteral("write")) {
        SecretFile file(arguments.value(2));
        return file.writeSecretFile(QStringLiteral("openai"), QStringLiteral("sk-1")) ? 0 : 1;
    }
    return command == QStringLiteral("keychain") ? readKeychain(application) : 2;
}
