#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include <array>
#include <cstddef>
#include <span>

namespace nimbara {

/// "Transmitir y grabar": one row per destination, and the recording.
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

    void showRecording(const QString &buttonText);

Q_SIGNALS:
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

    std::array<Row, slots> m_rows {};
    QPushButton *m_startSelected;
    QPushButton *m_stopStreams;
    QPushButton *m_saveKeys;
    QPushButton *m_record;
};

} // namespace nimbara
