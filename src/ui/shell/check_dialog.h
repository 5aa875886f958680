#pragma once

#include "studio/check/service_check.h"
#include "ui/kit/dialogs.h"

#include <QDialog>
#include <QLabel>
#include <QPushButton>

#include <vector>

class QGridLayout;

namespace nimbara {

class PageScroll;

/// What the check before the service has found, line by line, as a page that can be kept. Stays
/// open beside the window. Interface thread only.
class CheckDialog : public QDialog {
    Q_OBJECT
public:
    /// All must outlive the dialog.
    CheckDialog(ServiceCheck &check, Dialogs &dialogs, QWidget *parent);

    /// Looks anew.
    void begin();

private:
    void layOut();
    void showLines(const std::vector<CheckLine> &lines);
    void makeRoom();
    void save();
    void followSave();
    void tellUnwritten();

    ServiceCheck &m_check;
    Dialogs &m_dialogs;
    std::vector<CheckLine> m_lines;
    QGridLayout *m_grid;
    PageScroll *m_page; ///< with the lines
    QLabel *m_summary;
    QPushButton *m_again;
    QPushButton *m_save;
    BackgroundTask<bool> m_saving;
    QTimer m_poll; ///< while the page is being written
};

/// The lines as a page in HTML, in the language of the program, with the time of the check.
QString checkPage(const std::vector<CheckLine> &lines, const QString &time);

} // namespace nimbara
