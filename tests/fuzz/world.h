// The bounded world that sequences of calls play in: a few images, components, movies and small objects, the
// observers that hear of them, and what must hold between them after every call.
#pragma once

#include <array>
#include <bit>
#include <bitset>
#include <cmath>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "pzel/pzel.h"
#include "tests/fuzz/allocator.h"
#include "tests/fuzz/sequence.h"
#include "tests/support/images.h"

namespace fuzz {

using test::Bytes;
using test::Shape;

/// What is promised where memory is refused.
enum Promise {
    Strong,  ///< throws, and everything is as it was
    Basic,   ///< throws, and everything is valid
    Never,   ///< does not throw, whatever is refused
};

/// How a sequence is run.
struct Setting {
    bool shortCuts = false;         ///< whether both sets that are compared take short cuts
    std::ostream* story = nullptr;  ///< hears every call before it is made, as C++
    int refusedRecord = -1;         ///< whose calls are refused memory
    long refusedRequest = 0;
    test::Refuse refused = test::Refuse::One;
};

/// What an observer was told, or should be.
struct Heard {
    int ear;
    const void* source;
    int event;
    std::int64_t param;  // an extent's four sides where that is told
    bool operator==(const Heard&) const = default;
};

/// Leaves a row after a call during which observers changed the world: what it knew may be gone.
struct Reacted {};

class World;

struct Ear final : Observer {
    void Update(IComponent* source, int event, std::intptr_t param) override;
    World* world = nullptr;
    int id = 0;
};

/// A tone curve that asks for nothing and may do something to the world while it is asked.
struct Tone final : Zel::Remapper {
    Tone(World* in, int number) : world(in), id(number) { ++alive; }
    Tone(const Tone& other) : Remapper(other), world(other.world), id(other.id), mode(other.mode) { ++alive; }
    ~Tone() override { --alive; }
    bool IsEqual(const Remapper& other) const override;
    Remapper* Clone() const override { return new Tone(*this); }
    void SetMode(int hsi, int) override { mode = hsi; }
    int GetMode() const override { return mode; }
    void Reset() override { id = 0; }
    int GetNumbChannels() const override { return 3; }
    bool IsIdentity(int channel) const override { return id == 0 || (id + channel) % 4 == 0; }
    float Remap(float value, int channel) const override;
    const u8* GetLookupTable() const override;
    World* world;
    int id, mode = 0;
    static inline long alive = 0;
};

/// What a row may ask of an image.
struct Want {
    int type = -1;      ///< element type; -1: any
    int channels = -1;  ///< -1: any; -3: three or more
    int planar = 0;     ///< 1: planar
    bool pixels = true;
    bool twoOrMore = false;
};

class World {
  public:
    static constexpr int kImages = 5, kComps = 4, kMovies = 2, kEars = 3, kLists = 2, kNames = 2;
    /// Parts of the world that a call may change or must leave alone.
    enum Part {
        FirstImage = 0,
        FirstComp = kImages,
        FirstMovie = FirstComp + kComps,
        Canvas = FirstMovie + kMovies,
        Lists,
        Call,
        Names,
        Small,
        kParts
    };

    static constexpr const char* kTexts[] = {
        "",       "a",       "name.tif", "f1\\a long name of a file that fits nowhere.tiff",
        "f2\\",   "\\x",     ".dot",     "text: with, all_sorts",
        "12",     "-1.5e9",  "no ext",   "f1\\f3\\b.c.d",
        ".h.txt", "f1\\end."};

    explicit World(const Setting& setting);
    ~World();
    World(const World&) = delete;

    // Running: what the interpreter does around each row.
    void begin(const Record& record, int index, Promise promise);
    /// Judges what the row left; false where something is wrong.
    bool end();
    bool failed() const { return !fault.empty(); }
    u64 digest() const { return total.value(); }

    // Choices.
    Draw draw;
    Shape shape(const Want& want = {});
    /// An image of the world that answers to a wish; made where there is none.
    Image* image(const Want& want = {});
    Image* likeIt(Image* image);  ///< another one of the same shape, type and layout
    Image* newRecord(const Shape& shape);
    Image** freeSlot();
    Comp* comp();
    Comp* childComp(Movie* movie);  ///< a child; null where there is none
    Movie* movie();
    IComponent* component();
    Ear* ear() { return &ears[std::size_t(draw(0, kEars - 1))]; }
    float real();               ///< any float, often an extreme one
    AnyType element(int type);  ///< any value of a type
    const u8* table();          ///< look-up tables of 3 x 512 bytes, or null
    const char* text() { return kTexts[draw(0, int(std::size(kTexts)) - 1)]; }
    SRect area(const Image& image);
    bool mayJoin(const Image* image) const;  ///< whether the joint display of it gives the same on both sets
    void fill(Image* image);                 ///< pixels of many kinds
    void setLevels(Image* image);

    // Calls. The name is written down with the arguments before the call is made.
    template <class F, class... A>
    decltype(auto) call(const char* name, F&& f, A&&... arguments) {
        ++calls;
        if (setting.story) tell(name + ('(' + (joined(arguments...) + ')')));
        return made(f, arguments...);
    }
    template <class T, class F, class... A>
    decltype(auto) callOn(T* object, const char* name, F&& f, A&&... arguments) {
        ++calls;
        if (setting.story) tell(written(object) + "->" + name + '(' + joined(arguments...) + ')');
        return made(f, arguments...);
    }
    void tell(const std::string& line) const;

    // Judging.
    /// Marks what a call changes; everything else must be as before.
    template <class T>
    T* out(T* object) {
        touch(object);
        return object;
    }
    void touch(const void* object);
    void touch(Part part) { touched.set(part); }
    void touchAll() { touched.set(); }
    /// An event that a call must send, to whoever observes the source when this is called.
    void expect(IComponent* source, int event, std::int64_t param = 0);
    void expectAdded(Movie* movie, const std::vector<Comp*>& parts);
    void expectLength(Movie* movie, u32 needed);
    /// Takes any events of this call.
    void anyEvents() { eventsKnown = false; }
    long heardOf(const IComponent* source, int event) const;
    void holds(bool condition, const char* text) {
        if (!condition && !reacted && fault.empty()) fault = text;
    }
    void see(u64 value) { results.add(value); }
    void see(float value) { see(u64(std::isnan(value) ? ~u32(0) : std::bit_cast<u32>(value))); }

    // The world itself.
    std::array<Ear, kEars> ears;
    std::array<Image*, kImages> images{};
    std::array<Comp*, kComps> comps{};
    std::array<int, kComps> held{};
    std::array<Movie*, kMovies> movies{};
    std::array<int, kMovies> movieHeld{}, registered{};
    std::array<std::vector<Comp*>, kMovies> children{};
    std::array<std::optional<PluginParam>, kLists> lists;
    std::optional<Interface> record;
    std::array<Zel::Name, kNames> names;
    std::optional<Histogram> histogram;
    MovieScene scene;
    FrameInfo frames;
    Bytes canvas;
    Setting setting;
    int calls = 0;
    bool reacted = false;
    std::string fault;
    bool refusalHappened = false;
    long keptBlocks = 0;  ///< that the library keeps for good

    /// All that a copy of a component has as well.
    u64 contentsDigest(Comp& comp, bool withBitmap) const;
    int slotOf(const Comp* comp) const;
    int slotOf(const Movie* movie) const;
    void hear(int ear, IComponent* source, int event, std::intptr_t param);
    /// What stands for an object in both runs of a sequence.
    u64 idOf(const void* object) const;
    u64 partDigest(int part) const;
    void dropComp(int slot);
    void dropMovie(int slot);

  private:
    struct Armed {
        explicit Armed(World& in);
        ~Armed();
        World& world;
        std::optional<test::Refusal> refusal;
        int exceptions = 0;
        std::array<u64, kParts> before{};
    };

    template <class F, class... A>
    decltype(auto) made(F& f, A&... arguments) {
        if constexpr (std::is_void_v<decltype(f(arguments...))>) {
            armed(f, arguments...);
            if (reacted) throw Reacted();
        } else {
            decltype(auto) result = armed(f, arguments...);
            if (reacted) throw Reacted();
            return result;
        }
    }
    template <class F, class... A>
    decltype(auto) armed(F& f, A&... arguments) {
        const Armed whileCalled(*this);
        return f(arguments...);
    }
    template <class... A>
    std::string joined(const A&... arguments) const {
        std::string all;
        ((all += (all.empty() ? "" : ", ") + written(arguments)), ...);
        return all;
    }
    template <class T>
    std::string written(const T& value) const {
        if constexpr (std::is_floating_point_v<T>) {
            return writtenReal(value);
        } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
            return std::to_string(static_cast<long>(value));
        } else if constexpr (std::is_same_v<T, std::string>) {
            return '"' + value + '"';
        } else if constexpr (std::is_convertible_v<T, const char*>) {
            return static_cast<const char*>(value) ? '"' + std::string(value) + '"' : "nullptr";
        } else if constexpr (std::is_same_v<T, BitmapDestination>) {
            return writtenRows(value.rowBytes, value.width, value.height, 0, 0);
        } else if constexpr (std::is_same_v<T, BitmapSource>) {
            return writtenRows(value.rowBytes, value.width, value.height, value.x, value.y);
        } else if constexpr (std::is_pointer_v<T> && !std::is_function_v<std::remove_pointer_t<T>>) {
            return writtenPointer(static_cast<const void*>(value));
        } else {
            return "{}";
        }
    }
    static std::string writtenReal(double value);
    static std::string writtenRows(int rowBytes, int width, int height, int x, int y);
    std::string writtenPointer(const void* object) const;
    static std::string writtenPointer(std::nullptr_t) { return "nullptr"; }

    bool answers(const Image& image, const Want& want) const;
    void react(IComponent* source, int event);
    void checkStructure();
    u64 imageDigest(const Image& image) const;
    u64 compDigest(Comp& comp) const;
    u64 movieDigest(Movie& movie) const;

    std::array<u64, kParts> known{};
    std::bitset<kParts> touched;
    std::array<Heard, 512> heard;
    std::size_t heardCount = 0;
    std::vector<Heard> expected;
    bool eventsKnown = true;
    Digest total, results;
    Draw reaction_;
    int armedReactions = 0;
    bool refusing = false, asMade = false;
    Promise promise = Strong;
};

}  // namespace fuzz

/// A call with its name and its arguments, and one on an object.
#define CALL(function, ...)                                         \
    w.call(#function, [&](auto&&... arguments_) -> decltype(auto) { \
        return function(arguments_...);                             \
    } __VA_OPT__(, ) __VA_ARGS__)
#define CALL_ON(object, method, ...)                                        \
    w.callOn(object, #method, [&](auto&&... arguments_) -> decltype(auto) { \
        return (object)->method(arguments_...);                             \
    } __VA_OPT__(, ) __VA_ARGS__)
/// What must hold after a call.
#define HOLDS(...) w.holds(__VA_ARGS__, #__VA_ARGS__)
