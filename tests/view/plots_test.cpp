// Plots that are drawn upon, and numbers that are typed: points that pass each other, handles that are not
// under the pointer, columns that are not what was counted, numbers that become others.
#include <QSignalSpy>
#include <cerrno>
#include <cmath>
#include <limits>
#include <numeric>

#include "apps/view/curve_editor.h"
#include "apps/view/histogram_plot.h"
#include "apps/view/number_edit.h"
#include "apps/view/profile_plot.h"
#include "pzel/image/lifecycle.h"
#include "window.h"

namespace {

using pzel_view::CurveEditor;
using pzel_view::HistogramPlot;
using pzel_view::NumberEdit;
using pzel_view::ProfilePlot;

class PlotsTest : public testing::Test {
  protected:
    int Any(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
    double Part() { return std::uniform_real_distribution<>(0, 1)(random); }

    static bool IsRed(QRgb pixel) { return qRed(pixel) > 130 && qGreen(pixel) < 110 && qBlue(pixel) < 110; }

    /// A picture of bytes with so many of each.
    static pzel_io::OwnedImage Counted(const std::vector<int>& counts) {
        const int all = std::accumulate(counts.begin(), counts.end(), 0);
        pzel_io::OwnedImage image(NewImage(static_cast<unsigned short>(all), 1, 1, DataUInt8, true));
        unsigned char* to = image->data;
        for (std::size_t value = 0; value < counts.size(); ++value)
            to = std::fill_n(to, counts[value], static_cast<unsigned char>(value));
        return image;
    }

    /// The rows of a column that are red.
    static int RedRows(const QImage& image, int x) {
        int rows = 0;
        for (int y = 0; y < image.height(); ++y) rows += IsRed(image.pixel(x, y));
        return rows;
    }

    std::mt19937 random{77};
};

// Points as somebody who looks at the plot would move them.
TEST_F(PlotsTest, CurvePointsAreWhereTheyAreDragged) {
    CurveEditor editor(nullptr);
    editor.resize(300, 280);
    Tone tone;
    int asked = 0, drags = 0;
    QObject::connect(&editor, &CurveEditor::dragStarted, [&] { ++drags; });
    QObject::connect(&editor, &CurveEditor::pointsWanted, [&](const std::vector<TonePoint>& points) {
        ++asked;
        tone.points = points;
        editor.SetTone(tone);
    });
    const double pixel = 1 / (editor.PlaceOf({1, 0}).x() - editor.PlaceOf({0, 0}).x());
    const auto shown = [&] {
        return tone.points.empty() ? std::vector<TonePoint>{{0, 0}, {1, 1}} : tone.points;
    };
    for (int i = 0; i < 400; ++i) {
        const std::vector<TonePoint> before = shown();
        const TonePoint aim{Part(), Part()};
        const QPoint from = editor.PlaceOf(aim).toPoint(),
                     to = editor.PlaceOf({Part() * 1.2 - 0.1, Part() * 1.2 - 0.1}).toPoint();
        std::size_t near = before.size();
        double least = 10;
        for (std::size_t p = 0; p < before.size(); ++p) {
            const QPointF apart = editor.PlaceOf(before[p]) - from;
            if (std::hypot(apart.x(), apart.y()) <= least) {
                least = std::hypot(apart.x(), apart.y());
                near = p;
            }
        }
        const bool isOnOne = near < before.size();
        for (std::size_t p = 0; p < before.size() && near == before.size(); ++p)
            if (std::abs(before[p].in - (from.x() - editor.PlaceOf({0, 0}).x()) * pixel) < 0.004) near = p;
        asked = drags = 0;
        if (isOnOne && Any(4) == 0) {
            QTest::mouseDClick(&editor, Qt::LeftButton, {}, from);
            std::vector<TonePoint> left = before;
            left.erase(left.begin() + static_cast<std::ptrdiff_t>(near));
            EXPECT_EQ(shown(), left.size() < 2 ? (std::vector<TonePoint>{{0, 0}, {1, 1}}) : left);
            continue;
        }
        QTest::mouseClick(&editor, Qt::RightButton, {}, from);
        EXPECT_EQ(asked + drags, 0) << "the left button alone";
        QTest::mousePress(&editor, Qt::LeftButton, {}, from);
        EXPECT_EQ(drags, 1);
        EXPECT_EQ(asked, near == before.size()) << "to take a point changes nothing";
        if (near == before.size()) {
            ASSERT_EQ(shown().size(), before.size() + 1);
            near = 0;
            while (near < before.size() && before[near].in <= aim.in) ++near;
            EXPECT_NEAR(shown()[near].in, aim.in, pixel);
            EXPECT_NEAR(shown()[near].out, aim.out, pixel);
        }
        const std::vector<TonePoint> taken = shown();
        QTest::mouseMove(&editor, (from + to) / 2);
        QTest::mouseMove(&editor, to);
        QTest::mouseRelease(&editor, Qt::LeftButton, {}, to);
        asked = 0;
        QTest::mouseMove(&editor, from);
        EXPECT_EQ(asked, 0) << "nothing is dragged any more";
        const std::vector<TonePoint> after = shown();
        ASSERT_EQ(after.size(), taken.size());
        for (std::size_t p = 0; p < after.size(); ++p) {
            EXPECT_TRUE(p == near || after[p] == taken[p]) << "others stay";
            EXPECT_TRUE(p == 0 || after[p - 1].in < after[p].in) << p << " after " << i;
            EXPECT_TRUE(after[p].in >= 0 && after[p].in <= 1 && after[p].out >= 0 && after[p].out <= 1);
        }
        const QPointF place = editor.PlaceOf(after[near]);
        const double left = near > 0 ? editor.PlaceOf(after[near - 1]).x() : editor.PlaceOf({0, 0}).x();
        const bool isLast = near + 1 == after.size();
        const double right = editor.PlaceOf(isLast ? TonePoint{1, 1} : after[near + 1]).x();
        const double x = std::clamp<double>(to.x(), left, right);
        const double y = std::clamp<double>(to.y(), editor.PlaceOf({0, 1}).y(), editor.PlaceOf({0, 0}).y());
        EXPECT_NEAR(place.x(), x, 2.2);
        EXPECT_NEAR(place.y(), y, 1.01);
        if (tone.points.size() > 7) tone = Tone(), editor.SetTone(tone);
    }
}

TEST_F(PlotsTest, TheCurveIsPaintedWhereItGoes) {
    CurveEditor editor(nullptr);
    editor.resize(320, 260);
    editor.SetColour(QColor(255, 0, 0));
    for (const char* text :
         {"linear", "log", "asinh+gamma=2", "sqrt+invert", "0:0.3+0.4:0.1+1:0.9+gamma=0.5"}) {
        const Tone tone = ParseTone(text);
        editor.SetTone(tone);
        const QImage seen = editor.grab().toImage();
        for (double in = 0.03; in < 1; in += 0.047) {
            const int x = static_cast<int>(std::lround(editor.PlaceOf({in, 0}).x()));
            const double at =
                (x - editor.PlaceOf({0, 0}).x()) / (editor.PlaceOf({1, 0}).x() - editor.PlaceOf({0, 0}).x());
            const int y = static_cast<int>(std::lround(editor.PlaceOf({at, tone.At(at)}).y()));
            int least = 999;
            for (int row = 0; row < seen.height(); ++row)
                if (IsRed(seen.pixel(x, row))) least = std::min(least, std::abs(row - y));
            EXPECT_LE(least, 2) << text << " at " << in;
        }
    }
}

// An axis of nine values: each has room for a column of its own.
TEST_F(PlotsTest, ColumnsAreAsHighAsTheirValuesAreMany) {
    HistogramPlot plot(nullptr);
    plot.resize(400, 160);
    plot.SetColour(QColor(255, 0, 0));
    for (int i = 0; i < 12; ++i) {
        std::vector<int> counts;
        for (int value = 0; value < 9; ++value) counts.push_back(Any(4) == 0 ? 0 : 1 + Any(200) * Any(40));
        counts.front() += 9;
        counts.back() += 11;
        const pzel_io::OwnedImage image = Counted(counts);
        Histogram histogram;
        ASSERT_TRUE(histogram.Add(image.get()));
        const double offset = i % 2 ? 3.5 : 0;
        plot.SetLevels({0 - offset, 8 - offset});
        plot.SetValues(&histogram, offset);
        const int top = *std::max_element(counts.begin(), counts.end());
        for (const bool logarithmic : {false, true}) {
            plot.SetLogarithmic(logarithmic);
            const QImage seen = plot.grab().toImage();
            const auto rows = [&](double value) { return RedRows(seen, plot.PlaceOf(value - offset)); };
            const int most =
                rows(double(std::max_element(counts.begin(), counts.end()) - counts.begin()) + 0.2);
            EXPECT_GT(most, 80);
            for (int value = 0; value < 9; ++value) {
                const int count = counts[std::size_t(value)];
                const double part =
                    logarithmic ? std::log(1.0 + count) / std::log(1.0 + top) : 1.0 * count / top;
                // Around the number, to both sides of it alike.
                for (const double beside : {-0.3, 0.3})
                    EXPECT_NEAR(rows(value + beside), part * most, count == 0 ? 0 : 1.01)
                        << value << " of " << count << " " << logarithmic;
            }
        }
    }
    // Of what is far above all others the rest can be seen.
    std::vector<int> counts(100, 10);
    counts[50] = 40000;
    const pzel_io::OwnedImage image = Counted(counts);
    Histogram histogram;
    histogram.Add(image.get());
    plot.SetLogarithmic(false);
    plot.SetLevels({0, 99});
    plot.SetValues(&histogram, 0);
    const QImage seen = plot.grab().toImage();
    EXPECT_GT(RedRows(seen, plot.PlaceOf(20)) * 4, RedRows(seen, plot.PlaceOf(50)));
}

// The axis shows what is usual, and everything where that is asked for.
TEST_F(PlotsTest, TheAxisSpansLevelsAndUsualValues) {
    HistogramPlot plot(nullptr);
    plot.resize(500, 120);
    std::vector<int> counts(256, 0);
    std::fill(counts.begin() + 60, counts.begin() + 80, 500);
    counts[3] = counts[250] = 2;
    const pzel_io::OwnedImage image = Counted(counts);
    Histogram histogram;
    histogram.Add(image.get());
    const auto apart = [&](double low, double high) {
        return 1.0 * (plot.PlaceOf(high) - plot.PlaceOf(low)) / plot.width();
    };
    plot.SetLevels({62, 70});
    plot.SetValues(&histogram, 0);
    EXPECT_GT(apart(60, 79), 0.8);
    plot.SetWholeRange(true);
    EXPECT_GT(apart(3, 250), 0.8);
    EXPECT_LT(apart(60, 79), 0.1);
    plot.SetWholeRange(false);
    EXPECT_GT(apart(60, 79), 0.8);
    plot.SetLevels({-20, 70});
    EXPECT_GT(apart(-20, 79), 0.8);
    plot.SetLevels({64, 70});
    EXPECT_GT(apart(-20, 79), 0.8) << "levels inside leave it where it is";
    plot.SetLevels({64, 64.5});
    EXPECT_GT(apart(60, 79), 0.8) << "but for those in a corner of it";
    plot.SetValues(nullptr, 0);
    plot.SetLevels({500, 501});
    EXPECT_GT(apart(500, 501), 0.8) << "levels alone";
    for (double value = 499.9; value < 501; value += 0.001)
        EXPECT_LE(plot.PlaceOf(value), plot.PlaceOf(value + 0.001));
}

TEST_F(PlotsTest, HandlesStayUnderThePointerAndApart) {
    HistogramPlot plot(nullptr);
    plot.resize(420, 120);
    pzel_io::Window levels{0, 100};
    std::vector<std::string> told;
    QObject::connect(&plot, &HistogramPlot::dragStarted, [&] { told.push_back("start"); });
    QObject::connect(&plot, &HistogramPlot::dragEnded, [&] { told.push_back("end"); });
    QObject::connect(&plot, &HistogramPlot::dragged, [&](const pzel_io::Window& wanted) {
        told.push_back("drag");
        levels = wanted;
        plot.SetLevels(levels);
    });
    const pzel_io::OwnedImage image = Counted(std::vector<int>(200, 9));
    Histogram histogram;
    histogram.Add(image.get());
    const int y = plot.height() / 2;
    for (const bool mirrored : {false, true}) {
        plot.SetMirrored(mirrored);
        plot.SetValues(&histogram, mirrored ? 100 : 0);
        for (int i = 0; i < 200; ++i) {
            const double edge = 1 + Any(99);
            levels = mirrored ? pzel_io::Window{-edge, edge} : pzel_io::Window{edge, edge + 1 + Any(100)};
            plot.SetLevels(levels);
            const pzel_io::Window before = levels;
            const int black = plot.PlaceOf(levels.low), white = plot.PlaceOf(levels.high);
            const int from = std::vector<int>{black + Any(8) - 4, white + Any(8) - 4, 10 + Any(400)}[i % 3];
            const int by = Any(201) - 100, to = from + by;
            const bool takesBlack = std::abs(from - black) < std::abs(from - white);
            const bool isNear = std::min(std::abs(from - black), std::abs(from - white)) <= 10;
            const bool takesBoth = !isNear && from > black && from < white;
            const double value = (before.high - before.low) / std::max(1, white - black);  // of a pixel
            if (white - black < 12) continue;  // where a pixel is no measure
            told.clear();
            QTest::mousePress(&plot, Qt::LeftButton, {}, {from, y});
            EXPECT_TRUE(levels.low == before.low && levels.high == before.high) << "taking is no dragging";
            QTest::mouseMove(&plot, {from + by / 2, y});
            QTest::mouseMove(&plot, {to, y});
            const double low = levels.low, high = levels.high;
            QTest::mouseRelease(&plot, Qt::LeftButton, {}, {to, y});
            QTest::mouseMove(&plot, {from, y});
            EXPECT_EQ(told, (std::vector<std::string>{"start", "drag", "drag", "end"}));
            const double tolerance = value * (2 + std::abs(by) * 2.0 / (white - black));
            EXPECT_LE(low, high);
            pzel_io::Window wanted{takesBlack || takesBoth ? before.low + by * value : before.low,
                                   takesBlack && !takesBoth ? before.high : before.high + by * value};
            if (mirrored) {
                wanted.high = std::max(0.0, before.high + (takesBlack && !takesBoth ? -by : by) * value);
                wanted.low = -wanted.high;
            } else if (!takesBoth) {
                wanted = {std::min(wanted.low, before.high), std::max(wanted.high, before.low)};
            }
            EXPECT_NEAR(low, wanted.low, tolerance);
            EXPECT_NEAR(high, wanted.high, tolerance);
            EXPECT_TRUE(!mirrored || low == -high);
            EXPECT_TRUE(mirrored || takesBoth || (takesBlack ? high == before.high : low == before.low));
        }
    }
    told.clear();
    QTest::mouseClick(&plot, Qt::RightButton, {}, {100, y});
    EXPECT_TRUE(told.empty());
}

// Between the least and the greatest value of all lines, with gaps where there is none.
TEST_F(PlotsTest, ProfilesArePaintedWhereTheirValuesAre) {
    ProfilePlot plot(nullptr);
    plot.resize(300, 140);
    const auto rowOf = [&](const std::vector<double>& values, int x) {
        plot.SetLines({{QColor(255, 0, 0), values}, {QColor(0, 0, 255), {0, 100}}});
        const QImage image = plot.grab().toImage();
        double sum = 0;
        for (int y = 0; y < image.height(); ++y) sum += IsRed(image.pixel(x, y)) ? y : 0;
        return sum / RedRows(image, x);  // no number without any
    };
    const double none = std::numeric_limits<double>::quiet_NaN();
    const double top = rowOf({100, 100}, 150), bottom = rowOf({0, 0}, 150);
    EXPECT_GT(bottom, top + 80);
    for (int x = 10; x < 290; x += 20) {
        EXPECT_NEAR(rowOf({0, 25, 50, 75, 100}, x), bottom + (top - bottom) * (x - 1) / 296, 2.5) << x;
        const double flat = rowOf({50, 50, none, 50, 50}, x);
        EXPECT_TRUE(x > 78 && x < 222 ? std::isnan(flat) : std::abs(flat - (top + bottom) / 2) < 1.5) << x;
    }
}

// Whatever the locale of the system is, numbers are those of the command line.
TEST_F(PlotsTest, TypedNumbersAreTakenOnceAndShownAgain) {
    const QLocale usual;
    for (const char* locale : {"C", "de_DE"}) {
        QLocale::setDefault(QLocale(locale));
        QWidget window;
        NumberEdit edit(&window);
        QLineEdit other(&window);
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        const QSignalSpy entered(&edit, &NumberEdit::entered);
        for (int i = 0; i < 200; ++i) {
            const double number = (Part() - 0.5) * std::pow(10, Any(30) - 12);
            edit.Show(number);
            EXPECT_EQ(edit.text().toDouble(), number) << edit.text().toStdString();
            EXPECT_EQ(edit.Number(), number);
            EXPECT_EQ(edit.cursorPosition(), 0);
            const qsizetype before = entered.size();
            edit.setFocus();
            QTest::keyClick(&edit, Qt::Key_Return);
            EXPECT_EQ(entered.size(), before) << "nothing was typed";
            edit.selectAll();
            std::string text;
            for (int length = Any(8); length >= 0; --length) text += "0123456789.-e+,"[Any(15)];
            QTest::keyClicks(&edit, QString::fromStdString(text));
            const std::string typed = edit.text().toStdString();
            if (edit.isModified()) edit.Show(number);
            EXPECT_EQ(edit.text().toStdString(), typed) << "while it is typed it stays";
            other.setFocus();
            char* end = nullptr;
            errno = 0;
            const double value = std::strtod(typed.c_str(), &end);
            const bool isNumber = !typed.empty() && *end == 0 && errno == 0;
            if (isNumber && value != number) {
                ASSERT_EQ(entered.size(), before + 1) << typed;
                EXPECT_EQ(entered.back()[0].toDouble(), value) << typed;
            } else {
                EXPECT_EQ(entered.size(), before) << typed;
            }
            EXPECT_EQ(edit.text().toDouble(), number) << typed << ": nobody said that it changed";
        }
        EXPECT_GT(entered.size(), 20);
    }
    QLocale::setDefault(usual);
}

}  // namespace
