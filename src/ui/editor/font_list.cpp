#include "ui/editor/font_list.h"

#include <QAbstractItemView>
#include <QEvent>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QHash>
#include <QPainter>
#include <QStringList>
#include <QStyledItemDelegate>
#include <QTimer>

namespace nimbara {

namespace {

constexpr int loadEveryMs = 10;

/// Writes each name in its font. A font takes milliseconds to open, so one is opened at a time,
/// between the frames, and only for a name that is seen; until then the name stands in the usual
/// one.
class FontRows : public QStyledItemDelegate {
public:
    explicit FontRows(QAbstractItemView *view)
        : QStyledItemDelegate(view)
        , m_view(*view)
    {
        m_timer.setInterval(loadEveryMs);
        connect(&m_timer, &QTimer::timeout, this, [this] { loadNext(); });
    }

    void forgetWanted() { m_wanted.clear(); }

    void paint(QPainter *painter,
        const QStyleOptionViewItem &option,
        const QModelIndex &row) const override
    {
        const QString family = row.data().toString();
        QStyleOptionViewItem own = option;
        if (const auto known = m_spells.constFind(family); known == m_spells.constEnd()) {
            m_wanted.removeOne(family);
            m_wanted << family;
            m_timer.start();
        } else if (*known) {
            own.font = fontOf(family);
        }
        QStyledItemDelegate::paint(painter, own, row);
    }

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem & /*option*/,
        const QModelIndex &row) const override
    {
        const QFontMetrics metrics = m_view.fontMetrics();
        return { metrics.horizontalAdvance(row.data().toString()) * 3 / 2, metrics.height() * 2 };
    }

private:
    [[nodiscard]] QFont fontOf(const QString &family) const
    {
        QFont font = m_view.font();
        font.setFamilies({ family });
        font.setPixelSize(m_view.fontMetrics().height() * 6 / 5);
        return font;
    }

    /// The one seen last is the first.
    void loadNext()
    {
        if (m_wanted.isEmpty()) {
            m_timer.stop();
            return;
        }
        const QString family = m_wanted.takeLast();
        const bool spells = QFontDatabase::writingSystems(family).contains(QFontDatabase::Latin);
        if (spells) {
            static_cast<void>(QFontMetrics(fontOf(family)).horizontalAdvance(family));
        }
        m_spells.insert(family, spells);
        m_view.viewport()->update();
    }

    QAbstractItemView &m_view;
    QHash<QString, bool> m_spells; ///< whether the font has the letters of names; of those opened
    mutable QStringList m_wanted; ///< names that were painted in the usual font
    mutable QTimer m_timer;
};

} // namespace

FontList::FontList(QWidget *parent)
    : QFontComboBox(parent)
{
    auto *rows = new FontRows(view());
    setItemDelegate(rows);
    view()->parentWidget()->installEventFilter(this);
    connect(this, &QComboBox::textHighlighted, this, [this](const QString &family) {
        if (view()->isVisible()) {
            Q_EMIT tried(family);
        }
    });
    connect(this, &FontList::trialEnded, rows, [rows] { rows->forgetWanted(); });
}

bool FontList::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == view()->parentWidget() && event->type() == QEvent::Hide) {
        Q_EMIT trialEnded();
    }
    return QFontComboBox::eventFilter(watched, event);
}

} // namespace nimbara
