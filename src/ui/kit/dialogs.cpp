#include "ui/kit/dialogs.h"

#include "base/i18n.h"
#include "ui/kit/login_box.h"

#include <QAbstractButton>
#include <QColorDialog>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QHeaderView>
#include <QInputDialog>
#include <QMessageBox>
#include <QMimeDatabase>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QSplitter>
#include <QTreeView>

#include <memory>

namespace nimbara {

namespace {

/// ".webm" of "WebM (*.webm)"; empty when the filter names several endings.
QString onlySuffix(const QString &filter)
{
    static const QRegularExpression pattern(QStringLiteral("\\*(\\.[A-Za-z0-9]+)"));
    auto matches = pattern.globalMatch(filter);
    const QString first = matches.hasNext() ? matches.next().captured(1) : QString();
    return matches.hasNext() ? QString() : first;
}

/// The first lines, as many as fit a small screen, and how many more there are.
QString shortened(const QStringList &lines)
{
    const QStringList first = lines.mid(0, QtDialogs::mostLines);
    return first.join(QLatin1Char('\n')) + QLatin1Char('\n')
        + nimbara_i18n::tr("… y %1 más").arg(lines.size() - first.size());
}

/// Tells what a file is by its name alone: the toolkit would read those whose name tells nothing,
/// on the interface thread, and wait for the disk. Names folders in the interface's language, for
/// which it has no Spanish word.
class FileKinds final : public QFileIconProvider {
public:
    using QFileIconProvider::icon;
    [[nodiscard]] QIcon icon(const QFileInfo &info) const override
    {
        return info.isDir() ? QFileIconProvider::icon(info)
                            : QIcon::fromTheme(kindOf(info).iconName(), icon(File));
    }
    [[nodiscard]] QString type(const QFileInfo &info) const override
    {
        return info.isDir() ? nimbara_i18n::tr("Carpeta") : kindOf(info).comment();
    }

private:
    static QMimeType kindOf(const QFileInfo &info)
    {
        return QMimeDatabase().mimeTypeForFile(info, QMimeDatabase::MatchExtension);
    }
};

/// Room for whole dates and names of places. A dialog of the desktop's own has no such parts.
void widen(QFileDialog &dialog)
{
    auto *columns = dialog.findChild<QTreeView *>(QStringLiteral("treeView"));
    auto *places = dialog.findChild<QSplitter *>(QStringLiteral("splitter"));
    if (columns == nullptr || places == nullptr) {
        return;
    }
    columns->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    columns->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    places->setSizes({ 160, 740 });
    dialog.resize(QSize(900, 560).boundedTo(dialog.screen()->availableSize()));
}

QStringList askForFiles(QFileDialog &dialog, const QString &startPath)
{
    if (!startPath.isEmpty() && !QFileInfo(startPath).isDir()) {
        dialog.selectFile(startPath);
    }
    static FileKinds kinds; // the dialog's threads read it until they end
    dialog.setIconProvider(&kinds);
    widen(dialog);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles() : QStringList();
}

QString askForFile(QFileDialog &dialog, const QString &startPath)
{
    return askForFiles(dialog, startPath).value(0);
}

} // namespace

QString QtDialogs::openFile(const QString &title, const QString &startPath, const QString &filter)
{
    QFileDialog dialog(m_parent, title, startPath, filter);
    dialog.setFileMode(QFileDialog::ExistingFile);
    return askForFile(dialog, startPath);
}

QStringList
QtDialogs::openFiles(const QString &title, const QString &startPath, const QString &filter)
{
    QFileDialog dialog(m_parent, title, startPath, filter);
    dialog.setFileMode(QFileDialog::ExistingFiles);
    return askForFiles(dialog, startPath);
}

QString QtDialogs::saveFile(const QString &title, const QString &startPath, const QString &filter)
{
    QFileDialog dialog(m_parent, title, startPath, filter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    // Set on the dialog, so that its question about an existing file sees the whole name.
    const auto useSuffix
        = [&](const QString &chosen) { dialog.setDefaultSuffix(onlySuffix(chosen)); };
    useSuffix(filter.section(QStringLiteral(";;"), 0, 0));
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, useSuffix);
    return askForFile(dialog, startPath);
}

QString QtDialogs::folder(const QString &title, const QString &startPath)
{
    QFileDialog dialog(m_parent, title, startPath);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    return askForFile(dialog, startPath);
}

std::optional<QString>
QtDialogs::text(const QString &title, const QString &label, const QString &proposed)
{
    bool accepted = false;
    const QString answer
        = QInputDialog::getText(m_parent, title, label, QLineEdit::Normal, proposed, &accepted);
    return accepted ? std::optional(answer) : std::nullopt;
}

std::optional<QColor> QtDialogs::color(const QColor &current, bool withAlpha)
{
    const auto options
        = withAlpha ? QColorDialog::ShowAlphaChannel : QColorDialog::ColorDialogOptions();
    const QColor chosen = QColorDialog::getColor(current, m_parent, QString(), options);
    return chosen.isValid() ? std::optional(chosen) : std::nullopt;
}

bool QtDialogs::question(const QString &title, const QString &text)
{
    QMessageBox box(QMessageBox::Question,
        title,
        text,
        QMessageBox::Yes | QMessageBox::No,
        m_parent);
    box.setTextFormat(Qt::PlainText); // names and paths may look like markup
    box.setDefaultButton(QMessageBox::NoButton);
    return box.exec() == QMessageBox::Yes;
}

SaveChoice QtDialogs::saveChoice(const QString &title, const QString &text)
{
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::NoButton, m_parent);
    box.setTextFormat(Qt::PlainText);
    QAbstractButton *save = box.addButton(nimbara_i18n::tr("Guardar"), QMessageBox::AcceptRole);
    QAbstractButton *discard
        = box.addButton(nimbara_i18n::tr("No guardar"), QMessageBox::DestructiveRole);
    QAbstractButton *cancel = box.addButton(nimbara_i18n::tr("Cancelar"), QMessageBox::RejectRole);
    box.setEscapeButton(cancel);
    box.exec();
    if (box.clickedButton() == save) {
        return SaveChoice::Save;
    }
    return box.clickedButton() == discard ? SaveChoice::Discard : SaveChoice::Cancel;
}

QMessageBox *QtDialogs::makeWarning(const QString &title, const QString &text) const
{
    auto *box = new QMessageBox(QMessageBox::Warning, title, text, QMessageBox::Ok, m_parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    const QStringList lines = text.split(QLatin1Char('\n'));
    if (lines.size() > mostLines) {
        box->setText(shortened(lines));
        box->setDetailedText(text);
    }
    return box;
}

void QtDialogs::warning(const QString &title, const QString &text)
{
    makeWarning(title, text)->open();
}

void QtDialogs::tellAtEnd(const QString &title, const QString &text)
{
    const std::unique_ptr<QMessageBox> box(makeWarning(title, text));
    box->setAttribute(Qt::WA_DeleteOnClose, false);
    box->exec();
}

void QtDialogs::offer(const QString &title,
    const QString &text,
    const QString &action,
    const std::function<void()> &taken)
{
    QMessageBox *box = makeWarning(title, text);
    const QPushButton *button = box->addButton(action, QMessageBox::ActionRole);
    box->setEscapeButton(QMessageBox::Ok);
    // Not from the button's own signal: what is taken may open a box of its own.
    QObject::connect(button, &QPushButton::clicked, m_parent, taken, Qt::QueuedConnection);
    box->open();
}

void QtDialogs::login(const QString &title,
    const QString &text,
    const std::optional<QString> &user,
    const std::function<void(const std::optional<Login> &)> &done)
{
    auto *box = new LoginBox(title, text, user, m_parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(box, &QDialog::finished, m_parent, [box, done](int result) {
        done(result == QDialog::Accepted ? std::optional(box->login()) : std::nullopt);
    });
    box->show();
}

} // namespace nimbara
