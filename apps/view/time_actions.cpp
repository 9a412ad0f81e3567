// Time: playing, stepping, ranges, and frames to keep and to cut.
#include "action_groups.h"
#include "main_window.h"

namespace pzel_view {

namespace {

// A range from here to its end, or from its start to here: the last one, else a new one.
void SetEnd(Document& document, bool isStart) {
    std::vector<Movie::FrameRange> ranges = document.GetMovie().GetFrameRanges();
    const long frame = document.CurrentFrame();
    if (ranges.empty()) ranges.emplace_back(0, static_cast<long>(document.Frames()) - 1);
    auto& [first, last] = ranges.back();
    (isStart ? first : last) = frame;
    if (first > last) (isStart ? last : first) = frame;
    document.SetRanges(Document::tr("Select Frames"), ranges);
}

// Runs of frames as ranges.
std::vector<Movie::FrameRange> RangesOf(const std::vector<long>& frames) {
    std::vector<Movie::FrameRange> ranges;
    for (const long frame : frames) {
        if (!ranges.empty() && ranges.back().second + 1 == frame) {
            ranges.back().second = frame;
        } else {
            ranges.emplace_back(frame, frame);
        }
    }
    return ranges;
}

void ToggleMark(Document& document, bool isKeep) {
    FrameInfo marks = document.Marks();
    const auto frame = static_cast<long>(document.CurrentFrame());
    const bool was = isKeep ? marks.FindKeepFrame(frame) : marks.FindCutFrame(frame);
    marks.EraseKeepFrame(frame);
    marks.EraseCutFrame(frame);
    if (!was) isKeep ? marks.InsertKeepFrame(frame) : marks.InsertCutFrame(frame);
    document.SetMarks(isKeep ? Document::tr("Mark to Keep") : Document::tr("Mark to Cut"), marks);
}

// The frames to keep, all where none is marked, without those to cut.
void SelectByMarks(Document& document) {
    const FrameInfo& marks = document.Marks();
    std::vector<long> frames;
    for (long frame = 0; frame < static_cast<long>(document.Frames()); ++frame) {
        const bool isKept = marks.GetKeepSize() == 0 || marks.FindKeepFrame(frame);
        if (isKept && !marks.FindCutFrame(frame)) frames.push_back(frame);
    }
    document.SetRanges(Document::tr("Select Marked Frames"), RangesOf(frames));
}

}  // namespace

void AddTimeActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    Document& document = window.GetDocument();
    Player& player = document.GetPlayer();
    std::vector<QAction*> moving;
    const auto add = [&](const ActionText& text, const std::function<void()>& slot) {
        moving.push_back(actions.Add(text, slot));
    };
    // Space presses buttons, too.
    moving.push_back(actions.AddIn(
        &window.Picture(),
        {"time.play", "Time", "&Play or Pause", Qt::Key_Space, "Plays the selected frames, or stops."},
        [&player] { player.Toggle(); }));
    add({"time.on", "Time", "&Next Frame", Qt::Key_Period, "Goes on by one selected frame."},
        [&player] { player.Step(1); });
    add({"time.back", "Time", "P&revious Frame", Qt::Key_Comma, "Goes back by one selected frame."},
        [&player] { player.Step(-1); });
    add({"time.first", "Time", "&First Frame", Qt::Key_Home, "Goes to the first selected frame."},
        [&player] { player.GoToFirst(); });
    add({"time.last", "Time", "&Last Frame", Qt::Key_End, "Goes to the last selected frame."},
        [&player] { player.GoToLast(); });
    actions.Separate("Time");
    add({"time.start", "Time", "Range &Starts Here", Qt::Key_BracketLeft,
         "The last range of selected frames starts at the shown one."},
        [&document] { SetEnd(document, true); });
    add({"time.end", "Time", "Range &Ends Here", Qt::Key_BracketRight,
         "The last range of selected frames ends at the shown one."},
        [&document] { SetEnd(document, false); });
    add({"time.all", "Time", "Select &All Frames", Qt::SHIFT | Qt::Key_BracketLeft, "Takes all ranges away."},
        [&document] { document.SetRanges(Document::tr("Select All Frames"), {}); });
    actions.Separate("Time");
    add({"time.keep", "Time", "Mark to &Keep", Qt::Key_K,
         "Marks the shown frame as one to keep, or not any more."},
        [&document] { ToggleMark(document, true); });
    add({"time.cut", "Time", "Mark to &Cut", Qt::Key_X,
         "Marks the shown frame as one to cut, or not any more."},
        [&document] { ToggleMark(document, false); });
    add({"time.marked", "Time", "Select &Marked Frames", Qt::SHIFT | Qt::Key_K,
         "Selects the frames to keep (all, where none is marked) without those to cut."},
        [&document] { SelectByMarks(document); });
    const auto enable = [moving, &document] {
        for (QAction* action : moving) action->setEnabled(document.Frames() > 1);
    };
    QObject::connect(&document, &Document::opened, &window, enable);
    QObject::connect(&document, &Document::timeChanged, &window, enable);
    QObject::connect(&document, &Document::layersChanged, &window, enable);
    enable();
}

}  // namespace pzel_view
