// The job that a host hands to a plug-in: a movie to work on and tagged blocks of extra data, such as the
// region, the frames and a request in words. The host fills the blocks; the plug-in finds them by their tags.
#pragma once

#include <cstdint>
#include <type_traits>

#include "pzel/export.h"
#include "pzel/image/image.h"

class Movie;

/// What a block of extra data is.
enum ExDataTag : unsigned short {
    ExDataRectangle = 1,       ///< SRect*
    ExDataInterval = 2,        ///< YInterval*
    ExDataIteration = 3,       ///< a number, in the data word itself
    ExDataUserRequest = 0xFE,  ///< char*, NUL-terminated
    ExDataUserData = 0xFF,     ///< the host's pointer
};

/// Bits of `ExData::flags`.
enum ExDataFlags : unsigned short {
    ExDataOwned = 0x0008,  ///< rectangle, interval and user request: the block owns its data
};

/// Values of `Interface::state`.
enum InterfaceState : unsigned int {
    InterfaceEmpty = 0,
    InterfaceReady = 1,
};

/// The frames to work on.
struct YInterval {
    std::int32_t start;
    std::int32_t end;
};

/// One block of extra data. Data with ExDataOwned come from `operator new` and are of trivial type.
struct ExData {
    std::uint16_t tag;    ///< ExDataTag
    std::uint16_t flags;  ///< ExDataFlags
    std::uint32_t word;   ///< the host's
    void* data;           ///< as the tag says; or null
};

/// The call record. Plain: starts with InterfaceInit, ends with InterfaceCleanup; copies own nothing.
struct Interface {
    std::uint32_t state;       ///< InterfaceState
    Movie* movie;              ///< one reference, held; or null
    std::uint32_t word3;       ///< the host's
    std::uint32_t word4;       ///< the host's
    std::uint32_t numbExData;  ///< entries of `exData`
    ExData* exData;            ///< owned, from `operator new`; or null
    std::uint32_t word7;       ///< the host's
};
static_assert(std::is_trivially_copyable_v<Interface> && std::is_trivially_copyable_v<ExData>);

/// Makes the record ready: a new, empty movie (null when there is no memory for it), everything else zero.
/// What the record held before is overwritten, not released.
PZEL_API void InterfaceInit(Interface* record);
/// Releases the movie and deletes the extra data. Their number stays (deliberate): InterfaceInit must run
/// before the record is used again.
PZEL_API void InterfaceCleanup(Interface* record);

/// Adds a zeroed block at the end and returns it for the caller to fill. The blocks move: earlier pointers to
/// them, but not to their data, are void.
PZEL_API ExData* MoreExData(Interface* record);
/// Releases the owned data of `count` blocks, then the array itself. Null is ignored. Iteration number and
/// user data are never released, whatever their flags.
PZEL_API void DeleteExData(ExData* array, int count);

// The data of the first block of a kind, or null when there is none. They stay where they are owned.

PZEL_API SRect* GetRectangle(Interface* record);
PZEL_API YInterval* GetInterval(Interface* record);
PZEL_API char* FindUserRequest(Interface* record);
PZEL_API void* GetUserData(Interface* record);

/// Adds a block with the host's pointer, also when there is one already.
PZEL_API void AddUserData(Interface* record, void* data);
/// Changes the first iteration number; adds none. A plug-in reads it as the integer value of `data`.
PZEL_API void SetIterationNumber(Interface* record, int number);
/// Start and end - start (not + 1: deliberate) of the interval; -1 and -1 for a null record and for one
/// without blocks. A record with other blocks must have an interval, too.
PZEL_API void GetMovieRange(Interface* record, int& start, int& length);
