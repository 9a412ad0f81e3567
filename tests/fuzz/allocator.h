// The memory of the fuzz program: counts blocks, refuses a chosen request and, where wanted, all that
// follow, and fills new blocks. Everything that the library asks for comes by here: operator new in every
// build, and malloc but under AddressSanitizer, which has its own.
#pragma once

namespace test {

/// Blocks that are held now.
long liveBlocks();
/// Those of them that came from operator new and must go back to operator delete.
long liveObjects();

/// Fills new blocks with a byte until it goes.
class Filling {
  public:
    explicit Filling(unsigned char byte);
    ~Filling();
    Filling(const Filling&) = delete;
};

enum class Refuse { One, AllFromThere };

/// Counts requests until it is lifted and refuses the k-th (from 1 on).
class Refusal {
  public:
    Refusal(long k, Refuse what);
    ~Refusal() { lift(); }
    Refusal(const Refusal&) = delete;
    void lift();
    /// Whether the k-th request came.
    bool happened() const { return met; }

  private:
    bool met = false;
};

}  // namespace test
