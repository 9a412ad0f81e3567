// One layer: image frames with a place, an opacity, levels, a remapper and a display bitmap.
#pragma once

#include <cstddef>
#include <string>

#include "pzel/component/comp_info.h"
#include "pzel/component/icomponent.h"
#include "pzel/component/shown_bitmap.h"
#include "pzel/image/image.h"

/// Bits of `Comp::flagsA`.
enum CompFlagsA : unsigned short {
    CompHidden = 0x0001,
    CompFlatCompNotOwned = 0x0002,  ///< the flat comp is not deleted with the component
    CompBitmapOutOfDate = 0x0020,   ///< cleared by every bitmap computation
    CompChannelMask = 0x00C0,       ///< channel display mode: 0 all, else one of the next three
    CompChannelRed = 0x0040,        ///< channel 2 of a colour image; luminance of a YUV image
    CompChannelGreen = 0x0080,      ///< channel 1; U
    CompChannelBlue = 0x00C0,       ///< channel 0; V
    CompExtentMask = 0x0300,        ///< extent mode
    CompExtentDataArea = 0x0100,    ///< extent mode 1: only the data area is shown
    CompDataNotReady = 0x2000,
};

/// Bits of `Comp::flagsB`.
enum CompFlagsB : unsigned short {
    CompFlatFrameNotUpdated = 0x0001,  ///< UpdateFlatFrame must run before the next bitmap
    CompNotExpandable = 0x0002,        ///< the picture may not be expanded to a movie
};

/// One layer of a movie, or a picture on its own. Fields are public; the comments say who may touch them.
///
/// A component without a parent must not receive the operations that it forwards to its movie: GetIndex,
/// SetMovieLength, GetMovieLength, SetStartFrame, CheckMovieLength, MakeActive, IsActive, SetCurrentFrame and
/// MoveToNextFrame.
class PZEL_API Comp final : public IComponent {
  public:
    std::vector<Observer*>* observers;  ///< owned list of observers that are not owned; or null
    std::int32_t refCount;              ///< references; starts at 1
    Movie* parent;                      ///< the movie that holds this component; not owned
    std::vector<MovieScene>* scenes;    ///< owned; or null
    CompInfo* info;                     ///< owned; or null
    Image* images;              ///< owned array of `imageFrames` records; the first is the current one
    std::uint16_t imageFrames;  ///< records in `images`
    std::uint16_t msType;       ///< major type in the high byte, sub type in the low byte
    std::int16_t x;             ///< place in the movie
    std::int16_t y;
    std::uint16_t bmpWidth;      ///< bitmap width, pixels
    std::uint16_t bmpHeight;     ///< bitmap height, rows
    std::uint16_t bmpRowBytes;   ///< bytes from one bitmap row to the next
    std::uint16_t bmpLeft;       ///< where the shown picture starts inside the bitmap, pixels
    std::uint16_t bmpTop;        ///< the same, rows
    std::uint16_t bmpSpare;      ///< unused
    std::uint8_t bmpBits;        ///< bits per pixel; 0: no bitmap can be made
    std::uint8_t overlayColour;  ///< the application's; 255 after CompInit
    unsigned char* bitmap;       ///< the display bitmap, owned: bmpRowBytes * bmpHeight bytes; one that the
                                 ///< component made holds the picture where it stands as well. Free it with
                                 ///< DeleteBitmap, also before another one is put there
    SRect* dataArea;             ///< owned; the rectangle that is shown in extent mode 1, not turned over;
                                 ///< what of it lies outside the image shows nothing
    Zel::Remapper* remapper;     ///< owned; or null
    std::uint16_t flagsA;        ///< CompFlagsA
    std::uint16_t flagsB;        ///< CompFlagsB
    Comp* flatComp;              ///< a picture laid over this one; owned unless CompFlatCompNotOwned
    Image* flatImage;            ///< owned; this component's image with the flat comp's over it; or null
    std::uint8_t displaySpare;   ///< unused
    std::uint8_t transparency;   ///< 0 opaque … 128 fully transparent
    CompBlackWhite* levels;      ///< owned; the application's
    Attachment* attachment;      ///< owned; or null
    std::uint32_t startFrame;    ///< the movie frame at which the component's frame 0 stands
    std::uint32_t frameCount;    ///< number of frames; 1 after construction
    std::string* filename;       ///< owned; or null
    std::string* nametag;        ///< owned; the name tag or the default name; or null
    bool nametagSet;
    bool filenameSet;

    Comp();
    /// A deep copy: CopyComp with the bitmap.
    Comp(const Comp& other);
    /// A deep copy over this one, which keeps its observers, its parent and its references.
    Comp& operator=(const Comp& other);
    /// Sends EventDestroyed, then frees everything.
    ~Comp();

    /// Frees everything that the component owns, the lists of observers and scenes included, and leaves the
    /// parent.
    void Cleanup();
    /// Zeroes all fields but the lists, the references and the name flags; frees nothing: for fresh or
    /// emptied objects.
    void Clear();

    int Hold() override;
    int Release() override;
    void AttachObserver(Observer* observer) override;
    void DetachObserver(Observer* observer) override;
    /// Observers that are detached meanwhile are not called any more; those that are attached meanwhile are
    /// called from the next event on.
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
    unsigned long GetFrameCount() override;
    int GetNumbChildren() override;
    int GetIndex() override;
    void SetMovieLength(unsigned long length) override;
    unsigned long GetMovieLength() override;
    unsigned long GetStartFrame() override;
    void SetStartFrame(unsigned long frame) override;
    unsigned long CheckMovieLength(bool apply) override;
    void SetVisible(bool visible) override;
    unsigned long GetImageFrames() override;
    bool IsInterleaved() override;
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
    /// `frame` counts from the component's start frame.
    bool SetCurrentFrame(unsigned long frame) override;
    void MoveToNextFrame() override;
    /// 0xFFFFFFFF without comp info.
    unsigned long GetCurrentFrame() override;
    IComponent* GetChildAt(int index) const override;
    IComponent* GetParentOrSelf() override;
    CompBlackWhite GetBlackWhite(int channel) override;
    void SetBlackWhite(int channel, const CompBlackWhite& levels) override;
    void GetLocation(int& x, int& y) override;
    void SetLocation(int x, int y) override;
    const char* GetName() override;
    const char* GetShortName() override;

    /// The rectangle that the component covers in its movie; empty (right = left - 1) without images.
    SRect GetCompExtent();
    /// The first image record; null without images.
    Image* GetCurrentImage();
    void SetParent(Movie* movie);
    bool IsNametagSet() const;
    void SetFilename(std::string name);
    std::string GetFilename() const;
    void SetNametag(std::string name);
    std::string GetNametag() const;
    /// The data bound of the flat image; it stays the image's.
    unsigned char* GetCompBound();

    // The way to the bitmap: pzel/display/pipeline.cpp.

    /// Computes the display bitmap; the major type chooses how. An existing bitmap keeps its size and depth:
    /// free it first when the shown size, the channel mode or the type changed. `frame` is not used; -1 means
    /// all. A picture that is larger than the bitmap is cut off, and so is an area that leaves its image.
    void ComputeBitmap(int frame);
    void ComputeImageBmp(int frame);
    /// Needs two channels of bits, or one channel whose rows hold two rows of bits; others draw nothing.
    void ComputeBoundaryBmp();
    void ComputeVectorBmp();
    /// Bits per pixel for the bitmap of an image (null: the flat image): 1, 8, 24, or 0 where none can be
    /// made.
    int ComputeBmpBits(Image* image);
    int ComputeBmpBits();
    /// The rectangle of the current image that is shown: the data area in extent mode 1, else all of it.
    void GetValidDataArea(unsigned short& x, unsigned short& y, unsigned short& w, unsigned short& h);
    /// The same, with the full size taken from `image`.
    void GetValidDataArea(Image* image, unsigned short& x, unsigned short& y, unsigned short& w,
                          unsigned short& h);
    /// The image to show: the flat image where valid, else the visible flat comp's, else the current one; or
    /// null.
    Image* GetFlatImage();
    /// The same with the rectangle of it to show.
    Image* GetFlatImage(unsigned short& x, unsigned short& y, unsigned short& w, unsigned short& h);
    /// The same with the offset (dx, dy) of the picture inside the bitmap.
    Image* GetFlatImage(short& dx, short& dy, unsigned short& x, unsigned short& y, unsigned short& w,
                        unsigned short& h);
    /// Rebuilds the flat image from this component's image and the flat comp's. `parts` says what to bring
    /// in: 1 the flat comp's picture, 2 what lies around it, 4 and 16 all of this component's image, 8 (for a
    /// hidden flat comp) this component's image from the flat comp's place on. Hiding the flat comp, and
    /// parts that bring nothing in, leave the flat image not valid. A new one is black where nothing was
    /// brought in. Where it throws, a flat image that was there is not valid.
    void UpdateFlatFrame(unsigned char parts);
    /// Joint HSI display (`mode` = number of channels or more) or display of the channels (less); true when
    /// something was switched. Only for image type 0.
    bool SwitchMapingMode(int mode);
    /// The picture as it was last computed, or the bitmap from its first pixel on where a host put another
    /// one there since; all zero without a bitmap.
    ShownBitmap GetShownBitmap() const;
    /// Frees the bitmap, so that the next computation makes one of the size and depth then needed.
    void DeleteBitmap();

  private:
    /// A bitmap that the component allocated: it may reach further than the fields declare, and is known by
    /// them all, so that a block that somebody else put there is never taken for it.
    struct OwnBitmap {
        const unsigned char* block = nullptr;
        std::size_t bytes = 0;
        std::uint16_t width = 0, height = 0, rowBytes = 0, left = 0, top = 0;
    };

    friend PZEL_API void CopyComp(Comp* dst, const Comp* src, bool withBitmap);
    friend PZEL_API void ComputeVector(Comp* comp, char stepX, char stepY, unsigned short w, unsigned short h,
                                       Image* image, short x, short y, const unsigned char* lut);
    struct Fields;       // the fields by kind, for copies
    class BitmapUpdate;  // a change of the bitmap

    void CleanupSceneList();
    void ComposeFlatImage(unsigned char parts);
    bool OwnsBitmap() const;
    std::size_t BitmapBytes() const;

    OwnBitmap ownBitmap;
};

/// Clears a component (without freeing anything) and gives it `frames` image records of zeroes, at most
/// 65,535.
PZEL_API void CompInit(Comp* comp, unsigned long frames);
/// A new component with `frames` empty image records. The caller holds the reference.
PZEL_API Comp* AllocComp(unsigned long frames);
/// A deep copy: every owned member is duplicated; the bitmap only where `withBitmap` is true. `dst` keeps its
/// observers, its parent and its references. Copying onto itself does nothing.
PZEL_API void CopyComp(Comp* dst, const Comp* src, bool withBitmap);
/// Frees the attachment.
PZEL_API void DeleteAttachment(Comp* comp);

PZEL_API void SetDataReady(Comp* comp, bool ready);
PZEL_API bool IsDataReady(const Comp* comp);
/// Replaces the high byte of the MS type by the high byte of `type`.
PZEL_API void SetCompMajorType(Comp* comp, unsigned short type);
/// Replaces the low byte of the MS type by the low byte of `type`.
PZEL_API void SetCompSubType(Comp* comp, unsigned short type);
PZEL_API unsigned short GetCompMajorType(const Comp* comp);
PZEL_API unsigned short GetCompSubType(const Comp* comp);
PZEL_API unsigned short GetCompMSType(const Comp* comp);
PZEL_API void SetCompMSType(Comp* comp, unsigned short type);
PZEL_API void SetFlatFrameUpdated(Comp* comp);
PZEL_API void SetFlatFrameNotUpdated(Comp* comp);
PZEL_API bool IsFlatFrameNotUpdated(const Comp* comp);
PZEL_API bool CanExpandPictureToMovie(const Comp* comp);
/// Only for a component of at most one frame; on others it does nothing, deliberately.
PZEL_API void SetNotExpandPictureToMovie(Comp* comp);
