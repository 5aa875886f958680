#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include <array>
#include <cstddef>
#include <span>

class QGridLayout;

namespace nimbara {

/// "Transmitir y grabar": one row per destination, and the recording. Slots count from 0.
class OutputsTab : public QWidget {
    Q_OBJECT
public:
    static constexpr std::size_t slots = 4;

    /// What a destination row starts with.
    struct Preset {
        QString name;
        QString server;
    };

    explicit OutputsTab(std::span<const Preset, slots> presets, QWidget *parent = nullptr);

    /// The slot takes part in "Iniciar destinos seleccionados".
    [[nodiscard]] bool isSelected(std::size_t slot) const;
    /// The texts of the slot's fields, as typed.
    [[nodiscard]] QString server(std::size_t slot) const;
    [[nodiscard]] QString key(std::size_t slot) const;
    void setKey(std::size_t slot, const QString &key);

    /// `buttonText`, `stateText`: untranslated. `waiting`: the button takes no press for now.
    void showDestination(std::size_t slot,
        const QString &buttonText,
        const QString &stateText,
        bool waiting);
    /// Keys are being saved: the button takes no press for now.
    void showSaving(bool saving);
    /// `buttonText`: untranslated.
    void showRecording(const QString &buttonText);

Q_SIGNALS:
    void togglePressed(std::size_t slot);
    void startSelectedPressed();
    void stopStreamsPressed();
    void saveKeysPressed();
    void recordPressed();

private:
    struct Row {
        QCheckBox *enabled;
        QLineEdit *server;
        QLineEdit *key;
        QPushButton *toggle;
        QLabel *state;
    };
    Row makeRow(const Preset &preset, std::size_t slot);
    void addRow(QGridLayout *grid, std::size_t slot);
    void addButtons(QGridLayout *grid);

    std::array<Row, slots> m_rows {};
    QPushButton *m_startSelected;
    QPushButton *m_stopStreams;
    QPushButton *m_saveKeys;
    QPushButton *m_record;
};

} // namespace nimbara
