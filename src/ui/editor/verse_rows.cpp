#include "ui/editor/verse_rows.h"

#include "base/i18n.h"
#include "bible/shelf.h"
#include "ui/kit/controls.h"

#include <QComboBox>
#include <QFormLayout>
#include <QPushButton>
#include <QSignalBlocker>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

void show(QComboBox *list, int entry)
{
    const QSignalBlocker blocker(list);
    list->setCurrentIndex(entry);
}

} // namespace

VerseRows::VerseRows(QFormLayout &form, QObject *parent)
    : QObject(parent)
    , m_second(named(new QComboBox, "secondBible", nimbara_i18n::tr("Segunda Biblia")))
    , m_arrangement(makeChoice({ "Una sobre otra", "Lado a lado", "Versículos alternados" },
          "arrangement",
          "Disposición",
          LayerField::Arrangement))
    , m_shows(makeChoice({ "Las dos", "Solo la primera", "Solo la segunda" },
          "shownBibles",
          "Biblias que se muestran",
          LayerField::Shows))
    , m_numbers(makeChoice({ "Como el texto", "Pequeños y tenues", "Ocultos" },
          "verseNumbers",
          "Números de versículo",
          LayerField::Numbers))
    , m_reference(makeChoice({ "Después del texto", "Antes del texto", "Oculta" },
          "referencePlace",
          "Lugar de la cita",
          LayerField::ReferencePlace))
{
    addSecond(form);
    form.addRow(nimbara_i18n::tr("Números de versículo"), m_numbers);
    form.addRow(nimbara_i18n::tr("Lugar de la cita"), m_reference);
    auto *keep = makeButton("Usar este estilo en los versículos nuevos", "keepVerseStyle");
    connect(keep, &QPushButton::clicked, this, &VerseRows::styleKept);
    form.addRow(keep);
}

void VerseRows::addSecond(QFormLayout &form)
{
    listBibles({});
    connect(m_second, &QComboBox::activated, this, [this](int entry) {
        Q_EMIT secondWanted(m_second->itemData(entry).toString());
    });
    form.addRow(nimbara_i18n::tr("Segunda Biblia"), m_second);
    form.addRow(nimbara_i18n::tr("Disposición"), m_arrangement);
    form.addRow(nimbara_i18n::tr("Biblias que se muestran"), m_shows);
}

/// `shown`: the identifier of one that is listed even where it is not here.
void VerseRows::listBibles(const QString &shown)
{
    // The built-in ones, by their own names.
    QList<std::pair<QString, QString>> entries { { nimbara_i18n::tr("Ninguna"), QString() },
        { QStringLiteral("Reina-Valera 1909"), QStringLiteral("RV1909") },
        { QStringLiteral("King James Version"), QStringLiteral("KJV") } };
    for (const bible::BiblePtr &each : bible::importedBibles()) {
        entries.append({ each->name, each->id });
    }
    const bool isHere = std::any_of(entries.begin(), entries.end(), [&shown](const auto &entry) {
        return entry.second == shown;
    });
    if (!isHere) {
        entries.append({ nimbara_i18n::tr("%1 (no está en este equipo)").arg(shown), shown });
    }
    QList<std::pair<QString, QString>> listed;
    for (int entry = 0; entry < m_second->count(); ++entry) {
        listed.append({ m_second->itemText(entry), m_second->itemData(entry).toString() });
    }
    if (listed == entries) {
        return;
    }
    const QSignalBlocker blocker(m_second);
    m_second->clear();
    for (const auto &[name, id] : entries) {
        m_second->addItem(name, id);
    }
}

QComboBox *VerseRows::makeChoice(std::initializer_list<const char *> entries,
    const char *name,
    const char *spanish,
    LayerField field)
{
    QComboBox *list = makeList(entries, name, spanish);
    connect(list, &QComboBox::currentIndexChanged, this, [this, field](int entry) {
        Q_EMIT edited(field, std::int32_t { entry });
    });
    return list;
}

void VerseRows::refresh(const Layer &layer)
{
    listBibles(layer.second);
    show(m_second, std::max(m_second->findData(layer.second), 0));
    show(m_arrangement, layer.arrangement);
    show(m_shows, layer.shows);
    show(m_numbers, layer.numbers);
    show(m_reference, layer.referencePlace);
    m_arrangement->setEnabled(!layer.second.isEmpty());
    m_shows->setEnabled(!layer.second.isEmpty());
}

} // namespace nimbara
