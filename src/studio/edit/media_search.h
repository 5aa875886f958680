#pragma once

#include "base/background_task.h"
#include "studio/edit/document.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

namespace nimbara {

/// Finds the files that a project names and that are not there, in a folder that the operator
/// chooses. Interface thread only; the folder is read on a background task.
class MediaSearch : public QObject {
    Q_OBJECT
public:
    explicit MediaSearch(Document &document)
        : m_document(document)
    {
    }

    /// The absolute paths that are missing; a search under way is given up.
    void setMissing(const QStringList &files);
    [[nodiscard]] const QStringList &missing() const { return m_missing; }

    /// Looks below the folder for all that is missing. Of two searches the later one counts.
    void search(const QString &folder);

    /// Gives the layers what was found, as one step of undo. Call on every run of the frame clock.
    void poll();

Q_SIGNALS:
    /// A search is over; the files found are in the document.
    void finished(int found, int stillMissing);

private:
    Document &m_document;
    QStringList m_missing;
    BackgroundTask<QHash<QString, QString>> m_task;
};

} // namespace nimbara
