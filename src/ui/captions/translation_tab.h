#pragma once

#include "ui/captions/bible_group.h"
#include "ui/captions/delay_curve.h"
#include "ui/captions/hold_row.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>

class QBoxLayout;
class QGridLayout;

namespace nimbara {

/// "Traducción IA y Biblia": the translation controls and, below them, the Bible that verses come
/// from.
class TranslationTab : public QScrollArea {
    Q_OBJECT
public:
    explicit TranslationTab(QWidget *parent = nullptr);

    /// What the controls stand at.
    struct Settings {
        bool saveKey = false;
        QString target; ///< without blanks around it
        bool voice = false;
        bool live = true;
        bool subtitles = true;
        int separator = 1;
        bool spokenOnAir = false;
        int holdSeconds = 0;
        QString second; ///< another target; empty: none
        /// The languages that the voice may speak, of which one is chosen; none: there is no
        /// choice.
        QStringList voiceLanguages {};
        int voiceLanguage = 0;
    };
    /// Shows the settings without the signals of their controls.
    void showSettings(const Settings &settings);

    [[nodiscard]] QLineEdit *apiKey() const { return m_apiKey; }

    void showRunning(bool running);
    /// The start button cannot be pressed while a key is being fetched or stored.
    void setStartEnabled(bool enabled) { m_start->setEnabled(enabled); }
    void showStatus(const QString &text) { m_status->setText(text); }
    void showCaptionNotice(const QString &text) { m_captionNotice->setText(text); }
    void showRoad(const QString &text) { m_road->setText(text); }
    /// How late the captions are: empty when nothing is known; `grows` makes it and its curve
    /// amber.
    void showDelay(const QString &summary, const QString &stages, bool grows);
    void showCost(const QString &summary, bool nearLimit);
    [[nodiscard]] DelayCurve *delayCurve() const { return m_delayCurve; }
    void showHeard(const QString &text) { m_heard->setText(text); }

    [[nodiscard]] HoldRow *holdRow() const { return m_holdRow; }
    /// That of the second language.
    [[nodiscard]] HoldRow *secondHoldRow() const { return m_secondHoldRow; }
    [[nodiscard]] BibleGroup *bible() const { return m_bible; }
    /// The height at which nothing has to be scrolled.
    [[nodiscard]] int heightForWidth(int width) const override;

Q_SIGNALS:
    void saveKeyChanged(bool on);
    void testKeyPressed();
    void startPressed();
    void spanishPressed(); ///< preached in English, shown in Spanish
    void englishPressed(); ///< preached in Spanish, shown in English
    void targetEdited(const QString &language);
    void secondEdited(const QString &language); ///< empty: none
    void voiceChanged(bool on);
    void voiceLanguageChosen(int entry);
    void liveModeChanged(bool on);
    void separatorChosen(int entry);
    void showSubtitlesChanged(bool on);
    void clearPressed();
    void glossaryPressed();
    void pricesPressed();
    void spokenOnAirChanged(bool on);
    void holdChosen(int seconds);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    [[nodiscard]] bool isWide(int width) const;
    void addRows(QGridLayout &grid);
    void connectControls();
    [[nodiscard]] QString chosenSecond() const;
    void showVoiceLanguages(const QStringList &languages, int chosen);

    QLineEdit *m_apiKey;
    QCheckBox *m_saveKey;
    QPushButton *m_testKey;
    QComboBox *m_target;
    QComboBox *m_second;
    QPushButton *m_toSpanish;
    QPushButton *m_toEnglish;
    QPushButton *m_start;
    QCheckBox *m_voice;
    QComboBox *m_voiceLanguage; ///< while there are two languages
    QCheckBox *m_live;
    QCheckBox *m_showSubtitles;
    QPushButton *m_clear;
    QComboBox *m_separator;
    QPushButton *m_glossary;
    QPushButton *m_prices;
    QCheckBox *m_spokenOnAir;
    QSpinBox *m_hold;
    QPushButton *m_clearNow;
    HoldRow *m_holdRow; ///< while anything is held, or may be
    HoldRow *m_secondHoldRow;
    QLabel *m_status;
    QLabel *m_road; ///< the way that the voice takes; empty when it takes none
    QLabel *m_delay;
    DelayCurve *m_delayCurve;
    QLabel *m_cost;
    QLabel *m_captionNotice;
    QLabel *m_heard;
    BibleGroup *m_bible;
    QBoxLayout *m_columns = nullptr; ///< the translation and the Bible
};

} // namespace nimbara
