#include "studio/services/bible_library.h"

#include "base/error.h"
#include "base/when_finished.h"
#include "bible/bible_folder.h"
#include "bible/sword_reader.h"

#include <QFutureWatcher>
#include <QPromise>
#include <QThreadPool>

#include <memory>
#include <utility>

namespace nimbara {

namespace {

/// Runs `work` on a thread of the pool and hands what it gives to `done`, unless `owner` is gone.
template <typename Result, typename Work, typename Done>
QFuture<Result> runBehind(QObject *owner, Work work, Done done)
{
    const auto promise = std::make_shared<QPromise<Result>>();
    auto *watcher = new QFutureWatcher<Result>(owner);
    QObject::connect(watcher, &QFutureWatcherBase::finished, owner, [watcher, done] {
        watcher->deleteLater();
        done(watcher->result());
    });
    promise->start();
    watcher->setFuture(promise->future());
    QThreadPool::globalInstance()->start([promise, work] {
        promise->addResult(work());
        promise->finish();
    });
    return promise->future();
}

/// What became of an import.
struct Import {
    bible::BiblePtr bible; ///< none: it failed
    Message error;
};

QList<bible::BiblePtr> without(const QString &id)
{
    QList<bible::BiblePtr> others = bible::importedBibles();
    others.removeIf([&id](const bible::BiblePtr &each) { return each->id == id; });
    return others;
}

} // namespace

BibleLibrary::BibleLibrary(QString folder)
    : m_folder(std::move(folder))
{
    bible::setImportedBibles({}); // of this folder alone
    const auto load = [folder = m_folder] {
        static_cast<void>(bible::english()); // so that `ready` is of all
        static_cast<void>(bible::spanish());
        const QList<bible::BiblePtr> bibles = bible::loadImported(folder);
        if (!bibles.isEmpty()) {
            bible::setImportedBibles(bibles);
        }
        return !bibles.isEmpty();
    };
    if (m_folder.isEmpty()) {
        m_ready = bible::prepare();
    } else {
        m_ready = QFuture<void>(runBehind<bool>(this, load, [this](bool any) {
            if (any) {
                Q_EMIT changed();
            }
        }));
    }
}

void BibleLibrary::importFiles(const QStringList &paths)
{
    if (!paths.isEmpty()) {
        begin([paths] { return bible::readBibleFiles(paths); });
    }
}

void BibleLibrary::importModule(const bible::SwordModule &module)
{
    begin([module] { return bible::readSword(module); });
}

void BibleLibrary::findModules()
{
    const auto work = [] { return bible::swordModules(bible::swordFolders()); };
    runBehind<QList<bible::SwordModule>>(this,
        work,
        [this](const QList<bible::SwordModule> &modules) { Q_EMIT modulesFound(modules); });
}

void BibleLibrary::begin(const std::function<bible::RawBible()> &read)
{
    if (m_isImporting) {
        Q_EMIT said("Ya se está importando una Biblia.");
        return;
    }
    m_isImporting = true;
    Q_EMIT said("Importando la Biblia…");
    const auto work = [read, folder = m_folder] {
        try {
            const bible::RawBible raw = read();
            QList<bible::BiblePtr> others = bible::importedBibles();
            for (const char *builtIn : { "RV1909", "KJV" }) {
                others << bible::bibleWithId(QLatin1String(builtIn));
            }
            others.removeAll(nullptr);
            const auto made = std::make_shared<const bible::Bible>(bible::inCanon(raw, others));
            bible::storeImported(folder, *made);
            return Import { made, {} };
        } catch (const std::exception &error) {
            return Import { nullptr, errorMessage(error) };
        }
    };
    const auto take = [this](const Import &done) { finish(done.bible, done.error); };
    // Its identifier must be none of those that are still being read.
    whenFinished(m_ready, this, [this, work, take] { runBehind<Import>(this, work, take); });
}

void BibleLibrary::finish(const bible::BiblePtr &bible, const Message &error)
{
    m_isImporting = false;
    if (bible == nullptr) {
        Q_EMIT failed(error);
    } else {
        take(bible);
    }
}

void BibleLibrary::take(const bible::BiblePtr &bible)
{
    bible::setImportedBibles(without(bible->id) << bible);
    Q_EMIT changed();
    Q_EMIT imported(bible->id);
    Q_EMIT said(Message("Biblia importada: %1", { Message::verbatim(bible->name) }));
}

void BibleLibrary::remove(const QString &id)
{
    if (m_isImporting) {
        Q_EMIT said("Ya se está importando una Biblia.");
        return;
    }
    m_isImporting = true; // the file of one that is imported meanwhile would go, too
    const auto work = [id, folder = m_folder] { return bible::removeImported(folder, id); };
    runBehind<bool>(this, work, [this, id](bool isRemoved) {
        m_isImporting = false;
        if (!isRemoved) {
            Q_EMIT failed("No se pudo borrar el archivo de la Biblia.");
            return;
        }
        bible::setImportedBibles(without(id));
        Q_EMIT removed(id);
        Q_EMIT changed();
        Q_EMIT said("Biblia quitada.");
    });
}

QStringList absentBibles(const SceneSets &scenes)
{
    QStringList absent;
    for (const SceneSet set : bothSets) {
        for (const ScenePtr &scene : scenes.of(set)) {
            for (const Layer &layer : scene->layers) {
                const bool isNamed = layer.kind == LayerKind::Verse && !layer.second.isEmpty();
                if (isNamed && !absent.contains(layer.second)
                    && bible::bibleWithId(layer.second) == nullptr) {
                    absent << layer.second;
                }
            }
        }
    }
    return absent;
}

} // namespace nimbara
