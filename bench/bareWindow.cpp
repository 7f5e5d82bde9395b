// The least that a Qt program with a window can be, to compare with: an empty window of a given size that stands still,
// has a timer of 50 ms that does nothing, or repaints itself 20 times a second.
// orvex_bench_window still|timer|repaint WIDTH HEIGHT
#include <QApplication>
#include <QTimer>
#include <QWidget>

#include <cstdlib>
#include <string_view>

int main(int argc, char** argv)
{
    constexpr int kInterval_ms = 50;
    const QApplication application(argc, argv);
    const std::string_view mode = argc == 4 ? argv[1] : "";
    if (mode != "still" && mode != "timer" && mode != "repaint") {
        return EXIT_FAILURE;
    }
    QWidget window;
    window.resize(std::atoi(argv[2]), std::atoi(argv[3]));
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &window, [&window, repaints = mode == "repaint"] {
        if (repaints) {
            window.update();
        }
    });
    if (mode != "still") {
        timer.start(kInterval_ms);
    }
    window.show();
    return QApplication::exec();
}
