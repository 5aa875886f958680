#pragma once

#include <QWizard>

namespace nimbara {

class Dialogs;
class SecretStore;

/// The first-run assistant: a welcome with the terms, then the optional API key of the translation.
///
/// Open it with `open()`: it blocks its parent and returns at once, so that programs and hall
/// screen go on. Accepted means that the operator went through to the end. Interface thread only.
class Onboarding final : public QWizard {
    Q_OBJECT
public:
    /// `secrets` and `dialogs` must outlive the assistant's time on screen.
    Onboarding(SecretStore &secrets, Dialogs &dialogs, QWidget *parent);

Q_SIGNALS:
    /// The operator typed this API key and finished the page with it. It is also told when the key
    /// could not be stored.
    void keyTyped(const QString &key);
};

} // namespace nimbara
