#include "ui/captions/verse_controls.h"

#include "base/i18n.h"
#include "ui/kit/key_field.h"

#include <QApplication>
#include <QMenu>

#include <algorithm>

namespace nimbara {

VerseControls::VerseControls(Studio &studio, const ErrorGuard &guard, Views views)
    : m_studio(studio)
    , m_desk(studio.bibles())
    , m_library(studio.bibleLibrary())
    , m_verses(studio.verses())
    , m_steps(studio.verseSteps())
    , m_finder(studio.verseFinder())
    , m_spoken(studio.spokenVerses())
    , m_passages(studio.passages())
    , m_guard(guard)
    , m_views(views)
    , m_box(new PassageBox(&views.tab))
{
    showChoice();
    connectViews();
    connectTyping();
    connectPassages();
    connectLibrary();
    const auto tell = [this](const Message &reason) { m_guard.tell(reason); };
    connect(&m_verses, &VerseDesk::failed, this, tell);
    connect(&m_verses, &VerseDesk::quickVerseAdded, &m_views.editor, &SceneEditor::offer);
    connect(&m_desk, &BibleDesk::failed, this, tell);
    connect(&m_desk, &BibleDesk::doubtful, this, [this](LayerId layer, const QStringList &offers) {
        offer(offers, [this, layer](const QString &chosen) { showVerse(layer, chosen); });
    });
    connect(&m_desk, &BibleDesk::biblesFound, &m_views.bible, &BibleGroup::showBibles);
}

void VerseControls::showChoice()
{
    m_views.bible.showChoice(m_desk.choice());
    m_views.bible.showImported(bible::importedBibles(), m_desk.imported());
    bindKeyField(*m_views.bible.key(), m_desk.key());
    if (const bible::ListedBible listed = m_desk.online(); !listed.id.isEmpty()) {
        m_views.bible.showBibles({ { listed.id, listed.text.isEmpty() ? listed.id : listed.text } },
            0);
    }
}

void VerseControls::connectViews()
{
    const BibleGroup *bible = &m_views.bible;
    connect(&m_views.tab, &SceneTab::verseRequested, this, &VerseControls::showQuickVerse);
    connect(&m_views.tab, &SceneTab::pageStepped, this, [this](int step) {
        stepPage(step < 0 ? VerseSteps::Direction::Back : VerseSteps::Direction::On);
    });
    connect(m_views.tab.properties(),
        &PropertiesPanel::verseRequested,
        this,
        &VerseControls::showVerse);
    connect(m_views.tab.properties(),
        &PropertiesPanel::secondBibleWanted,
        &m_verses,
        &VerseDesk::setSecond);
    connect(m_views.tab.properties(),
        &PropertiesPanel::verseStyleKept,
        this,
        [this](LayerId layer) { m_verses.keepStyle(layer); });
    connect(bible, &BibleGroup::choiceMade, &m_desk, &BibleDesk::choose);
    connect(bible,
        &BibleGroup::bibleChosen,
        &m_desk,
        [this](const QString &id, const QString &name) {
            m_desk.chooseOnline({ id, name });
        });
    connect(bible, &BibleGroup::findPressed, &m_desk, &BibleDesk::findBibles);
}

void VerseControls::connectLibrary()
{
    const BibleGroup *bible = &m_views.bible;
    connect(bible, &BibleGroup::importedChosen, &m_desk, &BibleDesk::chooseImported);
    connect(bible, &BibleGroup::importPressed, &m_library, &BibleLibrary::findModules);
    connect(&m_library, &BibleLibrary::modulesFound, this, &VerseControls::offerModules);
    connect(bible, &BibleGroup::removePressed, this, &VerseControls::removeBible);
    connect(&m_library, &BibleLibrary::failed, this, [this](const Message &reason) {
        m_guard.tell(reason);
    });
    connect(&m_library, &BibleLibrary::removed, this, [this](const QString &id) {
        if (m_desk.imported() == id) {
            m_desk.choose(0);
        }
    });
    connect(&m_library, &BibleLibrary::changed, this, [this] {
        m_views.bible.showChoice(m_desk.choice());
        m_views.bible.showImported(bible::importedBibles(), m_desk.imported());
        if (const Layer *layer
            = findLayer(m_studio.document().scenes(), m_views.editor.selected())) {
            m_views.tab.properties()->refresh(*layer); // lists them, too
        }
    });
}

/// A file or a module, below the button; where no module is installed, a file.
void VerseControls::offerModules(const QList<bible::SwordModule> &modules)
{
    if (modules.isEmpty()) {
        importFiles();
        return;
    }
    auto *menu = new QMenu(&m_views.bible);
    menu->setObjectName(QLatin1String("bibleSources"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu->addAction(nimbara_i18n::tr("De un archivo…")),
        &QAction::triggered,
        this,
        &VerseControls::importFiles);
    menu->addSeparator();
    for (const bible::SwordModule &module : modules) {
        QString text = nimbara_i18n::tr("De SWORD: %1").arg(module.name);
        text.replace(QLatin1Char('&'), QStringLiteral("&&")); // no shortcut
        connect(menu->addAction(text), &QAction::triggered, this, [this, module] {
            m_library.importModule(module);
        });
    }
    const auto *button = m_views.bible.findChild<QPushButton *>(QStringLiteral("importBible"));
    menu->popup(button->mapToGlobal(QPoint(0, button->height())));
}

void VerseControls::importFiles()
{
    m_library.importFiles(m_guard.dialogs().openFiles(nimbara_i18n::tr("Importar Biblia"),
        {},
        nimbara_i18n::tr("Biblias OSIS, Zefania o USFM (*.xml *.osis *.usfm *.sfm *.txt)")
            + QStringLiteral(";;") + nimbara_i18n::tr("Todos los archivos (*)")));
}

void VerseControls::removeBible(const QString &id)
{
    const bible::BiblePtr bible = bible::bibleWithId(id);
    if (bible == nullptr
        || !m_guard.dialogs().question(nimbara_i18n::tr("Quitar Biblia"),
            nimbara_i18n::tr("¿Quitar “%1” de este equipo?").arg(bible->name))) {
        return;
    }
    m_library.remove(id);
}

/// Suggestions go to the field that was typed into, wherever it is by then.
void VerseControls::connectTyping()
{
    VerseField *quick = m_views.tab.verseField();
    connect(quick, &VerseField::typed, this, [this, quick](const QString &text) {
        suggest(quick, text);
    });
    connect(m_views.tab.properties(), &PropertiesPanel::verseTyped, this, &VerseControls::suggest);
    connect(&m_finder,
        &VerseFinder::suggested,
        this,
        [this](const QString &typed, const QList<bible::Suggestion> &suggestions) {
            if (m_typedIn) {
                m_typedIn->offer(typed, suggestions);
            }
        });
}

void VerseControls::connectPassages()
{
    VerseField *field = m_box->field();
    connect(field, &VerseField::typed, this, [this, field](const QString &text) {
        suggest(field, text);
    });
    const auto showKept = [this] { m_box->showKept(m_passages.kept()); };
    const auto showRecent = [this] { m_box->showRecent(m_passages.recent()); };
    showKept();
    showRecent();
    connect(&m_passages, &PassageDesk::keptChanged, this, showKept);
    connect(&m_passages, &PassageDesk::recentChanged, this, showRecent);
    connect(&m_views.tab, &SceneTab::passagesPressed, this, &VerseControls::showPassages);
    connect(m_box, &PassageBox::cued, this, &VerseControls::showQuickVerse);
    connect(m_box, &PassageBox::removePressed, this, [this](int place) {
        m_passages.remove(static_cast<std::size_t>(std::max(place, 0)));
    });
    connect(m_box, &PassageBox::movePressed, this, [this](int place, int delta) {
        m_passages.move(static_cast<std::size_t>(std::max(place, 0)), delta);
    });
    connect(m_box, &PassageBox::recalled, this, [this](int place) {
        recall(static_cast<std::size_t>(std::max(place, 0)));
    });
    connect(m_box, &PassageBox::addPressed, this, &VerseControls::addPassage);
    connect(&m_passages, &PassageDesk::doubtful, this, [this](const QStringList &offers) {
        offer(offers, [this](const QString &chosen) { addPassage(chosen); });
    });
}

void VerseControls::addPassage(const QString &typed)
{
    m_guard.run([&] {
        if (m_passages.add(typed)) {
            m_box->field()->clear();
        }
    });
}

/// In the Bible that it was shown in.
void VerseControls::recall(std::size_t place)
{
    if (place >= m_passages.recent().size()) {
        return;
    }
    const ShownPassage shown = m_passages.recent()[place]; // the list changes as it is shown
    showQuick([&](LayerId layer) {
        if (shown.source.choice.isEmpty()) {
            m_desk.lookUp(layer, shown.passage.reference);
        } else {
            m_desk.lookUp(layer, shown.passage.reference, shown.source);
        }
    });
}

void VerseControls::showPassages()
{
    m_box->open();
}

void VerseControls::suggest(VerseField *field, const QString &typed)
{
    m_typedIn = field;
    m_finder.suggest(typed);
}

void VerseControls::stepPage(VerseSteps::Direction direction)
{
    m_guard.run([&] { m_steps.step(m_views.editor.selected(), direction); });
}

void VerseControls::stepOnAir(VerseSteps::Direction direction)
{
    m_guard.run([&] { m_steps.stepOnAir(m_views.editor.selected(), direction); });
}

void VerseControls::showVerse(LayerId layer, const QString &typed)
{
    m_guard.run([&] { m_desk.lookUp(layer, typed); });
}

void VerseControls::showQuickVerse(const QString &typed)
{
    showQuick([&](LayerId layer) { m_desk.lookUp(layer, typed); });
}

void VerseControls::showQuick(const std::function<void(LayerId layer)> &lookUp)
{
    const LayerId layer = m_verses.quickVerseLayer();
    m_views.editor.expectLayer();
    m_guard.run([&] { lookUp(layer); });
    if (m_verses.hasLayer(layer)) {
        m_views.editor.select(layer);
    }
}

void VerseControls::prepareSpoken()
{
    m_guard.run([this] {
        m_views.editor.expectLayer();
        if (const auto layer = m_spoken.prepare(); layer && m_verses.hasLayer(*layer)) {
            m_views.editor.select(*layer);
        }
    });
}

void VerseControls::takeSpokenOnAir()
{
    m_guard.run([this] { m_spoken.takeOnAir(); });
}

/// Below what the operator pressed Return or the button in. Closing the menu chooses nothing.
void VerseControls::offer(const QStringList &offers,
    const std::function<void(const QString &)> &take)
{
    auto *menu = new QMenu(&m_views.tab);
    menu->setObjectName(QLatin1String("verseOffers"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const QString &reference : offers) {
        connect(menu->addAction(reference), &QAction::triggered, this, [take, reference] {
            take(reference);
        });
    }
    const QWidget *pressed = QApplication::focusWidget();
    const QWidget &place = pressed != nullptr ? *pressed : m_views.tab;
    menu->popup(place.mapToGlobal(QPoint(0, place.height())));
}

} // namespace nimbara
