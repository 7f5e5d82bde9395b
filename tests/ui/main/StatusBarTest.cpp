// Labels whose texts change all the time keep what they have drawn.
#include "ui/widgets/KeptRoom.h"
#include "ui/widgets/LineLabel.h"

#include <QFrame>
#include <QPalette>

#include <gtest/gtest.h>
#include <utility>

namespace {

/// A window with one label that keeps what it has drawn.
struct OneLabel {
    OneLabel(Qt::TextElideMode mode, Qt::Alignment alignment) : label(&room, mode)
    {
        label.setAlignment(alignment);
        window.setFrameShape(QFrame::Box);
        room.Hold(label);
        room.setGeometry(5, 5, 120, 30);
        window.resize(130, 40);
        window.ensurePolished();
    }
    QImage Picture() { return window.grab().toImage(); }

    QFrame window;
    KeptRoom room{&window};
    LineLabel label;
};

TEST(StatusBar, ATextIsDrawnAsIfItHadAlwaysBeenThere)
{
    const std::pair<const char*, void (*)(OneLabel&)> rows[] = {
        {"another text", [](OneLabel& shown) { shown.label.setText("12:59:58"); }},
        {"no text", [](OneLabel& shown) { shown.label.setText({}); }},
        {"the text again", [](OneLabel& shown) { shown.label.setText("12:59:57"); }},
        {"without room", [](OneLabel& shown) { shown.room.resize(40, 30); }},
        {"with room again", [](OneLabel& shown) { shown.room.resize(120, 30); }},
        {"a larger font", [](OneLabel& shown) { shown.window.setFont(QFont(shown.window.font().family(), 14)); }},
        {"disabled", [](OneLabel& shown) { shown.window.setEnabled(false); }},
        {"light on dark", [](OneLabel& shown) { shown.window.setPalette(QPalette(Qt::darkBlue)); }},
        {"the window's frame elsewhere", [](OneLabel& shown) { shown.window.resize(90, 40); }},
    };
    for (const auto& [mode, alignment] :
         {std::pair(Qt::ElideRight, Qt::AlignLeft), std::pair(Qt::ElideNone, Qt::AlignRight)}) {
        OneLabel shown(mode, alignment);
        shown.label.setText("12:59:57");
        QImage before = shown.Picture();
        for (std::size_t last = 0; last < std::size(rows); ++last) {
            rows[last].second(shown);
            OneLabel fresh(mode, alignment);
            fresh.label.setText("12:59:57");
            for (std::size_t i = 0; i <= last; ++i) {
                rows[i].second(fresh);
            }
            const QImage picture = shown.Picture();
            EXPECT_EQ(picture, fresh.Picture()) << rows[last].first << mode;
            EXPECT_NE(picture, before) << rows[last].first << mode;
            before = picture;
        }
    }
}

} // namespace
