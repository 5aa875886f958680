#pragma once

#include "studio/services/spoken_verses.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

namespace nimbara {

/// The verse that the preacher has named, and what can be done with it. Hidden while there is none.
class VerseCard : public QFrame {
    Q_OBJECT
public:
    /// `verses` must outlive the card.
    explicit VerseCard(SpokenVerses &verses, QWidget *parent = nullptr);

Q_SIGNALS:
    void previewPressed();
    void onAirPressed();

private:
    void showOffer();

    SpokenVerses &m_verses;
    QLabel *m_reference;
    QPushButton *m_preview;
    QPushButton *m_onAir;
};

} // namespace nimbara
