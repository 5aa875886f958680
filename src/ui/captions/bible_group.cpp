#include "ui/captions/bible_group.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QSignalBlocker>

namespace nimbara {

namespace {

constexpr int builtIn = 4; ///< entries that are always there
constexpr int detailsRole = Qt::UserRole + 1;

QString detailsOf(const bible::Bible &bible)
{
    const QString license
        = bible.license.isEmpty() ? nimbara_i18n::tr("sin texto de licencia") : bible.license;
    return nimbara_i18n::tr("Idioma: %1 · Licencia: %2").arg(bible.lang, license);
}

} // namespace

BibleGroup::BibleGroup(QWidget *parent)
    : QGroupBox(nimbara_i18n::tr("Biblia para versículos"), parent)
    , m_choice(makeList({ "Automática según idioma de subtítulos",
                            "Español · Reina-Valera 1909 (incluida)",
                            "Inglés · King James Version (incluida)",
                            "API.Bible (p. ej. Reina-Valera 1960, con tu clave)" },
          "bibleChoice",
          "Biblia para versículos"))
    , m_import(makeButton("Importar Biblia…", "importBible"))
    , m_remove(makeButton("Quitar Biblia", "removeBible"))
    , m_details(named(makeNote(QString()), "bibleDetails"))
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
    auto *own = new QHBoxLayout;
    own->addWidget(m_import);
    own->addWidget(m_remove);
    own->addWidget(m_details, 1);
    grid->addLayout(own, 1, 0, 1, 3);
    grid->addWidget(m_key, 2, 0, 1, 2);
    grid->addWidget(m_find, 2, 2);
    grid->addWidget(makeNote("Biblia de API.Bible"), 3, 0);
    grid->addWidget(m_bibles, 3, 1, 1, 2);
    grid->addWidget(makeNote("Las Biblias con derechos (RVR1960, NVI, etc.) se consultan en línea "
                             "con tu propia licencia de API.Bible; la app no guarda su texto."),
        4,
        0,
        1,
        3);
    grid->setColumnStretch(1, 1);
    m_details->setMaximumHeight(3 * fontMetrics().lineSpacing());
    connect(m_choice, &QComboBox::currentIndexChanged, this, [this](int entry) {
        showDetails();
        if (entry < builtIn) {
            Q_EMIT choiceMade(entry);
        } else {
            Q_EMIT importedChosen(m_choice->itemData(entry).toString());
        }
    });
    connect(m_import, &QPushButton::clicked, this, &BibleGroup::importPressed);
    connect(m_remove, &QPushButton::clicked, this, [this] {
        Q_EMIT removePressed(m_choice->currentData().toString());
    });
    showDetails();
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
    showDetails();
}

void BibleGroup::showImported(const QList<bible::BiblePtr> &bibles, const QString &chosen)
{
    const QSignalBlocker blocker(m_choice);
    while (m_choice->count() > builtIn) {
        m_choice->removeItem(builtIn);
    }
    for (const bible::BiblePtr &bible : bibles) {
        m_choice->addItem(nimbara_i18n::tr("%1 (importada)").arg(bible->name), bible->id);
        m_choice->setItemData(m_choice->count() - 1, detailsOf(*bible), detailsRole);
    }
    if (!chosen.isEmpty() && m_choice->findData(chosen) < 0) {
        m_choice->addItem(nimbara_i18n::tr("%1 (no está en este equipo)").arg(chosen), chosen);
    }
    if (!chosen.isEmpty()) {
        m_choice->setCurrentIndex(m_choice->findData(chosen));
    }
    showDetails();
}

/// Only a Bible that is there has some.
void BibleGroup::showDetails()
{
    const QString details = m_choice->currentData(detailsRole).toString();
    m_details->setText(details);
    m_details->setToolTip(details);
    m_details->setVisible(!details.isEmpty());
    m_remove->setEnabled(!details.isEmpty());
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
