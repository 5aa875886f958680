#pragma once

#include <QByteArray>
#include <QList>
#include <QSplitter>

#include <functional>

namespace nimbara {

/// A splitter that shares out its room by itself until the operator moves its handle, and again
/// after a double click on it.
class ShareSplitter : public QSplitter {
    Q_OBJECT
public:
    /// `name`: the object name. No part can be folded away.
    ShareSplitter(Qt::Orientation orientation, const char *name, QWidget *parent = nullptr);

    /// The sizes of the parts in so many pixels. Never empty.
    std::function<QList<int>(int room)> shares = [](int room) { return QList<int> { room }; };

    /// Shares out anew, unless the operator has.
    void share();
    /// The operator's sizes; empty when there are none.
    [[nodiscard]] QByteArray choice() const;
    /// Brings back sizes of `choice`; empty or broken ones choose nothing.
    void restoreChoice(const QByteArray &choice);

Q_SIGNALS:
    /// The operator moved the handle, or gave it back.
    void choiceChanged();

protected:
    QSplitterHandle *createHandle() override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void giveBack();

    bool m_isChosen = false;
};

} // namespace nimbara
