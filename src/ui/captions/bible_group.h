#pragma once

#include "bible/api.h"

#include <QComboBox>
#include <QGroupBox>
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

    [[nodiscard]] QLineEdit *key() const { return m_key; }

    /// Refills the list and then makes `current` its entry, which tells of it. An empty list has
    /// none.
    void showBibles(const QList<bible::ListedBible> &bibles, int current);

Q_SIGNALS:
    void choiceMade(int entry);
    void findPressed();
    void bibleChosen(const QString &id, const QString &text);

private:
    QComboBox *m_choice;
    QLineEdit *m_key;
    QPushButton *m_find;
    QComboBox *m_bibles;
};

} // namespace nimbara
