#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>

class QGridLayout;
class QGroupBox;

namespace nimbara {

/// "Traducción IA y Biblia": the translation controls and, below them, the Bible that verses come
/// from.
class TranslationTab : public QScrollArea {
    Q_OBJECT
public:
    explicit TranslationTab(QWidget *parent = nullptr);

    /// Space typed here is text, not TAKE.
    [[nodiscard]] const QLineEdit *apiKey() const { return m_apiKey; }

private:
    void addTranslationRows(QGridLayout &grid);
    QGroupBox *makeBibleGroup();
    void disableControls();

    QLineEdit *m_apiKey;
    QCheckBox *m_saveKey;
    QPushButton *m_testKey;
    QComboBox *m_target;
    QPushButton *m_toSpanish;
    QPushButton *m_toEnglish;
    QPushButton *m_start;
    QCheckBox *m_voice;
    QCheckBox *m_live;
    QCheckBox *m_showSubtitles;
    QPushButton *m_clear;
    QComboBox *m_separator;
    QLabel *m_status;
    QLabel *m_heard;
    QComboBox *m_bibleChoice;
    QLineEdit *m_bibleKey;
    QPushButton *m_findBibles;
    QComboBox *m_bibles;
};

} // namespace nimbara
