// The window with the traffic of the line, beside a simulated sensor.
#include "ui/console/frmTraffic.h"

#include "tests/support/Desk.h"

#include <QClipboard>
#include <QLineEdit>
#include <QScrollBar>
#include <QTableView>

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

struct TrafficDesk : MainDesk {
    frmTraffic* traffic = nullptr;

    explicit TrafficDesk(const simulator::SensorOptions& options = {}) : MainDesk(options) { OpenTraffic(); }
    void OpenTraffic()
    {
        Trigger("mnuOptionsTraffic");
        traffic = window->findChild<frmTraffic*>();
    }
    template <typename Widget = QPushButton>
    Widget* In(const char* name) const
    {
        return FindIn<Widget>(*traffic, name);
    }
    QTableView* Table() const { return In<QTableView>("tblTraffic"); }
    int Rows() const { return Table()->model()->rowCount(); }
    QString Cell(int row, int column) const { return Table()->model()->index(row, column).data().toString(); }
    QString Meanings() const
    {
        QStringList meanings;
        for (int row = 0; row < Rows(); ++row) {
            meanings += Cell(row, TrafficModel::ColumnMeaning);
        }
        return meanings.join(u'|');
    }
    QString Hand() const { return In<QLabel>("lblHand")->text(); }
};

TEST(TrafficWindow, ShowsFiltersAndFindsWhatGoesOverTheLine)
{
    const TrafficDesk desk;
    ASSERT_TRUE(desk.Connects());
    ASSERT_TRUE(Until([&] { return desk.Meanings().contains("request: temperature|temperature"); }));
    const int dump = static_cast<int>(desk.Meanings().split(u'|').indexOf("request: configuration"));
    EXPECT_EQ(desk.Cell(dump, TrafficModel::ColumnDirection), "To sensor");
    EXPECT_EQ(desk.Cell(dump, TrafficModel::ColumnText), "C");
    EXPECT_EQ(desk.Cell(dump, TrafficModel::ColumnHex), "43");
    EXPECT_TRUE(desk.Cell(dump + 1, TrafficModel::ColumnText).endsWith("\\r\\n"));

    auto* search = desk.In<QLineEdit>("txtSearch");
    search->setText("serial-no");
    emit search->returnPressed();
    EXPECT_TRUE(desk.Cell(desk.Table()->currentIndex().row(), TrafficModel::ColumnText).startsWith("Serial-No:"));
    search->setText("no such text");
    emit search->returnPressed();
    EXPECT_TRUE(desk.In<QLabel>("lblState")->text().endsWith("Not found."));

    Choose(*desk.In<QComboBox>("cmbDirection"), 1);
    ASSERT_GT(desk.Rows(), 1);
    EXPECT_FALSE(desk.Meanings().contains("|configuration"));
    Choose(*desk.In<QComboBox>("cmbDirection"), 0);
    Choose(*desk.In<QComboBox>("cmbKind"), static_cast<int>(TrafficModel::Kind::Values));
    EXPECT_EQ(desk.Rows(), 0);
    desk.Find("cmdSingleValue")->click();
    EXPECT_TRUE(Until([&] { return desk.Rows() == 1 && desk.Meanings().startsWith("distance "); }));
}

TEST(TrafficWindow, FollowsTheEndUnlessItIsScrolledUpOrPaused)
{
    const TrafficDesk desk({.values_Hz = 60});
    ASSERT_TRUE(desk.Connects());
    desk.Find("cmdStart")->click();
    auto* bar = desk.Table()->verticalScrollBar();
    ASSERT_TRUE(Until([&] { return desk.Rows() > 150; }));
    EXPECT_EQ(bar->value(), bar->maximum());
    bar->setValue(3);
    const int rows = desk.Rows();
    ASSERT_TRUE(Until([&] { return desk.Rows() > rows; }));
    EXPECT_EQ(bar->value(), 3);

    desk.In<QCheckBox>("chkPause")->click();
    const int paused = desk.Rows();
    ASSERT_TRUE(Until([&] { return !desk.In<QLabel>("lblState")->text().endsWith("0 new."); }));
    EXPECT_EQ(desk.Rows(), paused);
    desk.In<QCheckBox>("chkPause")->click();
    EXPECT_GT(desk.Rows(), paused);
}

TEST(TrafficWindow, CopiesTheChosenRowsAndSavesEverything)
{
    const TrafficDesk desk;
    ASSERT_TRUE(desk.Connects());
    ASSERT_TRUE(Until([&] { return desk.Rows() > 20; }));
    desk.Table()->selectRow(2);
    desk.In("cmdCopy")->click();
    const QString line = QApplication::clipboard()->text();
    EXPECT_EQ(line.count(u'\n'), 1);
    EXPECT_TRUE(line.contains(desk.Cell(2, TrafficModel::ColumnMeaning)));
    const std::filesystem::path file = desk.folder.path / "traffic.txt";
    desk.traffic->ChooseFile = [&](const QString&) { return QString::fromStdString(file); };
    desk.In("cmdSave")->click();
    std::stringstream saved;
    saved << std::ifstream(file).rdbuf();
    EXPECT_NE(saved.str().find(line.toStdString()), std::string::npos);
    EXPECT_TRUE(desk.In<QLabel>("lblState")->text().contains("saved to"));
    desk.traffic->ChooseFile = [](const QString&) { return QStringLiteral("/nowhere/traffic.txt"); };
    desk.In("cmdSave")->click();
    EXPECT_TRUE(desk.In<QLabel>("lblState")->text().contains("cannot be saved"));
}

/// Between two looks of the list new entries take the places of the oldest ones.
TEST(TrafficWindow, CopiesAndFindsOnlyWhatAFullRingStillHas)
{
    const TrafficDesk desk;
    clsTraffic& traffic = *desk.session->Traffic();
    const auto opened = [&](int entries, std::int32_t rate) {
        for (int i = 0; i < entries; ++i) {
            traffic.Opened(rate, 46000.5);
        }
    };
    opened(clsTraffic::kMostEntries, 1200);
    desk.traffic->Follow();
    opened(5, 9600);
    auto* model = qobject_cast<TrafficModel*>(desk.Table()->model());
    EXPECT_EQ(model->LineAt(0), "");
    EXPECT_EQ(model->Find("9600", 0, false), -1);
    desk.In("cmdCopy")->click();
    const QString copied = QApplication::clipboard()->text();
    EXPECT_EQ(copied.count("1200"), static_cast<int>(clsTraffic::kMostEntries) - 5);
    EXPECT_EQ(copied.count("9600"), 0);
}

/// What a sensor says is no markup.
TEST(TrafficWindow, ToolTipsShowTagsAsTheyCame)
{
    TrafficDesk desk;
    clsTraffic& traffic = *desk.session->Traffic();
    traffic.Sent("<img src='x'>", TrafficKind::Sent, Request::Parameter, 46000.5);
    desk.traffic->Follow();
    const auto toolTip =
        desk.Table()->model()->index(desk.Rows() - 1, TrafficModel::ColumnText).data(Qt::ToolTipRole).toString();
    EXPECT_TRUE(toolTip.contains("&lt;img")) << qPrintable(toolTip);
}

TEST(TrafficWindow, SendsByHandOnlyWhenSwitchedOnAndSaysWhyNot)
{
    TrafficDesk desk;
    ASSERT_TRUE(desk.Connects());
    auto* text = desk.In<QLineEdit>("txtHand");
    EXPECT_FALSE(text->isEnabled());
    text->setText("701 77");
    EXPECT_FALSE(desk.In("cmdSend")->isEnabled());
    emit text->returnPressed();
    desk.In<QCheckBox>("chkHand")->click();
    for (const auto& [typed, why] : {std::pair("70177", "A frame is three digits"), std::pair("\u00E4", "Only letters"),
                                     std::pair("301 6\u2603", "Only letters"), std::pair("", "Type a command")}) {
        text->setText(typed);
        EXPECT_FALSE(desk.In("cmdSend")->isEnabled()) << typed;
        EXPECT_TRUE(desk.Hand().startsWith(why)) << typed;
    }
    text->setText("701 77");
    ASSERT_TRUE(Until([&] { return desk.In("cmdSend")->isEnabled(); }));
    EXPECT_TRUE(desk.Hand().contains("701 77\\r"));
    desk.In("cmdSend")->click();
    ASSERT_TRUE(Until([&] { return desk.session->Device().Parameters().Offset == 77; }));
    EXPECT_TRUE(Until([&] {
        return desk.Meanings().contains("sent by hand: Offset|acknowledged|request: configuration");
    })) << desk.Meanings().toStdString();
    EXPECT_EQ(desk.Meanings().count("sent by hand"), 1);

    desk.traffic->close();
    ASSERT_TRUE(Until([&] { return desk.session->Traffic() == nullptr; }));
    desk.OpenTraffic();
    EXPECT_FALSE(desk.In<QCheckBox>("chkHand")->isChecked());
    EXPECT_LT(desk.Rows(), 3) << "what was collected is forgotten";
}

} // namespace
