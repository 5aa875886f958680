#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include <cstdint>

class QKeyEvent;

namespace nimbara {

/// The caption that comes next, which the operator may change or drop while it is held. Shown while
/// captions are held.
class HoldRow : public QWidget {
    Q_OBJECT
public:
    /// `prefix`: of the object names, where there is another row beside it.
    explicit HoldRow(const QString &prefix = {}, QWidget *parent = nullptr);
    /// Names the language of the captions, where there is more than one.
    void showLanguage(const QString &language);

    struct Next {
        std::int64_t id = 0; ///< 0: none is held
        QString text;
        QString original; ///< as it was said
        std::size_t others = 0; ///< that are held behind it
    };
    /// What is being typed stays as long as its caption is the next one.
    void showNext(const Next &next);

Q_SIGNALS:
    void editBegun(std::int64_t id);
    /// The edit ended without a change.
    void editLeft(std::int64_t id);
    void changed(std::int64_t id, const QString &text);
    void dropped(std::int64_t id);
    /// The words that were corrected last are wanted in the glossary.
    void glossaryPressed(const QString &words);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void begin();
    void enter();
    void showWritable();
    void finish();
    void leave();
    [[nodiscard]] bool hasCaption() const { return m_next.id != 0 || m_hasLeft; }
    void turnPage(const QKeyEvent &key);
    void showCorrection(const QString &words);

    QLineEdit *m_text;
    QLabel *m_others;
    QPushButton *m_drop;
    QPushButton *m_toGlossary;
    Next m_next;
    bool m_isEdited = false;
    bool m_hasLeft = false; ///< the caption under edit, and who typed into it has not seen that
    QString m_correction; ///< not in the glossary yet
};

} // namespace nimbara
