// Who wants to hear of changes of a component or movie.
#pragma once

#include <cstdint>

#include "pzel/export.h"

class IComponent;

/// Told of every change of the components that it is attached to. Not owned by them: detach it before it
/// goes.
class PZEL_API Observer {
  public:
    /// Called after a change (ComponentEvent says which, and what `param` is). Must not throw at
    /// EventDestroyed. The last reference of the source, or of its movie, may go meanwhile: either ends, and
    /// tells its observers, when the calls that announce for it return.
    virtual void Update(IComponent* source, int event, std::intptr_t param) = 0;

    IComponent* observed = nullptr;  ///< the observer's own; the library does not touch it

  protected:
    ~Observer() = default;
};
