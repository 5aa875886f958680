#include "ui/shell/onboarding.h"

#include "base/i18n.h"
#include "secrets/secret_store.h"
#include "ui/kit/controls.h"
#include "ui/kit/dialogs.h"
#include "ui/shell/credits.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QVBoxLayout>
#include <QWizardPage>

namespace nimbara {

namespace {

class TermsPage final : public QWizardPage {
public:
    explicit TermsPage(Onboarding *assistant)
        : QWizardPage(assistant)
    {
        setTitle(nimbara_i18n::tr("Una herramienta para compartir el servicio"));
        auto *terms = named(new QCheckBox(nimbara_i18n::tr(
                                "Acepto las condiciones de uso y licencias de terceros")),
            "terms");
        auto *credits = makeButton("Leer condiciones y créditos", "readTerms");
        connect(credits, &QPushButton::clicked, assistant, [assistant] { showCredits(assistant); });

        auto *column = new QVBoxLayout(this);
        column->setSpacing(14);
        column->addWidget(makeNote(
            "Prepara escenas con cámaras, textos, videos y versículos, y envíalas con un botón a "
            "las pantallas de la sala y a las redes. Puedes transmitir a varias plataformas y "
            "grabar al mismo tiempo.\n\nEmpieza con las barras de prueba: pulsa AL AIRE y verás "
            "el Programa. Después conecta tu cámara y tu audio en \"Fuentes y pantallas\"."));
        column->addStretch();
        column->addWidget(terms);
        column->addWidget(credits, 0, Qt::AlignLeft);
        registerField(QStringLiteral("terms*"), terms);
    }
};

/// Asks for the API key. Storing it may wait for the operator to unlock the system's store, so
/// Finish starts it, the page waits without blocking, and the answer finishes or warns.
class KeyPage final : public QWizardPage {
public:
    KeyPage(SecretStore &secrets, Dialogs &dialogs, Onboarding *assistant)
        : QWizardPage(assistant)
        , m_secrets(secrets)
        , m_dialogs(dialogs)
        , m_assistant(assistant)
        , m_key(makeKeyField("onboardingKey", "API key opcional"))
        , m_save(
              named(new QCheckBox(nimbara_i18n::tr("Guardar en el almacén seguro de este equipo")),
                  "onboardingSave"))
        , m_progress(named(new QLabel, "onboardingProgress"))
    {
        setTitle(nimbara_i18n::tr("Traducción opcional con IA"));
        auto *column = new QVBoxLayout(this);
        column->setSpacing(14);
        column->addWidget(makeNote("Puedes añadir tu API key ahora o después. No es necesaria para "
                                   "producir/transmitir.\nLa API tiene facturación separada; el "
                                   "audio solo se envía al iniciar IA."));
        column->addWidget(m_key);
        column->addWidget(m_save);
        column->addWidget(m_progress);
        column->addStretch();
    }

    [[nodiscard]] bool isComplete() const override { return !m_storing; }

    bool validatePage() override
    {
        const QString key = m_key->text().trimmed();
        if (key.isEmpty()) {
            return true;
        }
        Q_EMIT m_assistant->keyTyped(key);
        if (!m_save->isChecked() || key == m_stored) {
            return true;
        }
        if (!m_storing) {
            store(key);
        }
        return false;
    }

    /// The operator went back: an answer still due must not finish the assistant.
    void cleanupPage() override { setStoring(false); }

private:
    void store(const QString &key)
    {
        setStoring(true);
        const int attempt = m_attempt;
        m_secrets.writeSecret(secret_account::openAi(),
            key,
            [page = QPointer<KeyPage>(this), attempt, key](bool written) {
                if (page != nullptr && page->m_storing && page->m_attempt == attempt) {
                    page->answered(key, written);
                }
            });
    }

    void answered(const QString &key, bool written)
    {
        setStoring(false);
        if (written) {
            m_stored = key;
            m_assistant->accept();
            return;
        }
        m_dialogs.warning(nimbara_i18n::tr("API"),
            nimbara_i18n::tr("No se pudo guardar en el almacén seguro. Desmarca guardar para "
                             "mantenerla solo en memoria."));
    }

    void setStoring(bool storing)
    {
        m_storing = storing;
        ++m_attempt;
        m_key->setEnabled(!storing);
        m_save->setEnabled(!storing);
        m_progress->setText(storing ? nimbara_i18n::tr("Guardando la clave...") : QString());
        Q_EMIT completeChanged();
    }

    SecretStore &m_secrets;
    Dialogs &m_dialogs;
    Onboarding *m_assistant;
    QLineEdit *m_key;
    QCheckBox *m_save;
    QLabel *m_progress;
    QString m_stored; ///< the key that the store took
    bool m_storing = false;
    int m_attempt = 0;
};

} // namespace

Onboarding::Onboarding(SecretStore &secrets, Dialogs &dialogs, QWidget *parent)
    : QWizard(parent)
{
    setObjectName(QStringLiteral("onboarding"));
    setWizardStyle(QWizard::ModernStyle);
    setWindowTitle(nimbara_i18n::tr("Bienvenido a Ardenvale Vesperline"));
    setButtonText(QWizard::BackButton, nimbara_i18n::tr("Atrás"));
    setButtonText(QWizard::NextButton, nimbara_i18n::tr("Siguiente"));
    setButtonText(QWizard::FinishButton, nimbara_i18n::tr("Terminar"));
    setButtonText(QWizard::CancelButton, nimbara_i18n::tr("Cancelar"));
    addPage(new TermsPage(this));
    addPage(new KeyPage(secrets, dialogs, this));
    resize(650, 450);
}

} // namespace nimbara
