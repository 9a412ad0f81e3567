// Observers may drop the last reference of what tells them. Internal.
#pragma once

class IComponent;

namespace pzel {

/// Stands on the stack while a component or movie tells its observers, and as long as it needs itself behind
/// that: where the last reference goes meanwhile, the object ends with the outermost of these. Each thread
/// has its own.
class KeptAlive {
  public:
    enum Until { LastReference, Destroyed };

    /// `Destroyed` in destructors: what observers hold and release there changes nothing any more.
    explicit KeptAlive(IComponent* kept, Until until = LastReference);
    ~KeptAlive();
    KeptAlive(const KeptAlive&) = delete;
    KeptAlive& operator=(const KeptAlive&) = delete;

    /// Asked where the last reference went: whether the object ends later, by itself.
    static bool endsLater(const IComponent* object);

  private:
    IComponent* object;
    KeptAlive* outer;
    bool isDestroyed, isReleased = false;
};

}  // namespace pzel
