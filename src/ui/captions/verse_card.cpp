#include "ui/captions/verse_card.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>

namespace nimbara {

VerseCard::VerseCard(SpokenVerses &verses, QWidget *parent)
    : QFrame(parent)
    , m_verses(verses)
    , m_reference(named(new QLabel, "spokenVerse"))
    , m_preview(makeButton("A PREVIEW (F3)", "spokenToPreview"))
    , m_onAir(makeButton("Al aire (F4)", "spokenOnAir"))
{
    setObjectName(QStringLiteral("verseCard"));
    setAccessibleName(nimbara_i18n::tr("Versículo dicho"));
    auto *dismiss = makeButton("Descartar", "dismissSpoken");
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    m_reference->setTextFormat(Qt::PlainText);
    QFont font = m_reference->font();
    font.setBold(true);
    m_reference->setFont(font);
    for (QWidget *widget : { static_cast<QWidget *>(m_reference),
             static_cast<QWidget *>(m_preview),
             static_cast<QWidget *>(m_onAir),
             static_cast<QWidget *>(dismiss) }) {
        row->addWidget(widget);
    }
    connect(m_preview, &QPushButton::clicked, this, &VerseCard::previewPressed);
    connect(m_onAir, &QPushButton::clicked, this, &VerseCard::onAirPressed);
    connect(dismiss, &QPushButton::clicked, &m_verses, &SpokenVerses::dismiss);
    connect(&m_verses, &SpokenVerses::changed, this, &VerseCard::showOffer);
    showOffer();
}

void VerseCard::showOffer()
{
    m_reference->setText(m_verses.offered());
    m_preview->setEnabled(!m_verses.isPrepared());
    m_onAir->setEnabled(m_verses.isPrepared());
    setVisible(!m_verses.offered().isEmpty());
}

} // namespace nimbara
