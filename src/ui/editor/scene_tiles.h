#pragma once

#include "document/scene.h"
#include "ui/kit/key_map.h"

#include <QHash>
#include <QImage>
#include <QListWidget>
#include <QPixmap>

#include <optional>

namespace nimbara {

/// The scenes of the edited set in one row that scrolls sideways, each with its number, name and
/// live picture. A click chooses a scene for PREVIEW, a double click sends it on air; a tile that
/// is dragged tells where its scene is to go, a key renames in place. Shows what it is given and
/// changes nothing by itself.
class SceneTiles : public QListWidget {
    Q_OBJECT
public:
    /// `keys` must outlive the tiles.
    explicit SceneTiles(const KeyMap &keys, QWidget *parent = nullptr);

    void showScenes(const Scenes &scenes, SceneId current);
    /// Marks the scene that is on air; none: none of them.
    void showOnAir(SceneId scene);
    void showPicture(SceneId scene, const QImage &picture);
    /// Low tiles for a low window.
    void setLow(bool low);

    [[nodiscard]] SceneId sceneAt(int row) const;
    /// The place that a tile dropped at a point of the viewport would be put in front of.
    [[nodiscard]] int gapAt(QPoint place) const;
    /// The current tile was dropped in front of the one at `gap`.
    void dropCurrent(int gap);

    /// What the painter of the tiles needs.
    [[nodiscard]] bool isOnAir(int row) const { return sceneAt(row) == m_onAir; }
    [[nodiscard]] bool isInPreview(int row) const { return sceneAt(row) == m_current; }
    [[nodiscard]] QPixmap pictureAt(int row) const
    {
        return m_pictures.value(sceneAt(row).value()).shown;
    }
    [[nodiscard]] QSize tileSize() const;
    [[nodiscard]] QSize pictureSize() const;

Q_SIGNALS:
    void chosen(nimbara::SceneId scene);
    void taken(nimbara::SceneId scene);
    /// The operator dragged the scene to that place in its set.
    void moved(nimbara::SceneId scene, int place);
    void renamed(nimbara::SceneId scene, const QString &name);
    /// Tiles came into sight or went out of it.
    void shownChanged(bool shown);

protected:
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint) override;

private:
    struct Picture {
        QImage given;
        QPixmap shown; ///< at the size of tiles
    };
    void describe(int row);
    bool markCurrent();
    void showKeys();
    [[nodiscard]] QPixmap scaled(const QImage &picture) const;
    void showGap(std::optional<int> gap);

    const KeyMap &m_keys;
    SceneId m_onAir;
    SceneId m_current; ///< in PREVIEW; its tile is the current one once no name is edited
    QHash<quint64, Picture> m_pictures; ///< by scene
    std::optional<int> m_gap; ///< where a dragged tile would go
    bool m_isLow = false;
};

} // namespace nimbara
