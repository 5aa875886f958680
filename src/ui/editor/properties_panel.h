#pragma once

#include "document/layer_fields.h"
#include "ui/editor/verse_field.h"

#include <QScrollArea>

#include <functional>
#include <utility>
#include <vector>

class QFormLayout;

namespace nimbara {

/// The properties of one layer. Every control tells of an edit at once, and names the layer that it
/// was built for. The panel is built anew only for another layer; whatever else changes is written
/// into the controls that are there, so that typing is never interrupted.
class PropertiesPanel : public QScrollArea {
    Q_OBJECT
public:
    explicit PropertiesPanel(QWidget *parent = nullptr);

    /// The layer as it is now, asked anew at each use; none when it is gone. Never empty.
    std::function<const Layer *(LayerId)> layerOf = [](LayerId) { return nullptr; };

    /// Shows the layer, or that none is selected.
    void showLayer(const Layer *layer);
    /// Writes the layer's values into the controls, when it is the one shown.
    void refresh(const Layer &layer);
    /// Shows or hides the note that an answer waits behind what the operator wrote.
    void showWaiting(LayerId layer, bool waiting);
    /// The operator is writing into one of the fields.
    [[nodiscard]] bool isTyping() const;

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void
    edited(nimbara::LayerId layer, nimbara::LayerField field, const nimbara::FieldValue &value);
    /// Enclose a slider's ride.
    void rideBegan();
    void rideEnded();
    /// The operator wants another colour in the field.
    void colorWanted(nimbara::LayerId layer, nimbara::LayerField field, bool withAlpha);
    void fitPressed(nimbara::LayerId layer);
    void changeImagePressed(nimbara::LayerId layer);
    void restartVideoPressed(nimbara::LayerId layer);
    void verseRequested(nimbara::LayerId layer, const QString &reference);
    /// The operator typed into a field that takes a reference.
    void verseTyped(nimbara::VerseField *field, const QString &text);
    void waitingWanted(nimbara::LayerId layer);

private:
    using Refresher = std::function<void(const Layer &)>;

    void rebuild(const Layer *layer);
    void addRows(QFormLayout &form, const Layer &shown);
    void addCommonRows(QFormLayout &form, const Layer &shown);
    void addTextRows(QFormLayout &form, const Layer &shown);
    void addStyleRows(QFormLayout &form, const Layer &shown);
    void addVerseRows(QFormLayout &form, const Layer &shown);
    void addPictureRows(QFormLayout &form, const Layer &shown);
    QWidget *makePosition(LayerId id);
    QWidget *makeOpacity(LayerId id);
    QWidget *makeAlignmentGrid(LayerId id);
    QWidget *makeFontList(LayerId id);
    QWidget *makeNumber(const char *spanish,
        const char *name,
        LayerId id,
        LayerField field,
        std::pair<int, int> range);
    QWidget *makeAlignment(LayerId id);
    QWidget *makeColorButton(const char *spanish,
        const char *name,
        LayerId id,
        LayerField field,
        bool alpha);
    QWidget *makeCheck(const char *spanish, const char *name, LayerId id, LayerField field);
    /// A note that follows the layer.
    QWidget *makeLiveNote(std::function<QString(const Layer &)> text);
    void onRefresh(Refresher refresher) { m_refreshers.push_back(std::move(refresher)); }

    LayerId m_shown;
    LayerKind m_kind = LayerKind::Camera;
    std::vector<Refresher> m_refreshers; ///< of the controls that are there
    QWidget *m_waiting = nullptr; ///< the note and button of an answer that waits
};

} // namespace nimbara
