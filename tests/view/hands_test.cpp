// A window in anybody's hands: panels that say something else than those of another window on the same
// document, changes that undo does not take back, controls that nobody can tell apart, and what a window
// forgets.
#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QSet>
#include <QTableWidget>
#include <QToolButton>
#include <QUndoStack>
#include <algorithm>
#include <map>
#include <tuple>

#include "apps/scene/command.h"
#include "apps/view/curve_editor.h"
#include "apps/view/histogram_plot.h"
#include "apps/view/number_edit.h"
#include "apps/view/scene_keeping.h"
#include "window.h"

namespace {

using pzel_view::LayerState;
using pzel_view::MainWindow;

// What each window has for itself, or what asks somebody.
const QSet<QString> kOwn = {"levels.log",  "levels.range",  "levels.percent", "levels.source",
                            "levels.copy", "curve.channel", "addLayer",       "scenes.list",
                            "scenes.keep", "scenes.recall", "scenes.rename",  "scenes.remove",
                            "scenes.note", "play",          "levels.together"};

const QSet<QString> kAsking = {"file.quit",  "file.open",     "file.folder", "file.save",
                               "file.view",  "file.frames",   "layer.add",   "layer.rename",
                               "help.about", "window.system", "values.file"};

class HandsTest : public WindowTest {
  protected:
    HandsTest() : other(window->NewView()) { other->setAttribute(Qt::WA_DeleteOnClose, false); }

    void OpenSome() {
        WritePicture<std::uint8_t>(Path("below.png"), {AnyPixels<std::uint8_t>(random, 90, 70, 3, 0, 255)});
        std::vector<Pixels<std::uint16_t>> frames;
        for (int i = 0; i < 5; ++i) frames.push_back(AnyPixels<std::uint16_t>(random, 60, 50, 1, 0, 900));
        WritePicture<std::uint16_t>(Path("film.tif"), frames);
        Open({Path("below.png"), Path("film.tif") + "@0.5,+12+9",
              Path("film.tif") + "@threshold=300:600,green,-3+4"});
    }

    static std::vector<QWidget*> Controls(const MainWindow& of) {
        std::vector<QWidget*> controls;
        for (QDockWidget* dock : of.findChildren<QDockWidget*>())
            for (QWidget* widget : dock->findChildren<QWidget*>()) {
                const QString name = widget->objectName();
                if (!name.isEmpty() && !name.startsWith("qt_") && !kOwn.contains(name))
                    controls.push_back(widget);
            }
        return controls;
    }

    /// What a control says, as far as it says anything.
    static QString Said(const QWidget& control) {
        if (const auto* edit = qobject_cast<const QLineEdit*>(&control)) return edit->text();
        if (const auto* box = qobject_cast<const QAbstractSpinBox*>(&control)) return box->text();
        if (const auto* slider = qobject_cast<const QAbstractSlider*>(&control))
            return QString::number(slider->value());
        if (const auto* box = qobject_cast<const QComboBox*>(&control)) return box->currentText();
        if (const auto* button = qobject_cast<const QAbstractButton*>(&control))
            return button->text() + (button->isChecked() ? " on" : "");
        if (const auto* label = qobject_cast<const QLabel*>(&control)) return label->text();
        QString said;
        if (const auto* list = qobject_cast<const QListWidget*>(&control)) {
            for (int i = 0; i < list->count(); ++i)
                said += list->item(i)->text() + (list->item(i)->checkState() ? "+" : "-") +
                        (i == list->currentRow() ? "* " : " ");
        }
        if (const auto* table = qobject_cast<const QTableWidget*>(&control)) {
            for (int i = 0; i < table->rowCount() * table->columnCount(); ++i)
                if (const auto* item = table->item(i / table->columnCount(), i % table->columnCount()))
                    said += item->text() + " ";
        }
        return said;
    }

    static std::map<QString, QString> Told(const MainWindow& of) {
        std::map<QString, QString> told;
        for (const QWidget* control : Controls(of))
            told[control->objectName()] =
                control->isVisible() ? Said(*control) + (control->isEnabled() ? "" : " (off)") : "hidden";
        return told;
    }

    static std::string Differences(const MainWindow& one, const MainWindow& another) {
        std::string text;
        const auto mine = Told(one), theirs = Told(another);
        for (const auto& [name, said] : mine) {
            const auto found = theirs.find(name);
            const QString second = found == theirs.end() ? "missing" : found->second;
            if (second != said) text += (name + ": '" + said + "', '" + second + "'\n").toStdString();
        }
        return text;
    }

    /// Does something to a control, as a hand would; what was done.
    std::string Touch(QWidget& control) {
        const auto press = [&](std::initializer_list<Qt::Key> keys) {
            control.setFocus();
            QTest::keyClick(&control, keys.begin()[Any(static_cast<int>(keys.size()))]);
        };
        if (qobject_cast<QAbstractSlider*>(&control)) {
            press({Qt::Key_Left, Qt::Key_Right, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_End});
        } else if (qobject_cast<QAbstractSpinBox*>(&control) || qobject_cast<QComboBox*>(&control)) {
            press({Qt::Key_Up, Qt::Key_Down});
        } else if (auto* edit = qobject_cast<pzel_view::NumberEdit*>(&control)) {
            edit->selectAll();
            QTest::keyClicks(edit, QString::number(Any(400) - 50));
            QTest::keyClick(edit, Qt::Key_Return);
        } else if (auto* button = qobject_cast<QAbstractButton*>(&control)) {
            QTest::mouseClick(button, Qt::LeftButton);
        } else if (auto* list = qobject_cast<QListWidget*>(&control)) {
            if (list->count() == 0) return "nothing";
            const int row = Any(list->count());
            if (Any(2) == 0) return list->setCurrentRow(row), "current row";
            QListWidgetItem* const item = list->item(row);
            item->setCheckState(item->checkState() ? Qt::Unchecked : Qt::Checked);
        } else if (qobject_cast<pzel_view::HistogramPlot*>(&control) ||
                   qobject_cast<pzel_view::CurveEditor*>(&control)) {
            Drag(control, AnyIn(control.rect()), AnyIn(control.rect()));
        }
        return control.objectName().toStdString();
    }

    std::string TouchAnything(MainWindow& of) {
        const char* const actions[] = {"edit.undo",     "edit.redo",      "values.auto", "values.invert",
                                       "values.region", "values.channel", "time.on",     "values.straight"};
        if (Any(4) == 0) {
            const char* const id = actions[Any(std::size(actions))];
            QAction* const action = of.Actions().Find(id);
            if (action) action->trigger();
            return id;
        }
        if (Any(10) == 0) {
            document->SetSelection(QRect(AnyIn(of.Picture().rect()) / 20, QSize(1 + Any(40), 1 + Any(40))));
            return "selection";
        }
        std::vector<QWidget*> controls = Controls(of);
        std::erase_if(controls, [](const QWidget* one) { return !one->isVisible() || !one->isEnabled(); });
        return Touch(*controls[static_cast<std::size_t>(Any(static_cast<int>(controls.size())))]);
    }

    /// The panels that share a place with others, one of them in front.
    void Raise(int which) {
        for (MainWindow* one : {window.get(), other.get()})
            one->findChild<QDockWidget*>(QStringList{"panel.curve", "panel.channels", "panel.measure"}[which])
                ->raise();
    }

    /// The settings of all layers, lowest first.
    std::string Settings() {
        std::string text;
        for (Comp* comp : document->Layers()) text += LayerOptions(document->WishesOf(*comp)) + "\n";
        return text;
    }

    /// Whatever led here, the copied command makes the picture that is shown.
    void ExpectCommandMakesPicture(const std::string& after) {
        const std::vector<Comp*> layers = document->Layers();
        if (std::none_of(layers.begin(), layers.end(), [](Comp* comp) { return comp->IsVisible(); })) return;
        const Scene scene = pzel_view::SceneOf(*document, "x", 1);
        const std::vector<std::string> arguments = RenderArguments(scene, Frames::Current, Path("made.png"));
        const Outcome run = Render(arguments);
        ASSERT_EQ(run.status, 0) << run.err << ShellCommand("pzel-render", arguments) << "\nafter " << after;
        const QImage made =
            QImage(QString::fromStdString(Path("made.png"))).convertToFormat(QImage::Format_RGB888);
        EXPECT_TRUE(Whole(*window).convertToFormat(QImage::Format_RGB888) == made)
            << ShellCommand("pzel-render", arguments) << "\nafter " << after;
    }

    QImage Whole(MainWindow& of) { return of.Picture().Picture(document->Extent(), 1); }
    QImage WholeAtFirst() {
        document->GoTo(0);
        EXPECT_TRUE(WaitFor([&] { return !document->IsReading() && document->CurrentFrame() == 0; }));
        return document->IsEmpty() ? QImage() : Whole(*window);
    }

    std::unique_ptr<MainWindow> other;
};

TEST_F(HandsTest, WindowsAgreeAndEverythingIsUndone) {
    OpenSome();
    const QImage before = WholeAtFirst();
    const std::string settings = Settings();
    std::string done;
    for (int i = 0; i < 150; ++i) {
        if (i % 10 == 0) Raise(i / 10 % 3);
        MainWindow& hand = Any(2) == 0 ? *window : *other;
        done += TouchAnything(hand) + " ";
        ASSERT_TRUE(WaitFor([&] { return !document->IsReading(); })) << done;
        EXPECT_TRUE(WaitFor([&] { return Differences(*window, *other).empty(); }))
            << Differences(*window, *other) << "after " << done;
        if (document->IsEmpty()) document->History().undo();
        if (i % 12 == 11) ExpectCommandMakesPicture(done);
        ASSERT_TRUE(Whole(*window) == Whole(*other)) << done;
        ASSERT_EQ(failures, std::vector<std::string>{}) << done;
    }
    QUndoStack& history = document->History();
    EXPECT_GT(history.count(), 20) << done;
    const int last = history.index();
    const QImage after = WholeAtFirst();
    for (const int visit : {0, last, last / 2, 0}) {
        history.setIndex(visit);
        ASSERT_TRUE(WaitFor([&] { return !document->IsReading(); }));
        const QImage shown = WholeAtFirst();
        EXPECT_TRUE(visit != 0 || shown == before) << settings << "became\n" << Settings() << done;
        EXPECT_TRUE(visit != last || shown == after) << done;
    }
}

TEST_F(HandsTest, EverythingHasANameATipAndAKeyOfItsOwn) {
    OpenSome();
    for (int front = 0; front < 3; ++front) {
        Raise(front);
        QTest::qWait(0);
        for (const QWidget* control : window->findChildren<QWidget*>()) {
            const bool isControl =
                qobject_cast<const QAbstractButton*>(control) ||
                qobject_cast<const QAbstractSpinBox*>(control) || qobject_cast<const QComboBox*>(control) ||
                qobject_cast<const QLineEdit*>(control) || qobject_cast<const QAbstractSlider*>(control) ||
                qobject_cast<const QAbstractItemView*>(control);
            const QString name = control->objectName();
            if (!isControl || !control->isVisible() || name.isEmpty() || name.startsWith("qt_")) continue;
            const QWidget* told = control;
            while (told->toolTip().isEmpty() && told->parentWidget() && !told->parentWidget()->isWindow())
                told = told->parentWidget();
            EXPECT_FALSE(told->toolTip().isEmpty()) << name.toStdString();
        }
    }
    std::map<QString, QString> keys;
    for (const pzel_view::ActionList::Entry& entry : window->Actions().Entries()) {
        const QString text = entry.action->text();
        EXPECT_FALSE(text.isEmpty() || entry.action->toolTip().isEmpty()) << text.toStdString();
        QMenu* menu = nullptr;
        for (QMenu* one : window->findChildren<QMenu*>())
            if (one->actions().contains(entry.action)) menu = one;
        EXPECT_NE(menu, nullptr) << text.toStdString();
        for (const QKeySequence& key : entry.action->shortcuts()) {
            EXPECT_EQ(keys.count(key.toString()), 0U)
                << text.toStdString() << " and " << keys[key.toString()].toStdString() << " are both "
                << key.toString().toStdString();
            keys[key.toString()] = text;
        }
    }
    EXPECT_GT(keys.size(), 50U);
}

// Each action in turn, where everything is there that one could be for; but for those that ask somebody.
TEST_F(HandsTest, EveryActionDoesSomething) {
    other->close();
    WritePicture<std::uint8_t>(Path("a.png"), {AnyPixels<std::uint8_t>(random, 40, 30, 1, 0, 255)});
    const auto prepare = [&] {
        OpenSome();
        window->show();
        window->Actions().Find("window.reset")->trigger();
        document->MakeActive(*document->Layers()[1]);
        LayerState state = State();
        state.tones = {ParseTone("gamma=2")};
        state.levels = {{200, 500}};
        document->Change(Active(), "Curve", state);
        state.opacity = 0.25;
        document->Change(Active(), "Opacity", state);
        document->History().undo();
        document->SetRanges("Ranges", {{1, 3}});
        FrameInfo marks;
        marks.keepFrames = {2, 4};
        document->SetMarks("Marks", marks);
        state.opacity = 0.75;
        document->Change(Active(), "Opacity", state);
        document->Change(Active(), "Opacity", (state.opacity = 0.5, state));
        document->History().undo();
        document->GoTo(2);
        document->SetSelection(QRect(15, 12, 20, 20));
        document->SetProfile(pzel_view::Segment{{14, 12}, {50, 40}});
        window->Picture().SetZoom(20);
        window->Picture().CentreOn(QPointF(30, 30));
        window->Actions().Find("tool.select")->trigger();
        window->findChild<QDockWidget*>("panel.scenes")->raise();
        window->findChild<QDockWidget*>("panel.layers")->close();
        window->Picture().setFocus();
        QApplication::clipboard()->clear();
        ASSERT_TRUE(WaitFor([&] { return !document->IsReading() && document->CurrentFrame() == 2; }));
        QTest::qWait(30);
    };
    const auto seen = [&] {
        std::string text = Settings() + std::to_string(document->History().index()) + " " +
                           std::to_string(document->CurrentFrame()) +
                           QApplication::clipboard()->text().toStdString();
        for (const QWidget* one : QApplication::topLevelWidgets()) text += one->isVisible() ? "+" : "";
        return std::tuple(text, QApplication::clipboard()->image(), window->grab().toImage());
    };
    QStringList ids;
    for (const pzel_view::ActionList::Entry& entry : window->Actions().Entries())
        ids << entry.action->objectName();
    for (const QString& id : ids) {
        if (kAsking.contains(id)) continue;
        prepare();
        if (id == "values.channel") document->MakeActive(*document->Layers()[0]);
        if (id == "tool.select") window->Actions().Find("tool.pan")->trigger();
        const auto before = seen();
        QAction* const action = window->Actions().Find(id);
        EXPECT_TRUE(action->isEnabled()) << id.toStdString();
        action->trigger();
        EXPECT_TRUE(WaitFor([&] { return !document->IsReading() && seen() != before; })) << id.toStdString();
        document->GetPlayer().Stop();
        for (QWidget* one : QApplication::topLevelWidgets())
            if (one != window.get() && one != other.get()) one->close();
        if (window->isFullScreen()) window->showNormal();
        if (action->isCheckable()) action->trigger();
        EXPECT_EQ(failures, std::vector<std::string>{}) << id.toStdString();
    }
    EXPECT_GT(ids.size(), 70);
}

TEST_F(HandsTest, NothingIsDoneWithoutAPicture) {
    const auto areOfMoviesOn = [&] {
        int on = 0;
        for (const auto& entry : window->Actions().Entries())
            on += entry.menu == "Time" && entry.action->isEnabled();
        return on;
    };
    EXPECT_EQ(areOfMoviesOn(), 0);
    for (const auto& [menu, action] : window->Actions().Entries())
        if (menu != "Window" && menu != "Help" && !kAsking.contains(action->objectName())) action->trigger();
    for (int i = 0; i < 100; ++i) TouchAnything(*window);
    EXPECT_TRUE(WaitFor([&] { return !document->IsReading(); }));
    EXPECT_TRUE(document->IsEmpty() && failures.empty() && document->History().count() == 0);
    Open({PictureSample("moon.png")});
    EXPECT_EQ(areOfMoviesOn(), 0);
    OpenSome();
    EXPECT_GT(areOfMoviesOn(), 8);
}

TEST_F(HandsTest, LevelsAreCopiedToTheChosenLayer) {
    OpenSome();
    Open({Path("film.tif"), Path("film.tif") + "@levels=7:90"});
    document->MakeActive(*document->Layers()[1]);
    auto& copy = Find<QToolButton>("levels.copy");
    emit copy.menu()->aboutToShow();
    ASSERT_EQ(copy.menu()->actions().size(), 1);
    const Levels before = document->StateOf(*document->Layers()[0]).levels;
    copy.menu()->actions()[0]->trigger();
    EXPECT_TRUE(pzel_view::IsSame(document->StateOf(*document->Layers()[0]).levels, {{7, 90}}));
    document->History().undo();
    EXPECT_TRUE(pzel_view::IsSame(document->StateOf(*document->Layers()[0]).levels, before));
}

TEST_F(HandsTest, AWindowComesBackAsItWasLeft) {
    OpenSome();
    const auto dock = [](MainWindow& of, const char* name) { return of.findChild<QDockWidget*>(name); };
    dock(*window, "panel.scenes")->close();
    dock(*window, "panel.time")->close();
    window->resize(1100, 800);
    QTest::qWait(0);
    const QRect picture = window->centralWidget()->geometry();
    window->close();
    MainWindow next(document);
    next.setAttribute(Qt::WA_DeleteOnClose, false);
    next.show();
    QTest::qWait(0);
    EXPECT_EQ(next.size(), QSize(1100, 800));
    EXPECT_TRUE(dock(next, "panel.scenes")->isHidden() && dock(next, "panel.time")->isHidden());
    EXPECT_FALSE(dock(next, "panel.levels")->isHidden());
    EXPECT_EQ(next.centralWidget()->geometry(), picture);
    // Its picture stands there also before its panels do.
    MainWindow bare(document, pzel_view::Furnishing::AfterPicture);
    bare.setAttribute(Qt::WA_DeleteOnClose, false);
    QRect first;
    QObject::connect(&bare.Picture(), &pzel_view::PictureView::painted, &bare,
                     [&] { first = first.isNull() ? bare.centralWidget()->geometry() : first; });
    bare.show();
    ASSERT_TRUE(WaitFor([&] { return bare.findChild<QDockWidget*>(); }));
    EXPECT_EQ(first, picture);
    QTest::qWait(0);
    EXPECT_EQ(bare.centralWidget()->geometry(), picture);
}

}  // namespace
