#include "ui/kit/share_splitter.h"

#include "base/i18n.h"

#include <QMouseEvent>

#include <utility>

namespace nimbara {

namespace {

class ShareHandle : public QSplitterHandle {
public:
    ShareHandle(QSplitter *splitter, std::function<void()> doubleClicked)
        : QSplitterHandle(splitter->orientation(), splitter)
        , m_doubleClicked(std::move(doubleClicked))
    {
        setToolTip(nimbara_i18n::tr("Arrastra para repartir el espacio; doble clic: automático"));
    }

protected:
    void mouseDoubleClickEvent(QMouseEvent * /*event*/) override { m_doubleClicked(); }

private:
    std::function<void()> m_doubleClicked;
};

} // namespace

ShareSplitter::ShareSplitter(Qt::Orientation orientation, const char *name, QWidget *parent)
    : QSplitter(orientation, parent)
{
    setObjectName(QString::fromLatin1(name));
    setChildrenCollapsible(false);
    setHandleWidth(8);
    connect(this, &QSplitter::splitterMoved, this, [this] {
        m_isChosen = true;
        Q_EMIT choiceChanged();
    });
}

void ShareSplitter::share()
{
    if (!m_isChosen) {
        const int room = orientation() == Qt::Horizontal ? width() : height();
        setSizes(shares(room - (count() - 1) * handleWidth()));
    }
}

QByteArray ShareSplitter::choice() const
{
    return m_isChosen ? saveState() : QByteArray();
}

void ShareSplitter::restoreChoice(const QByteArray &choice)
{
    const Qt::Orientation own = orientation();
    m_isChosen = !choice.isEmpty() && restoreState(choice);
    setOrientation(own); // whatever the state says
    setChildrenCollapsible(false);
    setHandleWidth(8);
    share();
}

QSplitterHandle *ShareSplitter::createHandle()
{
    return new ShareHandle(this, [this] { giveBack(); });
}

void ShareSplitter::giveBack()
{
    m_isChosen = false;
    share();
    Q_EMIT choiceChanged();
}

void ShareSplitter::resizeEvent(QResizeEvent *event)
{
    QSplitter::resizeEvent(event);
    share();
}

} // namespace nimbara
