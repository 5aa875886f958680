#include "ui/shell/credits.h"

#include "base/i18n.h"
#include "base/log.h"
#include "ui/kit/controls.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QMessageBox>
#include <QStringList>
#include <QUrl>

namespace nimbara {

namespace {

constexpr const char *terms
    = "Condiciones de uso: puedes instalar y usar Ardenvale Vesperline en los equipos de tu "
      "iglesia para producir, grabar y transmitir tus servicios. Respondes del contenido que "
      "emites, de sus derechos y de las condiciones de cada plataforma. El programa se entrega tal "
      "cual, sin garantía.";

constexpr const char *notices
    = "GStreamer: LGPL-2.1-or-later; Qt Core/Gui/Widgets/Network: LGPL-3.0. Sus licencias permiten "
      "reemplazar estas bibliotecas, volver a enlazar el programa con ellas y depurarlo. La "
      "distribución oficial incluye los avisos y las fuentes completas.\nBiblias incluidas: "
      "Reina-Valera 1909 y King James Version, de dominio público.";

constexpr const char *aiNotes
    = "La traducción es automática y puede contener errores. El audio seleccionado se envía a "
      "OpenAI solo al activar IA. La voz es sintética. API con facturación separada.";

constexpr const char *rehearse
    = "Esta versión requiere pruebas de hardware y emisión antes de usarla en un culto.";

/// A desktop without a file browser is told of the folder instead.
void openLogFolder(QWidget *parent)
{
    const QString folder = QFileInfo(logFilePath()).absolutePath();
    if (QDesktopServices::openUrl(QUrl::fromLocalFile(folder))) {
        return;
    }
    auto *box = named(new QMessageBox(QMessageBox::Warning,
                          nimbara_i18n::tr("Abrir carpeta del registro"),
                          nimbara_i18n::tr("No se pudo abrir la carpeta: ") + folder,
                          QMessageBox::Ok,
                          parent),
        "folderBox");
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->open();
}

} // namespace

QString creditsText(const QString &logPath)
{
    QStringList paragraphs;
    for (const char *paragraph : { terms, notices, aiNotes, rehearse }) {
        paragraphs << nimbara_i18n::tr(paragraph);
    }
    paragraphs << nimbara_i18n::tr("Registro técnico: ") + logPath;
    return paragraphs.join(QStringLiteral("\n\n"));
}

void showCredits(QWidget *parent)
{
    auto *box = named(new QMessageBox(parent), "creditsBox");
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(QMessageBox::Information);
    box->setWindowTitle(nimbara_i18n::tr("Ardenvale Vesperline · créditos y licencias"));
    box->setTextFormat(Qt::PlainText);
    box->setText(creditsText(logFilePath()));
    auto *folder = makeButton("Abrir carpeta del registro", "openLogFolder");
    box->addButton(folder, QMessageBox::ActionRole);
    box->setDefaultButton(box->addButton(QMessageBox::Ok));
    box->setEscapeButton(QMessageBox::Ok);
    QObject::connect(box,
        &QMessageBox::buttonClicked,
        parent,
        [folder, parent](QAbstractButton *clicked) {
            if (clicked == folder) {
                openLogFolder(parent);
            }
        });
    box->open();
}

} // namespace nimbara
