#include "base/i18n.h"
#include "base/text_table.h"
#include "support/test_registry.h"
#include "ui/desk.h"
#include "ui/kit/style.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QListWidget>
#include <QMenu>
#include <QPointer>
#include <QRegularExpression>
#include <QWizard>

using namespace nimbara;
using namespace nimbara::testing;
using namespace Qt::StringLiterals;

namespace {

/// What an operator may read, or a screen reader say, of a widget.
QStringList textsOf(const QWidget &widget)
{
    QStringList texts { widget.windowTitle(), widget.toolTip(), widget.accessibleName() };
    for (const char *name : { "text", "title", "subTitle", "placeholderText", "plainText" }) {
        texts << widget.property(name).toString();
    }
    for (const QAction *action : widget.actions()) {
        texts << action->text();
    }
    for (const auto *list : widget.findChildren<QAbstractItemModel *>(Qt::FindDirectChildrenOnly)) {
        for (int row = 0; row < list->rowCount(); ++row) {
            const QModelIndex item = list->index(row, 0);
            texts << item.data().toString() << item.data(Qt::ToolTipRole).toString();
        }
    }
    if (const auto *tabs = qobject_cast<const QTabWidget *>(&widget)) {
        for (int tab = 0; tab < tabs->count(); ++tab) {
            texts << tabs->tabText(tab);
        }
    }
    return texts;
}

/// The keys whose twins read otherwise.
const QStringList &spanishKeys()
{
    static const QStringList all = [] {
        QStringList keys;
        for (const auto &pair : nimbara_i18n::textPairs()) {
            const QString key = QString::fromUtf8(pair.spanish).trimmed();
            if (key != QString::fromUtf8(pair.english).trimmed()) {
                keys << key;
            }
        }
        return keys;
    }();
    return all;
}

/// The keys, whole words, that stand in the text.
QStringList spanishIn(const QString &text)
{
    QStringList found;
    for (const QString &key : spanishKeys()) {
        if (text.contains(key)
            && text.contains(
                QRegularExpression(u"(?<!\\pL)%1(?!\\pL)"_s.arg(QRegularExpression::escape(key)),
                    QRegularExpression::UseUnicodePropertiesOption))) {
            found << key + u" in: "_s + text;
        }
    }
    return found;
}

/// One line each; empty when there is none.
QString spanishShown()
{
    QSet<QString> texts; // most stand in many places
    for (const QWidget *widget : QApplication::allWidgets()) {
        for (const QString &text : textsOf(*widget)) {
            texts << text;
        }
    }
    QStringList found;
    for (const QString &text : texts) {
        found << spanishIn(text);
    }
    return found.join(QLatin1Char('\n'));
}

/// A layer of each kind in the scene, as an opened project would bring them.
void addEveryKind(Desk &desk)
{
    for (int kind = 0; kind < 9; ++kind) {
        addLayer(desk.document(), newLayer(static_cast<LayerKind>(kind)));
    }
    desk.press("editHall"); // and back, which lists them
    desk.press("editStreams");
}

} // namespace

class TextsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { qApp->setStyleSheet(applicationStyleSheet()); }
    void cleanupTestCase() { qApp->setStyleSheet(QString()); }
    void cleanup() { nimbara_i18n::language() = u"es"_s; }

    // Whatever an operator presses, with nothing connected and nothing typed.
    void englishWindowSpeaksNoSpanish()
    {
        nimbara_i18n::language() = u"en"_s;
        QFile::remove(logFilePath());
        Desk desk;
        addEveryKind(desk);
        auto *list = desk.find<QListWidget>("layers");
        for (int row = 0; row < list->count(); ++row) {
            list->setCurrentRow(row, QItemSelectionModel::ClearAndSelect);
            QCOMPARE(spanishShown(), QString());
        }
        for (const QAction *entry : desk.find<QPushButton>("addSource")->menu()->actions()) {
            const_cast<QAction *>(entry)->trigger();
        }
        desk.find<QLineEdit>("key1")->setText(u"k3y"_s);
        const auto found = desk.window.findChildren<QPushButton *>();
        for (const auto &button : QList<QPointer<QPushButton>>(found.begin(), found.end())) {
            if (button && button->menu() == nullptr) {
                button->click();
            }
        }
        desk.window.onboarding();
        // The last answer due, of the key store.
        QTRY_VERIFY(logText().contains(u"  UI: Keys saved"_s));
        QCOMPARE(spanishShown(), QString());
        QVERIFY(desk.window.findChild<QWizard *>() != nullptr);
        QVERIFY(desk.window.findChild<QWidget *>(u"creditsBox"_s) != nullptr);
        QCOMPARE(spanishIn(desk.dialogs->asked.join(QLatin1Char('\n'))).join(u'|'), QString());
        for (const QString &line : logText().split(QLatin1Char('\n'))) {
            if (line.contains(u"  UI: "_s)) {
                QCOMPARE(spanishIn(line), QStringList());
            }
        }
    }
};

NIMBARA_TEST(TextsTest)
#include "texts_test.moc"
