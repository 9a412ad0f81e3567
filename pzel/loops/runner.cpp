// The host's runner, and how tasks go through it.
#include "pzel/loops/runner.h"

#include <atomic>
#include <exception>
#include <utility>

#include "pzel/loops/ranges.h"

namespace {

std::atomic<Zel::Runner> installed = nullptr;

// Tasks start none: what they call runs in one piece.
thread_local bool isInTask = false;

struct InTask {
    bool before = std::exchange(isInTask, true);
    ~InTask() { isInTask = before; }
};

}  // namespace

namespace Zel {

Runner SetRunner(Runner runner) {
    return installed.exchange(runner);
}

}  // namespace Zel

namespace pzel {

Ranges::Ranges(int count, std::int64_t elements, Effort effort, int most)
    : runner(isInTask ? nullptr : installed.load()),
      rows(count),
      ranges(runner ? std::clamp(rangesThatPay(elements, effort), 1, std::max(std::min(count, most), 1))
                    : 1) {}

void Ranges::runTasks(void (*task)(const Ranges&, const void*, int), const void* work) const {
    struct Job {
        const Ranges& ranges;
        void (*task)(const Ranges&, const void*, int);
        const void* work;
        std::atomic_flag hasThrown;
        std::exception_ptr thrown;
    } job{*this, task, work, {}, {}};
    // Through a host's threads no exception passes.
    runner(
        ranges,
        [](void* of, int range) {
            Job& mine = *static_cast<Job*>(of);
            const InTask inTask;
            try {
                mine.task(mine.ranges, mine.work, range);
            } catch (...) {
                if (!mine.hasThrown.test_and_set()) mine.thrown = std::current_exception();
            }
        },
        &job);
    if (job.thrown) std::rethrow_exception(job.thrown);
}

}  // namespace pzel
