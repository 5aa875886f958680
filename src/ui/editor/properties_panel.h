#pragma once

#include "document/layer_fields.h"
#include "media/capture/devices.h"
#include "ui/editor/verse_field.h"

#include <QScrollArea>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

class QBoxLayout;
class QFormLayout;
class QKeyEvent;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace nimbara {

class CameraRow;

/// The properties of one layer. Every control tells of an edit at once, and names the layer that it
/// shows. The controls are made once and stay; another layer is written into them, and the rows
/// that its kind has not are hidden.
class PropertiesPanel : public QScrollArea {
    Q_OBJECT
public:
    explicit PropertiesPanel(QWidget *parent = nullptr);

    /// The layer as it is now, asked anew at each use; none when it is gone. Never empty.
    std::function<const Layer *(LayerId)> layerOf = [](LayerId) { return nullptr; };
    /// What is amiss with the layer's text, for the operator, asked at each `refresh`; and whether
    /// outline or box would mend it. Never empty.
    std::function<QString(LayerId)> troubleOf = [](LayerId) { return QString(); };
    std::function<bool(LayerId)> canMend = [](LayerId) { return false; };
    /// Whether the layer's countdown moves now, and the names of the project's text styles, asked
    /// at each `refresh`. Never empty.
    std::function<bool(const Layer &)> isRunning = [](const Layer &) { return false; };
    std::function<QStringList()> styleNames = [] { return QStringList(); };

    /// Shows the layer, or that none is selected.
    void showLayer(const Layer *layer);
    /// Tells how many layers are selected, in place of one's properties.
    void showMany(int count);
    /// Writes the layer's values into the controls, when it is the one shown.
    void refresh(const Layer &layer);
    /// The cameras that a camera layer may show.
    void showCameras(const DeviceLists &devices);
    /// Shows or hides the note that an answer waits behind what the operator wrote.
    void showWaiting(LayerId layer, bool waiting);
    /// The operator is writing into one of the fields.
    [[nodiscard]] bool isTyping() const;

    /// Whether a key undoes or does again: that is the project's, also in a field. Never empty.
    std::function<bool(const QKeyEvent &)> isUndo = [](const QKeyEvent &) { return false; };

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void resizeEvent(QResizeEvent *event) override;

Q_SIGNALS:
    void
    edited(nimbara::LayerId layer, nimbara::LayerField field, const nimbara::FieldValue &value);
    /// A value of the field is only looked at, and no longer.
    void tried(nimbara::LayerId layer, nimbara::LayerField field, const nimbara::FieldValue &value);
    void trialEnded();
    /// Enclose a slider's ride.
    void rideBegan();
    void rideEnded();
    /// The operator wants another colour in the field.
    void colorWanted(nimbara::LayerId layer, nimbara::LayerField field, bool withAlpha);
    void fitPressed(nimbara::LayerId layer);
    void changeImagePressed(nimbara::LayerId layer);
    void restartVideoPressed(nimbara::LayerId layer);
    void chooseScreenPressed(nimbara::LayerId layer);
    void verseRequested(nimbara::LayerId layer, const QString &reference);
    /// The operator typed into a field that takes a reference.
    void verseTyped(nimbara::VerseField *field, const QString &text);
    void waitingWanted(nimbara::LayerId layer);
    /// The layer's text shall be readable whatever is behind it.
    void legibleWanted(nimbara::LayerId layer);
    /// Another second Bible for a verse: its identifier, empty for none.
    void secondBibleWanted(nimbara::LayerId layer, const QString &bible);
    /// New verses shall look as this one.
    void verseStyleKept(nimbara::LayerId layer);
    /// The text shall follow a style of the project, or none; its look shall be kept as one; the
    /// style shall go.
    void styleChosen(nimbara::LayerId layer, const QString &name);
    void styleKeepWanted(nimbara::LayerId layer);
    void styleRemoved(const QString &name);
    /// Start or pause the layer's countdown, or put it back.
    void countdownToggled(nimbara::LayerId layer);
    void countdownReset(nimbara::LayerId layer);

private:
    using Refresher = std::function<void(const Layer &)>;

    using Kinds = bool (*)(LayerKind); ///< the kinds that a row is shown for

    void turnTo(const Layer *layer);
    void keepTyping(QWidget *typedIn);
    void showRowsOf(LayerKind kind);
    void build();
    void addColumn();
    void alignLabels();
    QFormLayout *formOf(Kinds kinds);
    void arrange();
    void buildRows();
    void addRow(Kinds kinds, QWidget *field);
    void addRow(Kinds kinds, const char *spanish, QWidget *field);
    void addButton(Kinds kinds,
        const char *spanish,
        const char *name,
        void (PropertiesPanel::*pressed)(LayerId));
    void addCommonRows();
    void addTextRows();
    void addStyleRows();
    void addVerseRows();
    void addVerseLook();
    void addClockRows();
    void addTroubleNote();
    void showInPlace(QWidget *note, bool shown);
    void addPictureRows();
    void addLatency();
    VerseField *makeReference();
    QWidget *makeHeading();
    QWidget *makePosition();
    QWidget *makeOpacity();
    QWidget *makeAlignmentGrid();
    QWidget *makeFontList();
    QPushButton *makeStyle();
    QWidget *makeSizes();
    QWidget *makeShadow();
    QWidget *makeLetters();
    QSpinBox *
    makeNumber(const char *spanish, const char *name, LayerField field, std::pair<int, int> range);
    QWidget *makeAlignment();
    QWidget *makeCaptionLanguage();
    QWidget *makeColorButton(const char *spanish, const char *name, LayerField field, bool alpha);
    QWidget *makeCheck(const char *spanish, const char *name, LayerField field);
    /// A note that follows the layer.
    QWidget *makeLiveNote(std::function<QString(const Layer &)> text);
    void onRefresh(Refresher refresher) { m_refreshers.push_back(std::move(refresher)); }

    LayerId m_shown;
    std::optional<LayerKind> m_kind; ///< whose rows are shown
    bool m_anew = false; ///< the layer is written over another one
    LayerId m_ridden; ///< the layer whose slider is held
    CameraRow *m_cameras;
    QLabel *m_empty = nullptr; ///< in place of the rows when not one layer is selected
    /// Rows that are shown for the same kinds, one after another.
    struct Group {
        QWidget *owner;
        QFormLayout *form;
        Kinds kinds;
    };
    QBoxLayout *m_columns = nullptr; ///< what every kind has, beside or above what is its own
    QBoxLayout *m_column = nullptr; ///< that takes further rows
    std::vector<Group> m_groups;
    std::vector<Refresher> m_refreshers; ///< of all controls
    QWidget *m_waiting = nullptr; ///< the note and button of an answer that waits
};

} // namespace nimbara
