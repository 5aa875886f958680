#pragma once

#include <QComboBox>
#include <QWidget>

namespace nimbara {

/// The window's first row: logo, name and interface language.
class HeaderRow : public QWidget {
    Q_OBJECT
public:
    explicit HeaderRow(QWidget *parent = nullptr);

    /// Shows the language of this run again, without the change signal.
    void showCurrentLanguage();

Q_SIGNALS:
    /// The operator chose entry 0 (Spanish) or 1 (English).
    void languageChosen(int index);

private:
    QComboBox *m_language;
};

} // namespace nimbara
