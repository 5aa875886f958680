#pragma once

#include "studio/services/spoken_verses.h"
#include "ui/kit/key_map.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

namespace nimbara {

/// The verse that the preacher has named, and what can be done with it. Hidden while there is none.
class VerseCard : public QFrame {
    Q_OBJECT
public:
    /// Both must outlive the card.
    VerseCard(SpokenVerses &verses, const KeyMap &keys, QWidget *parent = nullptr);

Q_SIGNALS:
    void previewPressed();
    void onAirPressed();

private:
    void showOffer();
    void showKeys();

    SpokenVerses &m_verses;
    const KeyMap &m_keys;
    QLabel *m_reference;
    QPushButton *m_preview;
    QPushButton *m_onAir;
};

} // namespace nimbara
