// A composition: an ordered list of up to 255 components with a length, a current frame and a frame
// selection.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "pzel/component/frame_iterator.h"
#include "pzel/component/icomponent.h"

/// Values of the status word of a movie.
enum MovieStatus : unsigned short {
    MoviePlayMask = 0x0E,       ///< how MoveToNextFrame steps; other values than the next four do not move
    MoviePlayForward = 0,       ///< forward, from the end to the start
    MoviePlayBackward = 2,      ///< backward, from the start to the end
    MoviePlayForthAndBack = 4,  ///< turns round at both ends
    MoviePlayToEnd = 6,         ///< forward, stops at the end
    MovieLocked = 0x10,
};

/// Components shown together. A movie of one component answers for it and passes on what it is told; with two
/// or more it is composite and answers with fixed values. An empty movie must not be asked what its component
/// knows.
///
/// A movie holds one reference on each child. The registry of open movies is shared by the whole library;
/// movies of several threads may enter and leave it, but it keeps none of them alive.
class PZEL_API Movie final : public IComponent {
  public:
    using FrameRange = std::pair<long, long>;

    Movie();
    /// A deep copy: CopyFrom without sharing.
    Movie(const Movie& other);
    Movie& operator=(const Movie& other);
    /// Sends EventDestroyed, then releases the children. The movie must have left the registry.
    ~Movie();

    /// Releases every child and frees names and the list of observers.
    void Cleanup();
    /// Zeroes children, status, active index, length, current frame and names; frees nothing.
    void Clear();
    /// Empties this movie, its list of observers included, and makes it a deep copy of everything but
    /// observers and references. With `share` it takes the same children instead (held once more, and
    /// re-parented). Children are copied without bitmaps. Copying from itself does nothing.
    void CopyFrom(const Movie& other, bool share);

    int Hold() override;
    int Release() override;
    void AttachObserver(Observer* observer) override;
    void DetachObserver(Observer* observer) override;
    /// Calls all observers that are attached when it starts, also those that are detached meanwhile: they
    /// must live on until it returns.
    void NotifyObserver(int event, std::intptr_t param) override;
    std::vector<Observer*>* GetObservers() override;
    void SetObservers(std::vector<Observer*>* observers) override;
    std::vector<MovieScene>* GetSceneList() override;
    void SetSceneList(std::vector<MovieScene>* scenes) override;
    bool AddScene(const char* name, const char* description, long numbRanges, unsigned long* ranges) override;
    bool RemoveScene(long index) override;
    Movie* GetParent() override;
    bool IsMovieObj() override;
    unsigned short GetCompType() override;
    ImageMajorType GetCompMType() override;
    ImageSubType GetCompSType() override;
    bool IsVisible() override;
    float GetOpacity() override;
    void SetOpacity(float opacity) override;
    /// The movie length.
    unsigned long GetFrameCount() override;
    int GetNumbChildren() override;
    int GetIndex() override;
    /// 0 and the current length are ignored.
    void SetMovieLength(unsigned long length) override;
    unsigned long GetMovieLength() override;
    unsigned long GetStartFrame() override;
    void SetStartFrame(unsigned long frame) override;
    unsigned long CheckMovieLength(bool apply) override;
    void SetVisible(bool visible) override;
    unsigned long GetImageFrames() override;
    bool IsInterleaved() override;
    /// Makes the movie itself active: no child is.
    void MakeActive() override;
    bool IsActive() override;
    bool IsComposite() override;
    int GetNumbChannels() override;
    ImageDataType GetDataType() override;
    void GetSize(int& width, int& height) override;
    bool IsMovie() override;
    Zel::Remapper* GetRemapper() const override;
    void SetRemapper(Zel::Remapper* remapper) override;
    Comp* GetInternalComp() override;
    bool SetCurrentFrame(unsigned long frame) override;
    /// Steps within the frame selection as the status says, and sends EventCurrentFrame when it moves.
    void MoveToNextFrame() override;
    unsigned long GetCurrentFrame() override;
    IComponent* GetChildAt(int index) const override;
    IComponent* GetParentOrSelf() override;
    CompBlackWhite GetBlackWhite(int channel) override;
    void SetBlackWhite(int channel, const CompBlackWhite& levels) override;
    void GetLocation(int& x, int& y) override;
    void SetLocation(int x, int y) override;
    const char* GetName() override;
    const char* GetShortName() override;

    /// What GetSize returns, pixels.
    void SetSize(int width, int height);

    /// Adds a component, or all children of a movie, at the end; returns the index of the first. A 256th
    /// child, or the movie itself, is refused: -1, and nothing changes.
    int AddChild(IComponent* component);
    /// Adds n fresh components without image records (AllocComp(0)) at the end, with the events of additions
    /// in order; the movie's reference is the only one on each. Returns the index of the first; -1 where n is
    /// not positive or the movie would pass 255 children, and then nothing changes.
    int AddComponents(int n);
    /// Two further names for AddComponents, deliberately the same.
    int AllocComps(int n);
    int AllocMoreComps(int n);
    /// Removes a component, or all children of a movie.
    void RemoveChild(IComponent* component);
    /// Removes one child without events; false when it is none. It has left the movie when it dies and tells
    /// its observers. An active index behind it stays and then names the next child (deliberate).
    bool RemoveComponent(unsigned char index);
    bool RemoveComponent(Comp* comp);
    /// The index of a child, or -1.
    int FindComponentIndex(const Comp* comp);
    /// The array of children; it stays the movie's.
    Comp** GetChildren();
    /// Makes room for n more children without adding any; returns the index of the first new slot.
    int AddCompRooms(int n);

    /// The active child, or null.
    Comp* GetActiveComp();
    void MakeChildActive(Comp* comp);
    bool IsChildActive(IComponent* component);

    /// Appends the movie to the registry, also when it is there already.
    void RegistMe();
    /// Removes its first entry.
    void UnregistMe();
    bool HasRegisted();
    static int GetCount();
    /// An entry of the registry; no range check.
    static Movie* GetMovie(int index);
    /// The registry itself, unguarded: only while no other thread changes it.
    static std::vector<Movie*>* GetMovieList();

    /// MovieStatus bits; the low byte counts.
    unsigned short GetStatus() const;
    void SetStatus(unsigned short status);
    bool IsLocked();

    /// Sends EventCurrentFrame with the current frame on the movie, then on each child with its own.
    void SendFrameChangedEvent();
    /// Attaches to the movie, then to each child. Where it throws, to the first of them.
    void AttachObserver_All(Observer* observer);
    /// Detaches from each child, then from the movie.
    void DetachObserver_All(Observer* observer);

    void SetFilename(std::string name);
    std::string GetFilename() const;
    void SetNametag(std::string name);
    std::string GetNametag() const;
    bool IsNametagSet() const;
    /// "New movie " and a number, from 1 on: the default name for a movie that a host creates.
    static std::string NewMovieName();

    // The frame selection: pzel/component/frame_selection.cpp. Ranges are inclusive at both ends and stand in
    // the order in which they were added; without ranges the whole movie is selected.

    /// Appends a range as it is (narrowed to 32 bits): no sorting, no merging, no check.
    void AddFrameRange(FrameRange range);
    void ClearFrameRanges();
    std::vector<FrameRange> GetFrameRanges();
    /// The number of selected frames; overlaps count twice.
    unsigned long GetRangesLength();
    unsigned long GetFirstFrame();
    unsigned long GetLastFrame();
    /// The selected frame after the current one; does not move.
    unsigned long GetNextFrame();
    /// The selected frame before the current one; does not move.
    unsigned long GetPreviousFrame();
    /// Brings the current frame into the selection, without an event.
    void AdjustFrameToTimeSelection();
    /// Walks the ranges; done at once where there are none. Valid until the ranges change.
    FrameIterator GetFrameIterator();

  private:
    friend PZEL_API int AddComponentGroup(Movie* movie, Comp** comps, int count);
    friend PZEL_API bool SetComponent(Movie* movie, int index, Comp* comp);

    static constexpr int kMaxChildren = 255;

    Comp* FirstChild() const;
    Comp* ActiveOrFirstChild() const;
    bool HasRoomFor(int n) const;
    int AddParts(std::span<Comp* const> parts);
    void MoveChildrenInto(std::unique_ptr<Comp*[]> rooms);
    void ReplaceChildren(std::unique_ptr<Comp*[]> rooms, int count);
    void Adopt(Comp* comp);
    void LetGo(Comp* comp);
    void RemoveSlot(int index);
    void MoveTo(std::uint32_t frame);
    std::size_t RangeOfCurrentFrame() const;
    bool AtSelectionEnd() const;
    bool AtSelectionStart() const;

    std::vector<FrameRange> ranges;     // 32-bit values
    std::vector<FrameRange> ranges2;    // copied along; the application's
    std::vector<Observer*>* observers;  // owned list of observers that are not owned; or null
    std::int32_t refCount;
    Comp** children;  // owned array of held references
    std::uint8_t childCount;
    std::uint8_t status;
    std::int32_t activeIndex;  // -1: the movie itself
    std::uint32_t length;      // frames
    std::uint32_t currentFrame;
    std::uint16_t width;
    std::uint16_t height;
    std::string* filename;  // owned; or null
    std::string* nametag;   // owned; or null
    bool nametagSet;
    bool filenameSet;
    bool playingBack;  // the way back of MoviePlayForthAndBack
};
