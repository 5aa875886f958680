#pragma once

#include "bible/api.h"
#include "bible/shelf.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace nimbara {

/// "Biblia para versículos": which Bible verses come from.
class BibleGroup : public QGroupBox {
    Q_OBJECT
public:
    explicit BibleGroup(QWidget *parent = nullptr);

    /// Marks an entry of the choice, 0..3, without its signal.
    void showChoice(int entry);
    /// Lists the imported Bibles behind these four, without a signal. `chosen`: the identifier of
    /// the one that is marked, whether it is there or not; empty leaves the mark among the four.
    void showImported(const QList<bible::BiblePtr> &bibles, const QString &chosen);

    [[nodiscard]] QLineEdit *key() const { return m_key; }

    /// Refills the list and then makes `current` its entry, which tells of it. An empty list has
    /// none.
    void showBibles(const QList<bible::ListedBible> &bibles, int current);

Q_SIGNALS:
    void choiceMade(int entry);
    void importedChosen(const QString &id);
    void importPressed();
    /// The imported Bible that is marked shall go.
    void removePressed(const QString &id);
    void findPressed();
    void bibleChosen(const QString &id, const QString &text);

private:
    void showDetails();

    QComboBox *m_choice;
    QPushButton *m_import;
    QPushButton *m_remove;
    QLabel *m_details; ///< language and licence of an imported one
    QLineEdit *m_key;
    QPushButton *m_find;
    QComboBox *m_bibles;
};

} // namespace nimbara
