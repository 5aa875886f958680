#pragma once

#include "document/layer.h"
#include "ui/editor/color_button.h"
#include "ui/editor/position_row.h"

#include <QLineEdit>
#include <QScrollArea>

#include <functional>
#include <optional>

class QFormLayout;

namespace nimbara {

/// The properties of the selected layer. Every control writes its field at once; the panel is built
/// anew only for another layer, so that typing is never interrupted.
class PropertiesPanel : public QScrollArea {
    Q_OBJECT
public:
    explicit PropertiesPanel(QWidget *parent = nullptr);

    /// The layer that the panel is for, asked anew at each use; none when nothing is selected.
    std::function<Layer *()> layer = [] { return nullptr; };
    /// Size in pixels of what the layer shows, when known, and the output size.
    std::function<std::optional<FrameSize>(const Layer &)> contentSize
        = [](const Layer &) { return std::nullopt; };
    std::function<FrameSize()> profileSize = [] { return FrameSize {}; };
    /// Asks for a colour, with or without an alpha channel.
    std::function<std::optional<QColor>(const QColor &, bool withAlpha)> askColor
        = [](const QColor &, bool) { return std::nullopt; };

    /// Builds the panel for the layer, from nothing. `sameLayer`: it was built for that one, and
    /// the focus stays at the control where it is.
    void rebuild(bool sameLayer);
    /// The operator is writing into one of the fields.
    [[nodiscard]] bool isTyping() const;
    /// Shows the layer's box in the position fields and leaves the rest alone.
    void refreshPosition();

Q_SIGNALS:
    void nameEdited(); ///< the layer has another name
    void layerEdited(); ///< anything else that the picture shows
    void changeImagePressed();
    void restartVideoPressed();
    void verseRequested(const QString &reference);

private:
    /// The control with the focus; none when it is outside.
    [[nodiscard]] QWidget *focusedControl() const;
    void addCommonRows(QFormLayout &form, const Layer &shown);
    void addTextRows(QFormLayout &form, const Layer &shown);
    void addStyleRows(QFormLayout &form, const Layer &shown);
    void addVerseRows(QFormLayout &form, const Layer &shown);
    void addPictureRows(QFormLayout &form, const Layer &shown);
    QWidget *makeAlignmentGrid();
    QWidget *
    makeColorButton(const char *spanish, const char *name, QColor Layer::*field, bool withAlpha);
    QWidget *makeCheck(const char *spanish, const char *name, bool Layer::*field);
    void fitToFrame();
    void setBoxOf(const nimbara::Box &box);
    /// Runs an edit on the layer, if there still is one, and tells of it.
    template <typename Edit> void edit(Edit change);

    PositionRow *m_position = nullptr;
};

} // namespace nimbara
