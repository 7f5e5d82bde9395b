// The least that a Qt program with a window can be, for comparison: an empty window of a given size that stands still,
// has a label with a text, has a timer of 50 ms that does nothing, has a timer that keeps a clock in a label, or
// repaints itself 20 times a second.
// orvex_bench_window still|text|timer|clock|repaint WIDTH HEIGHT
#include <QApplication>
#include <QLabel>
#include <QTime>
#include <QTimer>
#include <QWidget>

#include <cstdlib>
#include <string_view>

int main(int argc, char** argv)
{
    constexpr int kInterval_ms = 50;
    const QApplication application(argc, argv);
    const std::string_view mode = argc == 4 ? argv[1] : "";
    const bool still = mode == "still" || mode == "text";
    const bool repaints = mode == "repaint";
    if (!still && !repaints && mode != "timer" && mode != "clock") {
        return EXIT_FAILURE;
    }
    QWidget window;
    window.resize(std::atoi(argv[2]), std::atoi(argv[3]));
    QLabel* label = mode == "text" || mode == "clock" ? new QLabel("00:00:00", &window) : nullptr;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &window, [&window, label, repaints] {
        if (repaints) {
            window.update();
        } else if (label != nullptr) {
            label->setText(QTime::currentTime().toString());
        }
    });
    if (!still) {
        timer.start(kInterval_ms);
    }
    window.show();
    return QApplication::exec();
}
