#pragma once

#include "document/layer_fields.h"

#include <QObject>

#include <initializer_list>

class QComboBox;
class QFormLayout;

namespace nimbara {

/// The rows of the properties panel for the look of a verse: its second Bible, its numbers, its
/// reference, and what the project keeps of it for new ones.
class VerseRows : public QObject {
    Q_OBJECT
public:
    /// Appends the rows to the form.
    VerseRows(QFormLayout &form, QObject *parent);

    /// Writes the layer's values into the controls.
    void refresh(const Layer &layer);

Q_SIGNALS:
    void edited(nimbara::LayerField field, const nimbara::FieldValue &value);
    /// Another second Bible: its identifier, empty for none.
    void secondWanted(const QString &bible);
    /// New verses shall look as this one.
    void styleKept();

private:
    void addSecond(QFormLayout &form);
    void listBibles(const QString &shown);
    QComboBox *makeChoice(std::initializer_list<const char *> entries,
        const char *name,
        const char *spanish,
        LayerField field);

    QComboBox *m_second;
    QComboBox *m_arrangement;
    QComboBox *m_shows;
    QComboBox *m_numbers;
    QComboBox *m_reference;
};

} // namespace nimbara
