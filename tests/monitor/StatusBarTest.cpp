// The texts that change all the time: what they show, and how long.
#include "monitor/KeptRoom.h"
#include "monitor/MessagePanel.h"
#include "tests/support/Desk.h"

#include <gtest/gtest.h>

namespace {

/// A window of one label that keeps what it has once drawn.
struct OneLabel {
    OneLabel()
    {
        room.Hold(label);
        room.setGeometry(5, 5, 120, 30);
        window.resize(130, 40);
        window.ensurePolished();
    }
    QImage Picture() { return window.grab().toImage(); }

    QWidget window;
    KeptRoom room{&window};
    LineLabel label{&room, Qt::ElideRight};
};

TEST(StatusBar, ATextIsDrawnAsIfItHadAlwaysStoodThere)
{
    struct Row {
        const char* what;
        std::function<void(OneLabel&)> change;
    };
    const auto colored = [](QPalette::ColorRole role, QColor color) {
        return [=](OneLabel& shown) {
            QPalette palette = shown.window.palette();
            palette.setColor(role, color);
            shown.window.setPalette(palette);
        };
    };
    const Row rows[] = {
        {"another text", [](OneLabel& shown) { shown.label.setText("12:59:58"); }},
        {"no text", [](OneLabel& shown) { shown.label.setText({}); }},
        {"the text again", [](OneLabel& shown) { shown.label.setText("12:59:57"); }},
        {"without room", [](OneLabel& shown) { shown.room.resize(40, 30); }},
        {"with room again", [](OneLabel& shown) { shown.room.resize(120, 30); }},
        {"a larger font", [](OneLabel& shown) { shown.window.setFont(QFont(shown.window.font().family(), 14)); }},
        {"disabled", [](OneLabel& shown) { shown.window.setEnabled(false); }},
        {"another colour", colored(QPalette::WindowText, Qt::red)},
        {"another ground", colored(QPalette::Window, Qt::yellow)},
    };
    OneLabel shown;
    shown.label.setText("12:59:57");
    QImage before = shown.Picture();
    for (std::size_t last = 0; last < std::size(rows); ++last) {
        rows[last].change(shown);
        OneLabel fresh;
        fresh.label.setText("12:59:57");
        for (std::size_t i = 0; i <= last; ++i) {
            rows[i].change(fresh);
        }
        const QImage picture = shown.Picture();
        EXPECT_EQ(picture, fresh.Picture()) << rows[last].what;
        EXPECT_NE(picture, before) << rows[last].what;
        before = picture;
    }
}

TEST(StatusBar, AStatusOfASingleTickCanBeReadAndALongOneGoesAtOnce)
{
    MessagePanel panel(nullptr);
    const auto settled = [&] {
        panel.Settle();
        return panel.text().isEmpty();
    };
    QElapsedTimer passed;
    passed.start();
    for (const char* status : {"read", "", "read", ""}) {
        panel.ShowStatus(status, 0.0);
        EXPECT_FALSE(settled()) << passed.elapsed();
    }
    EXPECT_TRUE(Until(settled));
    EXPECT_GE(passed.elapsed(), 1900) << "in milliseconds";

    panel.ShowStatus("not open", 0.0);
    passed.start();
    Until([&] { return passed.hasExpired(2100); });
    EXPECT_FALSE(settled()) << "not over";
    panel.ShowStatus("", 0.0);
    EXPECT_EQ(panel.text(), "");
}

} // namespace
