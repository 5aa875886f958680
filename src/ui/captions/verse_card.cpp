#include "ui/captions/verse_card.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>

namespace nimbara {

VerseCard::VerseCard(SpokenVerses &verses, const KeyMap &keys, QWidget *parent)
    : QFrame(parent)
    , m_verses(verses)
    , m_keys(keys)
    , m_reference(named(new QLabel, "spokenVerse"))
    , m_preview(makeButton("A PREVIEW", "spokenToPreview"))
    , m_onAir(makeButton("Al aire", "spokenOnAir"))
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
    connect(&m_keys, &KeyMap::changed, this, &VerseCard::showKeys);
    showKeys();
    showOffer();
}

void VerseCard::showKeys()
{
    const auto write = [this](QPushButton *button, const char *spanish, KeyAction action) {
        const QString text = nimbara_i18n::tr(spanish);
        const QString key = m_keys.text(action);
        button->setText(key.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, key));
        button->setMinimumWidth(button->sizeHint().width());
    };
    write(m_preview, "A PREVIEW", KeyAction::SpokenToPreview);
    write(m_onAir, "Al aire", KeyAction::SpokenOnAir);
}

void VerseCard::showOffer()
{
    m_reference->setText(m_verses.offered());
    m_preview->setEnabled(!m_verses.isPrepared());
    m_onAir->setEnabled(m_verses.isPrepared());
    setVisible(!m_verses.offered().isEmpty());
}

} // namespace nimbara
