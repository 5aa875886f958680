#pragma once

#include <QString>

#include <mutex>

namespace nimbara {

/// Secrets in one JSON object of account → secret, in a file that only its owner may read, from its
/// first byte on.
///
/// Callable from any thread. A write waits for the disk, so it belongs on a background task. No
/// secret reaches a text.
class SecretFile {
public:
    /// "secrets.json" in the platform's writable application-data folder.
    static QString defaultPath();

    explicit SecretFile(QString path = defaultPath());

    /// The account's secret; empty when there is none, or no readable file with a JSON object.
    [[nodiscard]] QString readSecretFile(const QString &account) const;

    /// Sets the account's secret, or removes the account when `value` is empty, and keeps all
    /// others. Missing folders are made. The file is replaced in one step, so that a full disk or a
    /// sudden end leaves the old one whole. A file that cannot be understood is kept beside the new
    /// one, as "secrets.json.bad-" and the time. False when nothing could be written.
    [[nodiscard]] bool writeSecretFile(const QString &account, const QString &value);

private:
    const QString m_path;
    std::mutex m_writer;
};

} // namespace nimbara
