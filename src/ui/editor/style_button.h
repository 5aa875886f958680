#pragma once

#include <QPushButton>
#include <QStringList>

class QAction;
class QActionGroup;
class QMenu;

namespace nimbara {

/// The named style that a text follows: opens a menu of the project's styles, which also keeps the
/// text's look under a name or deletes the style.
class StyleButton : public QPushButton {
    Q_OBJECT
public:
    explicit StyleButton(QWidget *parent = nullptr);

    /// The project's styles and the one that the text follows, empty for none.
    void showStyles(const QStringList &names, const QString &followed);

Q_SIGNALS:
    /// Empty: none.
    void chosen(const QString &name);
    /// The look is to be kept under a name.
    void keepPressed();
    void removePressed(const QString &name);

private:
    void list(const QStringList &names);
    QAction *addStyle(const QString &text, const QString &name);

    QMenu *m_menu;
    QActionGroup *m_styles; ///< each with its style's name, the first one with none
    QAction *m_remove;
    QAction *m_end; ///< of the styles
    QStringList m_names;
    QString m_followed;
};

} // namespace nimbara
