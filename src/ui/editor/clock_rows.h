#pragma once

#include "document/layer_fields.h"

#include <QObject>

class QComboBox;
class QFormLayout;
class QLineEdit;
class QPushButton;
class QTimeEdit;

namespace nimbara {

/// The rows of the properties panel that are a clock layer's own: what it tells, until when or for
/// how long, what it says at zero, and the buttons of the countdown. Those that the choice has no
/// use for are hidden.
class ClockRows : public QObject {
    Q_OBJECT
public:
    /// Appends the rows to the form.
    ClockRows(QFormLayout &form, QObject *parent);

    /// Writes the layer's values into the controls. `running`: its countdown moves.
    void refresh(const Layer &layer, bool running);

Q_SIGNALS:
    void edited(nimbara::LayerField field, const nimbara::FieldValue &value);
    /// Start the countdown, or pause it.
    void togglePressed();
    /// Back to its whole length.
    void resetPressed();

private:
    void connectFields();
    void showRows(std::int32_t shows);

    QFormLayout &m_form;
    QComboBox *m_shows;
    QTimeEdit *m_until;
    QTimeEdit *m_duration;
    QLineEdit *m_atZero;
    QPushButton *m_toggle;
    QPushButton *m_reset;
    QWidget *m_buttons;
};

} // namespace nimbara
