#pragma once

#include "base/message.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include <array>
#include <cstddef>
#include <span>

class QComboBox;
class QDoubleSpinBox;
class QGridLayout;
class QSpinBox;

namespace nimbara {

/// "Transmitir y grabar": one row per destination, and the recording. Slots count from 0.
class OutputsTab : public QWidget {
    Q_OBJECT
public:
    static constexpr std::size_t slots = 4;

    /// `names`: of the destinations, untranslated.
    explicit OutputsTab(std::span<const QString, slots> names, QWidget *parent = nullptr);

    /// What the slot's fields and its tick stand at.
    void showWanted(std::size_t slot, const QString &server, const QString &key, bool selected);
    /// `waiting`: the button takes no press for now. `reconnecting`: the next attempt can be made
    /// at once.
    void showDestination(std::size_t slot,
        const Message &buttonText,
        const Message &stateText,
        bool waiting,
        bool reconnecting);
    /// The figures of a slot that is on air; empty: none.
    void showFigures(std::size_t slot, const QString &text);
    /// What the tool tip of the figures shows, as rich text.
    void setFiguresToolTip(std::size_t slot, const QString &toolTip);
    void showReconnects(bool on);
    /// How H.264 is encoded: the platform's encoder where it may be trusted, or the program's
    /// alone.
    void showEncoder(bool automatic, const Message &text);
    /// `text` stays until the next test.
    void showLineTest(bool running, const Message &text);
    /// Keys are being saved: the button takes no press for now.
    void showSaving(bool saving);
    void showVideoKbits(int kbits);
    /// `pausable`: it can be paused, or is paused and can go on.
    void showRecording(const Message &buttonText, bool pausable, bool paused);

Q_SIGNALS:
    /// The fields hold other texts, typed or shown.
    void serverEdited(std::size_t slot, const QString &server);
    void keyEdited(std::size_t slot, const QString &key);
    /// The slot takes part in "Iniciar destinos seleccionados", or not.
    void selectionChanged(std::size_t slot, bool selected);
    void togglePressed(std::size_t slot);
    void retryNowPressed(std::size_t slot);
    void reconnectsChanged(bool on);
    void startSelectedPressed();
    void stopStreamsPressed();
    void saveKeysPressed();
    void hardwareEncodingChanged(bool on);
    /// To begin the test of the line, or to end it.
    void lineTestPressed();
    void recordPressed();
    void pausePressed();
    /// Of each part of a recording; 0: it stays in one file.
    void partMinutesChanged(int minutes);
    /// The tool tip of a slot's figures is about to be shown.
    void figuresHovered(std::size_t slot);
    void videoKbitsChanged(int kbits);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Row {
        QCheckBox *enabled;
        QLineEdit *server;
        QLineEdit *key;
        QPushButton *toggle;
        QPushButton *now; ///< while it waits to be connected again
        QLabel *state;
        QLabel *figures; ///< below it
    };
    Row makeRow(const QString &title, std::size_t slot);
    void addRow(QGridLayout *grid, std::size_t slot);
    void addButtons(QGridLayout *grid);
    void addRecordingRow(QGridLayout *grid);

    std::array<Row, slots> m_rows {};
    QPushButton *m_startSelected;
    QPushButton *m_stopStreams;
    QPushButton *m_saveKeys;
    QPushButton *m_testLine;
    QLabel *m_lineText;
    QComboBox *m_encoder;
    QLabel *m_encoderText;
    QPushButton *m_record;
    QPushButton *m_pause;
    QSpinBox *m_partMinutes;
    QDoubleSpinBox *m_videoRate; ///< Mbit/s
    QCheckBox *m_reconnects;
};

} // namespace nimbara
