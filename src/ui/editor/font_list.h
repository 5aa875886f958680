#pragma once

#include <QFontComboBox>

namespace nimbara {

/// The list of fonts, each written in itself as far as it is seen. What is only looked at in the
/// open list is told too, so that it can be seen in its place.
class FontList : public QFontComboBox {
    Q_OBJECT
public:
    explicit FontList(QWidget *parent = nullptr);

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// The arrow keys or the pointer have reached another font of the open list.
    void tried(const QString &family);
    /// The list was closed; a choice is told after this.
    void trialEnded();
};

} // namespace nimbara
