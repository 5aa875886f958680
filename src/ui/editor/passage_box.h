#pragma once

#include "document/project.h"
#include "studio/services/passage_desk.h"
#include "ui/editor/verse_field.h"

#include <QDialog>
#include <QString>
#include <QStringList>

#include <vector>

class QListWidget;

namespace nimbara {

/// The passages of the service and those shown last, in a window of its own that stays open beside
/// the other one. Return on a passage asks for it; Escape closes the window.
class PassageBox : public QDialog {
    Q_OBJECT
public:
    explicit PassageBox(QWidget *parent);

    void showKept(const std::vector<KeptPassage> &passages);
    void showRecent(const std::vector<ShownPassage> &passages);
    /// Shows the window, the list of the service in hand.
    void open() override;

    /// Takes the references to be added.
    [[nodiscard]] VerseField *field() const { return m_field; }

Q_SIGNALS:
    /// The passage is wanted in PREVIEW.
    void cued(const QString &reference);
    /// The one at this place of those shown last is, from where it came.
    void recalled(int place);
    void addPressed(const QString &typed);
    void removePressed(int place);
    /// `delta`: −1 up, 1 down.
    void movePressed(int place, int delta);

private:
    void move(int delta);

    VerseField *m_field;
    QListWidget *m_kept;
    QStringList m_references; ///< of those kept
    QListWidget *m_recent;
};

} // namespace nimbara
