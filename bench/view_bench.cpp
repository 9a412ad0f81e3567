// Times the window on the offscreen platform: repaints while a handle of the levels is dragged, playback
// meanwhile, and how long the opening of a file keeps the window from anything else. One JSON object a line;
// scripts/bench-view makes the files and the table.
//
//   pzel-view-bench drag FILE ZOOM      ZOOM 0 fits the picture into 1600 x 1000
//   pzel-view-bench play FILE
//   pzel-view-bench open FILE
//   pzel-view-bench empty               a window with nothing, which tells its first paint
#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <utility>
#include <vector>

#include "apps/view/histogram_plot.h"
#include "apps/view/main_window.h"

namespace {

using pzel_view::Document;
using pzel_view::HistogramPlot;
using pzel_view::MainWindow;

// Counts what a widget paints.
class Paints final : public QObject {
  public:
    explicit Paints(QWidget& widget) { widget.installEventFilter(this); }
    int count = 0;

  protected:
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::Paint;
        return false;
    }
};

// Milliseconds of processor time of this thread: what others take of a shared machine is not in it.
double BusyTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double At(std::vector<double> sorted, double share) {
    if (sorted.empty()) return 0;
    std::sort(sorted.begin(), sorted.end());
    return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
}

void RunUntil(const std::function<bool()>& holds, int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (!holds() && clock.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
}

struct Bench {
    std::shared_ptr<Document> document = std::make_shared<Document>();
    MainWindow* window = new MainWindow(document);

    bool Open(const char* file, int milliseconds = 60000) {
        bool done = false;
        QObject::connect(document.get(), &Document::opened, window, [&done] { done = true; });
        document->Open({ParseLayer(file)}, pzel_view::OpenAs::Picture);
        RunUntil([&] { return done; }, milliseconds);
        if (!done) std::fprintf(stderr, "pzel-view-bench: %s: not opened\n", file);
        return done;
    }
    HistogramPlot& Plot() { return *window->findChild<HistogramPlot*>("levels.plot0"); }
};

void Mouse(QWidget& widget, QEvent::Type type, double x) {
    const QPointF place(x, widget.height() / 3.0);
    const bool isMove = type == QEvent::MouseMove;
    QMouseEvent event(type, place, widget.mapToGlobal(place), isMove ? Qt::NoButton : Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, {});
    QCoreApplication::sendEvent(&widget, &event);
}

// A handle that goes back and forth, one step of a few pixels for each call.
class Drag {
  public:
    explicit Drag(Bench& bench) : plot(bench.Plot()) {
        const Levels levels = bench.document->StateOf(*bench.document->Active()).levels;
        start = plot.PlaceOf(levels.front().high);
        Mouse(plot, QEvent::MouseButtonPress, start);
    }
    ~Drag() { Mouse(plot, QEvent::MouseButtonRelease, start); }
    void Step() {
        constexpr int kReach = 40;
        ++steps;
        const int phase = steps % (2 * kReach);
        Mouse(plot, QEvent::MouseMove, start - (phase < kReach ? phase : 2 * kReach - phase) - 1);
    }

  private:
    HistogramPlot& plot;
    double start = 0;
    int steps = 0;
};

int TimeDrag(const char* file, int zoom) {
    constexpr int kSteps = 400;
    Bench bench;
    bench.window->show();
    auto& picture = bench.window->Picture();
    picture.setFixedSize(1600, 1000);
    bench.window->adjustSize();
    if (!bench.Open(file)) return 1;
    zoom == 0 ? picture.Fit() : picture.SetZoom(zoom);
    RunUntil([] { return false; }, 1500);  // histograms
    Paints paints(picture);
    std::vector<double> spent, busy;
    Drag drag(bench);
    for (int i = 0; i < kSteps; ++i) {
        const int before = paints.count;
        QElapsedTimer clock;
        clock.start();
        const double start = BusyTime();
        drag.Step();
        while (paints.count == before && clock.elapsed() < 1000) QCoreApplication::processEvents();
        spent.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        busy.push_back(BusyTime() - start);
    }
    std::printf("{\"median\": %.2f, \"most\": %.2f, \"busy\": %.2f, \"zoom\": %d, \"paints\": %d}\n",
                At(spent, 0.5), At(spent, 1), At(busy, 1), picture.Zoom(), paints.count);
    return 0;
}

int TimePlaying(const char* file) {
    constexpr std::size_t kFrames = 120;
    Bench bench;
    bench.window->resize(1600, 1000);
    bench.window->show();
    if (!bench.Open(file)) return 1;
    std::vector<double> times;
    std::vector<std::uint32_t> frames;
    QElapsedTimer clock;
    QObject::connect(bench.document.get(), &Document::frameShown, bench.window, [&](std::uint32_t frame) {
        times.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        frames.push_back(frame);
    });
    RunUntil([] { return false; }, 1000);
    Drag drag(bench);
    QTimer moves;
    QObject::connect(&moves, &QTimer::timeout, bench.window, [&] { drag.Step(); });
    clock.start();
    moves.start(16);
    bench.window->Actions().Find("time.play")->trigger();
    RunUntil([&] { return frames.size() >= kFrames; }, 30000);
    moves.stop();
    int lost = 0;
    double late = 0;
    const double period = 1000 / bench.document->FrameRate();
    for (std::size_t i = 1; i < frames.size(); ++i) {
        lost += frames[i] != frames[i - 1] + 1;
        late = std::max(late, times[i] - times[0] - static_cast<double>(i) * period);
    }
    const double rate = frames.size() < 2
                            ? 0
                            : 1000 * static_cast<double>(frames.size() - 1) / (times.back() - times.front());
    std::printf("{\"rate\": %.2f, \"own\": %.2f, \"frames\": %zu, \"lost\": %d, \"late\": %.1f}\n", rate,
                bench.document->FrameRate(), frames.size(), lost, late);
    return 0;
}

int TimeOpening(const char* file) {
    Bench bench;
    bench.window->resize(1600, 1000);
    bench.window->show();
    RunUntil([] { return false; }, 300);
    QElapsedTimer clock;
    clock.start();
    qint64 last = clock.nsecsElapsed(), most = 0, at = 0;
    double lastBusy = BusyTime(), mostBusy = 0;
    QTimer ticks;
    ticks.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticks, &QTimer::timeout, bench.window, [&] {
        const qint64 now = clock.nsecsElapsed();
        if (now - last > most) {
            most = now - last;
            at = now;
        }
        last = now;
        const double busy = BusyTime();
        mostBusy = std::max(mostBusy, busy - std::exchange(lastBusy, busy));
    });
    ticks.start(1);
    if (!bench.Open(file)) return 1;
    const double opened = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    RunUntil([] { return false; }, 2000);
    std::printf("{\"opened\": %.0f, \"blocked\": %.1f, \"busy\": %.1f, \"at\": %.0f}\n", opened,
                static_cast<double>(most) / 1e6, mostBusy, static_cast<double>(at) / 1e6);
    return 0;
}

// Tells when it painted for the first time.
class Empty final : public QMainWindow {
    void paintEvent(QPaintEvent* event) override {
        QMainWindow::paintEvent(event);
        std::fprintf(stderr, "painted\n");
    }
};

int ShowEmpty() {
    Empty window;
    window.resize(1280, 860);
    window.show();
    return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setOrganizationName("pzel-bench");
    const auto is = [&](const char* name, int arguments) {
        return argc == arguments + 2 && std::strcmp(argv[1], name) == 0;
    };
    if (is("drag", 2)) return TimeDrag(argv[2], std::atoi(argv[3]));
    if (is("play", 1)) return TimePlaying(argv[2]);
    if (is("open", 1)) return TimeOpening(argv[2]);
    if (is("empty", 0)) return ShowEmpty();
    std::fprintf(stderr, "pzel-view-bench: drag FILE ZOOM, play FILE, open FILE, or empty\n");
    return 2;
}
