#pragma once

#include "support/test_registry.h"
#include "ui/desk.h"

#include <functional>

namespace nimbara::testing {

/// The window on a screen of this size.
struct RoomDesk : Desk {
    static constexpr int bars = 62; ///< pixels that the screen's panel and the window's title take

    explicit RoomDesk(QSize screen)
    {
        window.resize(screen - QSize(0, bars));
        static_cast<void>(QTest::qWaitForWindowExposed(&window));
    }
    /// For each tab, laid out.
    void walkTabs(const std::function<void()> &look)
    {
        auto *tabs = find<QTabWidget>("tabs");
        for (int tab = 0; tab < tabs->count(); ++tab) {
            const RowName named(qPrintable(tabs->tabText(tab)));
            showTab(tab);
            settle();
            look();
        }
        showTab(0);
    }
    /// For a layer of each kind, selected.
    void walkKinds(const std::function<void()> &look)
    {
        for (int kind = 0; kind < 9; ++kind) {
            setLayers({ newLayer(static_cast<LayerKind>(kind)) });
            select(0);
            settle();
            look();
        }
    }
    static void settle()
    {
        for (int i = 0; i < 3; ++i) {
            QCoreApplication::processEvents();
        }
    }
};

} // namespace nimbara::testing
