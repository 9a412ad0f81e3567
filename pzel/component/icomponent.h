// What views, tools and plug-ins know of a picture: one interface over a single layer (Comp) and a
// composition of layers (Movie).
//
// The folder:
//   icomponent.h   this interface and the event codes
//   observer.h     who wants to hear of changes
//   comp.h         one layer
//   comp_info.h    a layer's current frame and sampling steps
//   movie.h        a composition of layers, with its frame selection
//   frame_iterator.h, frame_info.h   walking over ranges; frames to keep and to cut
//   group.h        adding and replacing components of a movie
//   movie_scene.h  a named list of frame ranges
//   shown_bitmap.h where the shown picture stands in a bitmap
#pragma once

#include <cstdint>
#include <vector>

#include "pzel/bounds/black_white.h"
#include "pzel/colour/remapper.h"
#include "pzel/component/observer.h"
#include "pzel/image/image.h"

class Comp;
class Movie;
class MovieScene;

/// Event codes: what NotifyObserver announces. Codes 2, 13 and 14 are never sent.
enum ComponentEvent : int {
    EventDestroyed = 1,      ///< about to be destroyed; nothing is freed yet
    EventChildAdded = 3,     ///< param: 0 when the movie was not composite before, then each new child
    EventChildRemoving = 4,  ///< before a removal; param: the child
    EventChildRemoved = 5,   ///< after a removal, or a move to (0, 0); param: the movie
    EventLocation = 6,       ///< moved; param: address of the extent (SRect) before the move
    EventActivated = 7,      ///< made active
    EventBlackWhite = 8,     ///< levels changed; param: the channel
    EventOpacity = 9,
    EventVisible = 10,
    EventRemapper = 11,
    EventCurrentFrame = 12,  ///< param: 0, or the current frame from SendFrameChangedEvent
    EventMovieLength = 15,
    EventStartFrame = 16,
    EventSceneAdded = 17,
    EventSceneRemoved = 18,
};

/// The interface of components. Reference counted: objects start with one reference, held by whoever made
/// them, and are destroyed by the Release that drops the last one, never by `delete`.
///
/// Frame numbers, lengths and counters are 32-bit values, whatever their signatures say. Setters that would
/// change nothing send no event.
///
/// An operation that is refused memory throws, sends no event, and leaves everything as it was; where less is
/// promised it is said. Bound arrays that it made on its way may stay. Releasing, removing, detaching and
/// announcing ask for no memory and never throw, so long as observers do not.
class PZEL_API IComponent {
  public:
    /// Adds a reference; returns the new count.
    virtual int Hold() = 0;
    /// Drops a reference; returns the new count. The last one destroys the object: at once, or behind the
    /// calls that are just telling its observers.
    virtual int Release() = 0;

    /// Appends an observer (not owned) unless it is attached already.
    virtual void AttachObserver(Observer* observer) = 0;
    virtual void DetachObserver(Observer* observer) = 0;
    /// Calls Update(this, event, param) on every observer, in the order of attachment.
    virtual void NotifyObserver(int event, std::intptr_t param) = 0;
    /// The list of observers; null until the first AttachObserver.
    virtual std::vector<Observer*>* GetObservers() = 0;
    /// Replaces the list: nothing is copied or freed; the component owns the new one.
    virtual void SetObservers(std::vector<Observer*>* observers) = 0;

    /// The list of scenes; null until the first AddScene.
    virtual std::vector<MovieScene>* GetSceneList() = 0;
    /// Replaces the list of scenes, frees the old one and owns the new one. A movie has none: it deletes what
    /// it is given, unless that is a child's.
    virtual void SetSceneList(std::vector<MovieScene>* scenes) = 0;
    /// Appends a scene of copies: the two strings, and `numbRanges` ranges from `ranges`, which holds the
    /// first and the last frame of each in turn (narrowed to 32 bits, in the order given).
    virtual bool AddScene(const char* name, const char* description, long numbRanges,
                          unsigned long* ranges) = 0;
    /// Removes a scene; false when there is none of that index. The scene list must exist.
    virtual bool RemoveScene(long index) = 0;

    virtual Movie* GetParent() = 0;
    virtual bool IsMovieObj() = 0;
    /// The image type word: major type in the high byte, sub type in the low byte.
    virtual unsigned short GetCompType() = 0;
    virtual ImageMajorType GetCompMType() = 0;
    virtual ImageSubType GetCompSType() = 0;
    virtual bool IsVisible() = 0;
    /// 0 (fully transparent) … 1 (opaque).
    virtual float GetOpacity() = 0;
    virtual void SetOpacity(float opacity) = 0;
    virtual unsigned long GetFrameCount() = 0;
    virtual int GetNumbChildren() = 0;
    /// The place among the parent's children.
    virtual int GetIndex() = 0;
    virtual void SetMovieLength(unsigned long length) = 0;
    virtual unsigned long GetMovieLength() = 0;
    virtual unsigned long GetStartFrame() = 0;
    virtual void SetStartFrame(unsigned long frame) = 0;
    /// The length that the children require; sets it where `apply` is true.
    virtual unsigned long CheckMovieLength(bool apply) = 0;
    virtual void SetVisible(bool visible) = 0;
    /// The number of image records.
    virtual unsigned long GetImageFrames() = 0;
    virtual bool IsInterleaved() = 0;
    virtual void MakeActive() = 0;
    virtual bool IsActive() = 0;
    /// True for a movie of two or more components.
    virtual bool IsComposite() = 0;
    virtual int GetNumbChannels() = 0;
    virtual ImageDataType GetDataType() = 0;
    virtual void GetSize(int& width, int& height) = 0;
    /// True where there is more than one frame.
    virtual bool IsMovie() = 0;
    virtual Zel::Remapper* GetRemapper() const = 0;
    /// Takes over a remapper (null for none), redraws, and sends EventRemapper. One that equals the held one
    /// is deleted and nothing happens. A composite movie deletes what it is given, unless that is a child's;
    /// so does a call that throws.
    virtual void SetRemapper(Zel::Remapper* remapper) = 0;
    /// The component itself, or the movie's first child.
    virtual Comp* GetInternalComp() = 0;
    /// Goes to a frame; false when it is the current one or beyond the end.
    virtual bool SetCurrentFrame(unsigned long frame) = 0;
    /// One step of playback.
    virtual void MoveToNextFrame() = 0;
    virtual unsigned long GetCurrentFrame() = 0;
    /// A child, or null.
    virtual IComponent* GetChildAt(int index) const = 0;
    virtual IComponent* GetParentOrSelf() = 0;
    /// The levels of a channel, or the undefined pair. On a colour component of n channels, channels n, n + 1
    /// and n + 2 are intensity, saturation and hue.
    virtual CompBlackWhite GetBlackWhite(int channel) = 0;
    /// Sets the levels of a channel, redraws, and sends EventBlackWhite. Values are truncated to the element
    /// type.
    virtual void SetBlackWhite(int channel, const CompBlackWhite& levels) = 0;
    virtual void GetLocation(int& x, int& y) = 0;
    virtual void SetLocation(int x, int y) = 0;
    /// The name tag, else the file name, else a default name that is made once. Owned by the component.
    virtual const char* GetName() = 0;
    /// What follows the last backslash of the name.
    virtual const char* GetShortName() = 0;

  protected:
    ~IComponent() = default;
};
