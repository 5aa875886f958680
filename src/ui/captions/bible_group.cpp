#include "ui/captions/bible_group.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QGridLayout>
#include <QSignalBlocker>

namespace nimbara {

BibleGroup::BibleGroup(QWidget *parent)
    : QGroupBox(nimbara_i18n::tr("Biblia para versículos"), parent)
    , m_choice(makeList({ "Automática según idioma de subtítulos",
                            "Español · Reina-Valera 1909 (incluida)",
                            "Inglés · King James Version (incluida)",
                            "API.Bible (p. ej. Reina-Valera 1960, con tu clave)" },
          "bibleChoice",
          "Biblia para versículos"))
    , m_key(makeKeyField("bibleKey",
          "Clave de API.Bible (rest.api.bible) · se guarda en el almacén seguro"))
    , m_find(makeButton("Buscar Biblias en español", "findBibles"))
    , m_bibles(named(new QComboBox, "bibles", nimbara_i18n::tr("Biblia de API.Bible")))
{
    auto *grid = new QGridLayout(this);
    m_bibles->setMinimumWidth(260);
    // Beside the translation it makes do with less than its longest entry.
    m_choice->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_choice->setMinimumContentsLength(36);
    grid->addWidget(new QLabel(nimbara_i18n::tr("Usar")), 0, 0);
    grid->addWidget(m_choice, 0, 1, 1, 2);
    grid->addWidget(m_key, 1, 0, 1, 2);
    grid->addWidget(m_find, 1, 2);
    grid->addWidget(makeNote("Biblia de API.Bible"), 2, 0);
    grid->addWidget(m_bibles, 2, 1, 1, 2);
    grid->addWidget(makeNote("Las Biblias con derechos (RVR1960, NVI, etc.) se consultan en línea "
                             "con tu propia licencia de API.Bible; la app no guarda su texto."),
        3,
        0,
        1,
        3);
    grid->setColumnStretch(1, 1);
    connect(m_choice, &QComboBox::currentIndexChanged, this, &BibleGroup::choiceMade);
    connect(m_find, &QPushButton::clicked, this, &BibleGroup::findPressed);
    connect(m_bibles, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0) {
            Q_EMIT bibleChosen(m_bibles->itemData(index).toString(), m_bibles->itemText(index));
        }
    });
}

void BibleGroup::showChoice(int entry)
{
    const QSignalBlocker blocker(m_choice);
    m_choice->setCurrentIndex(entry);
}

void BibleGroup::showBibles(const QList<bible::ListedBible> &bibles, int current)
{
    {
        const QSignalBlocker blocker(m_bibles);
        m_bibles->clear();
        for (const bible::ListedBible &each : bibles) {
            m_bibles->addItem(each.text, each.id);
        }
        m_bibles->setCurrentIndex(-1);
    }
    m_bibles->setCurrentIndex(current);
}

} // namespace nimbara
