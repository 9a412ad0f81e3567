// What a window shows: a movie of layers with their files, what was changed in it and can be undone, and who
// hears of changes. No widget stands here, and several windows may show one document.
//
// The movie and its components belong to the thread of the window. A panel reads what it shows from the
// components and from StateOf, changes it by Change, and hears of changes by the signals, which come from the
// library's observers: never from another panel. Components keep bitmaps of one pixel: what is seen of them
// is drawn by who shows it (seen_movie.h), at its own zoom.
#pragma once

#include <QObject>
#include <QRect>
#include <QString>
#include <QUndoStack>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/io/file_movie.h"
#include "file_reader.h"
#include "frame_ring.h"
#include "layer_state.h"
#include "player.h"
#include "pzel/component/comp.h"
#include "pzel/component/frame_info.h"
#include "pzel/component/movie.h"
#include "pzel/component/observer.h"

namespace pzel_view {

/// Events beside the library's own (ComponentEvent), which components send for the document.
enum DocumentEvent : int {
    EventImage = 256,  ///< another image, or another part or channel of it, is shown
    EventColour,       ///< of an overlay
    EventName,
};

/// A line in the movie's columns and rows.
struct Segment {
    QPoint from;
    QPoint to;
};

/// What files that are opened become.
enum class OpenAs {
    Picture,  ///< layers of a new movie instead of this one
    Layers,   ///< further layers of this one
    Frames    ///< frames of a stack, instead of this movie
};

class Document final : public QObject, private Observer {
    Q_OBJECT

  public:
    Document();
    ~Document() override;

    // What is there.

    Movie& GetMovie() { return *movie; }
    /// The layers, lowest first.
    std::vector<Comp*> Layers();
    bool IsEmpty() { return Layers().empty(); }
    /// The layer that panels speak of; null where there is none.
    Comp* Active();
    const pzel_io::PictureInfo& InfoOf(const Comp& comp) const;
    /// The settings of a layer, as they are read back from its component.
    LayerState StateOf(Comp& comp) const;
    /// The wishes that its frames are made by, settings included.
    Layer WishesOf(Comp& comp) const;
    /// The shown frame with the file's own values.
    const Image& ValuesOf(Comp& comp) const;
    /// What to take off stored levels for the picture's values.
    double OffsetOf(const Comp& comp) const;
    /// The range that the file asks to be shown, of the shown frame.
    std::optional<pzel_io::Window> WindowOf(const Comp& comp) const;
    /// Every conversion up to now, a line each.
    std::vector<std::string> NotesOf(const Comp& comp) const;
    /// The frame of a layer that is shown.
    std::uint32_t FrameOf(const Comp& comp) const;
    /// The rectangle that all visible layers cover; of all where none is visible. Empty without layers.
    QRect Extent();
    /// Frames of the movie.
    std::uint32_t Frames();
    std::uint32_t CurrentFrame();
    /// Frames a second as the files tell, 25 where none does.
    double FrameRate() const;

    // Opening. What fails is told by failed(), and everything stays as it was.

    void Open(const std::vector<Layer>& layers, OpenAs as);
    /// Shows nothing any more.
    void Close();
    /// Gives up what is being read.
    void Cancel() { reader.Cancel(); }
    bool IsReading() const { return reading; }

    // Changes, all of which can be undone.

    QUndoStack& History() { return history; }
    /// A number for changes that are undone together, such as those of one drag.
    int NewGesture() { return ++lastGesture; }
    /// Gives a layer other settings. Changes of the same gesture (not 0) become one.
    void Change(Comp& comp, const QString& what, const LayerState& to, int gesture = 0);
    void Remove(Comp& comp);
    /// Another layer of the same file with the same settings, above it.
    void Duplicate(Comp& comp);
    /// The same with other settings.
    void AddCopy(Comp& comp, const QString& what, const LayerState& state);
    /// Moves a layer to a place among the layers, the lowest being 0.
    void MoveTo(Comp& comp, int index);
    /// Puts all layers into another order, lowest first.
    void Reorder(const std::vector<Comp*>& order);
    void SetRanges(const QString& what, const std::vector<Movie::FrameRange>& ranges, int gesture = 0);
    /// Sets of frames to keep and to cut.
    void SetMarks(const QString& what, const FrameInfo& marks);
    const FrameInfo& Marks() const { return marks; }

    // What no undo brings back.

    void MakeActive(Comp& comp);
    /// Shows a frame as soon as it is read; frames asked for meanwhile are left out but for the last.
    void GoTo(std::uint32_t frame);
    /// Shows the frame at once where it is read already; false where it is not.
    bool ShowNow(std::uint32_t frame);
    /// The frames that will be shown next, soonest first; they are read ahead as far as there is room.
    void Expect(const std::vector<std::uint32_t>& frames);
    /// Whether a frame could be shown at once; and all of those.
    bool IsRead(std::uint32_t frame) { return HasFrame(frame); }
    std::vector<std::uint32_t> ReadFrames() const;
    Player& GetPlayer() { return *player; }

    /// A rectangle in the movie's columns and rows; empty: none.
    QRect Selection() const { return selection; }
    void SetSelection(const QRect& rectangle);
    std::optional<Segment> Profile() const { return profile; }
    void SetProfile(const std::optional<Segment>& line);

    /// The zoom of the window that changed it last, and the wish that windows show another.
    int ShownZoom() const { return shownZoom; }
    void NoteZoom(int zoom) { shownZoom = zoom; }
    void WishZoom(int zoom) { emit zoomWished(zoom); }

  signals:
    void zoomWished(int zoom);
    /// Another movie stands there.
    void opened();
    /// Layers came, went or changed places.
    void layersChanged();
    /// One of ComponentEvent or DocumentEvent at a layer.
    void layerChanged(Comp* comp, int event);
    void activeChanged();
    /// The movie's current frame is shown by all layers.
    void frameShown(std::uint32_t frame);
    /// Another length, other ranges or marks.
    void timeChanged();
    /// Other frames could be shown at once.
    void ringChanged();
    void selectionChanged();
    void profileChanged();
    /// Something is being read for somebody who waits: `total` files, of which `done` are there.
    void progress(int done, int total, const QString& what);
    void readingChanged(bool reading);
    void failed(const QString& reason);

  private:
    using Reference = std::unique_ptr<Comp, pzel_io::Releaser>;

    // A change that waits for an image: whether that failed, and what is to be set when it is done again.
    struct Awaited {
        std::shared_ptr<bool> hasFailed;
        std::shared_ptr<LayerState> after;
    };

    // A layer's file. The document keeps it as long as the layer may come back.
    struct FileLayer {
        Reference comp;
        int source;
        Layer wishes;
        pzel_io::PictureInfo info;
        std::uint32_t frame = 0;     // that is shown
        pzel_io::OwnedImage values;  // of the shown frame, where a copy is shown
        double offset = 0;
        std::optional<pzel_io::Window> window;
        std::vector<std::string> notes;
        FrameRing ring;                   // other frames
        std::optional<Layer> remaking;    // wishes that a new image is being made by
        std::optional<LayerState> asked;  // settings that wait for it
        std::vector<Awaited> awaited;
        std::ptrdiff_t beingMade = 0;      // of these, the first ones
        std::vector<std::uint32_t> ahead;  // frames that are being read
    };
    using Files = std::vector<std::unique_ptr<FileLayer>>;
    struct Loading;

    void Update(IComponent* source, int event, std::intptr_t param) override;

    /// Does something that can be undone. Of changes of one gesture, not 0, the last one is done again.
    /// @param hasFailed becomes true where it is found out later that a change was not possible; null: never
    void Do(const QString& what, std::function<void()> redo, std::function<void()> undo, int gesture = 0,
            std::shared_ptr<bool> hasFailed = nullptr);
    std::shared_ptr<Comp> Held(Comp& comp) const;
    void DoOrder(const QString& what, const std::vector<Comp*>& after);

    FileLayer& FileOf(const Comp& comp) const;
    std::unique_ptr<FileLayer> MakeLayer(OpenedFile file);
    void LoadNext(const std::shared_ptr<Loading>& loading);
    void Loaded(const std::shared_ptr<Loading>& loading);
    void SetOrder(const std::vector<Comp*>& order);
    void Clear();
    void SetReading(bool busy);
    void Apply(Comp& comp, const LayerState& to);
    void ApplyShown(FileLayer& file, const LayerState& to);
    static void ApplyLevels(FileLayer& file, const Levels& levels);
    static void SetCurve(FileLayer& file);
    static bool SetChannel(Comp& comp, Channel channel);
    static void SetArea(Comp& comp, const std::optional<Area>& area);
    static void KeepSmallBitmap(Comp& comp);
    void Remake(FileLayer& file, const LayerState& to);
    void AskForImage(FileLayer& file);
    void Remade(int source, MadeFrame made);
    void NotRemade(int source, const QString& reason);
    void Install(FileLayer& file, MadeFrame made, bool isOther);
    std::vector<FileLayer*> Shown();
    FileLayer* FileOfSource(int source) const;
    bool HasFrame(std::uint32_t frame);
    void ShowFrame(std::uint32_t frame);
    void CatchUp();
    void ReadWanted();
    void ReadAhead();
    void Read(FileLayer& file, std::uint32_t frame, Haste haste);
    void Arrived(int source, MadeFrame made);
    void NotArrived(int source, std::uint32_t frame, Haste haste, const QString& reason);
    std::size_t RankOf(std::uint32_t frame) const;
    void SweepFiles();

    std::unique_ptr<Movie, pzel_io::Releaser> movie;
    Files files;  // of all layers, also of those that an undo would bring back
    QUndoStack history;
    FrameInfo marks;
    int lastGesture = 0;
    std::optional<std::uint32_t> wanted;  // the frame that is waited for
    std::optional<std::uint32_t> asking;  // the one that is being read for it
    std::vector<std::uint32_t> expected;
    QRect selection;
    std::optional<Segment> profile;
    int shownZoom = 1;
    int loads = 0;  // counts openings: answers of earlier ones are dropped
    bool reading = false;
    std::unique_ptr<Player> player;
    FileReader reader;  // last: it calls back
};

}  // namespace pzel_view
