#include "ui/shell/check_dialog.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"
#include "ui/kit/page_scroll.h"
#include "ui/outputs/hall_screen.h"

#include <QDateTime>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLocale>
#include <QSaveFile>
#include <QScreen>
#include <QStandardPaths>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace nimbara {

namespace {

/// Told by its sign and its word, too: not every eye tells the colours.
struct Look {
    const char *sign;
    const char *word;
    const char *colour;
};

const Look &lookOf(CheckLine::State state)
{
    static constexpr std::array looks { Look { "✓", "Bien", "#29a782" },
        Look { "▲", "Atención", "#e3b23c" },
        Look { "✕", "Mal", "#ff6b5e" } };
    return looks.at(static_cast<std::size_t>(state));
}

constexpr int ownRoom = 64; ///< pixels that a window's frame and a desktop's bars take

QString markOf(const CheckLine &line)
{
    const Look &look = lookOf(line.state);
    return QString::fromUtf8(look.sign) + QLatin1Char(' ') + nimbara_i18n::tr(look.word);
}

bool write(const QString &path, const QByteArray &text)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit();
}

} // namespace

CheckDialog::CheckDialog(ServiceCheck &check, Dialogs &dialogs, QWidget *parent)
    : QDialog(parent)
    , m_check(check)
    , m_dialogs(dialogs)
    , m_grid(new QGridLayout)
    , m_page(new PageScroll(new QWidget))
    , m_summary(named(new QLabel, "checkSummary"))
    , m_again(makeButton("Revisar otra vez", "checkAgain"))
    , m_save(makeButton("Guardar página…", "saveCheck"))
{
    setObjectName(QStringLiteral("checkDialog"));
    setWindowTitle(nimbara_i18n::tr("Revisión antes del servicio"));
    layOut();
    connect(m_again, &QPushButton::clicked, this, &CheckDialog::begin);
    connect(m_save, &QPushButton::clicked, this, &CheckDialog::save);
    m_poll.setInterval(100);
    connect(&m_poll, &QTimer::timeout, this, &CheckDialog::followSave);
    connect(&m_check, &ServiceCheck::finished, this, &CheckDialog::showLines);
}

void CheckDialog::layOut()
{
    auto *close = makeButton("Cerrar", "closeCheck");
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_again);
    buttons->addWidget(m_save);
    buttons->addStretch(1);
    buttons->addWidget(close);
    auto *all = new QVBoxLayout(this);
    m_summary->setWordWrap(true);
    all->addWidget(m_summary);
    all->addWidget(m_page, 1);
    all->addLayout(buttons);
    m_page->setFocusPolicy(Qt::StrongFocus); // the arrow keys scroll it
    m_page->setAccessibleName(windowTitle());
    auto *page = new QVBoxLayout(m_page->widget());
    page->setContentsMargins(0, 0, 0, 0);
    page->addLayout(m_grid);
    page->addStretch(1);
    m_grid->setColumnStretch(2, 1);
    m_grid->setHorizontalSpacing(14);
    resize(640, 420);
}

/// For all lines, as far as the screen has it.
void CheckDialog::makeRoom()
{
    const int lines = m_page->heightForWidth(m_page->viewport()->width());
    const int wanted = height() + std::max(lines - m_page->viewport()->height(), 0);
    const int room = screen()->availableGeometry().height() - ownRoom;
    resize(width(), std::max(std::min(wanted, room), minimumSizeHint().height()));
}

void CheckDialog::begin()
{
    m_summary->setText(nimbara_i18n::tr("Revisando… Habla al micrófono."));
    m_again->setEnabled(false);
    m_save->setEnabled(false);
    m_check.begin(separateScreens());
}

void CheckDialog::showLines(const std::vector<CheckLine> &lines)
{
    m_lines = lines;
    while (QLayoutItem *item = m_grid->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    int row = 0;
    for (const CheckLine &line : lines) {
        auto *mark = new QLabel(markOf(line));
        mark->setStyleSheet(QStringLiteral("color: %1; font-weight: 700")
                                .arg(QLatin1String(lookOf(line.state).colour)));
        auto *found = makeNote(nimbara_i18n::tr(line.found));
        m_grid->addWidget(mark, row, 0, Qt::AlignTop);
        m_grid->addWidget(new QLabel(nimbara_i18n::tr(line.what)), row, 1, Qt::AlignTop);
        m_grid->addWidget(found, row++, 2, Qt::AlignTop);
    }
    const auto open = std::count_if(lines.begin(), lines.end(), [](const CheckLine &line) {
        return line.state != CheckLine::State::Good;
    });
    m_summary->setText(open == 0 ? nimbara_i18n::tr("Todo está listo.")
                                 : nimbara_i18n::tr(Message("Por mirar: %1.",
                                     { Message::verbatim(QString::number(open)) })));
    m_again->setEnabled(true);
    m_save->setEnabled(true);
    makeRoom();
}

void CheckDialog::save()
{
    const QDateTime now = QDateTime::currentDateTime();
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString name = folder + QLatin1Char('/')
        + now.toString(QStringLiteral("yyyy-MM-dd HH-mm")) + QStringLiteral(".html");
    const QString path = m_dialogs.saveFile(nimbara_i18n::tr("Guardar página…"),
        name,
        nimbara_i18n::tr("Página (*.html)"));
    if (path.isEmpty()) {
        return;
    }
    const QString page = checkPage(m_lines, QLocale().toString(now, QLocale::ShortFormat));
    if (!m_saving.tryStart([path, text = page.toUtf8()] { return write(path, text); })) {
        tellUnwritten();
        return;
    }
    m_save->setEnabled(false);
    m_poll.start();
}

void CheckDialog::tellUnwritten()
{
    m_dialogs.warning(windowTitle(), nimbara_i18n::tr("No se pudo escribir la página."));
}

void CheckDialog::followSave()
{
    if (!m_saving.isReady()) {
        return;
    }
    m_poll.stop();
    m_save->setEnabled(true);
    if (!m_saving.take()) {
        tellUnwritten();
    }
}

QString checkPage(const std::vector<CheckLine> &lines, const QString &time)
{
    const QString title = nimbara_i18n::tr("Revisión antes del servicio");
    QString page = QStringLiteral("<!DOCTYPE html>\n<meta charset=\"utf-8\">\n<title>%1</title>\n"
                                  "<h1>%1</h1>\n<p>%2</p>\n<table>\n")
                       .arg(title.toHtmlEscaped(), time.toHtmlEscaped());
    for (const CheckLine &line : lines) {
        page += QStringLiteral("<tr><td>%1</td><th align=\"left\">%2</th><td>%3</td></tr>\n")
                    .arg(markOf(line).toHtmlEscaped(),
                        nimbara_i18n::tr(line.what).toHtmlEscaped(),
                        nimbara_i18n::tr(line.found).toHtmlEscaped());
    }
    return page + QStringLiteral("</table>\n");
}

} // namespace nimbara
