#pragma once

#include "studio/edit/document.h"
#include "ui/kit/key_map.h"

#include <QDialog>
#include <QTableWidget>

#include <functional>

namespace nimbara {

/// The glossary of the project as a table. Each change is a step of undo of the document, and what
/// others change is shown. Stays open beside the window.
class GlossaryDialog : public QDialog {
    Q_OBJECT
public:
    /// `document` and `keys` must outlive the dialog. `language`: what a new term is translated
    /// into.
    GlossaryDialog(Document &document,
        const KeyMap &keys,
        std::function<QString()> language,
        QWidget *parent);

    /// Writes down how a term is translated; the operator is asked how it is said.
    void propose(const QString &shown, const QString &language);

private:
    void showTerms();
    void appendRow(const Term &term);
    [[nodiscard]] Terms terms() const;
    [[nodiscard]] QString textAt(int row, int column) const;
    void takeEdit(int row);
    void removeSelected();
    void addKeys(const KeyMap &keys);

    Document &m_document;
    std::function<QString()> m_language;
    QTableWidget *m_table; ///< the last row is empty, for a new term
};

} // namespace nimbara
