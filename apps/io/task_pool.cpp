// Tasks on oneTBB's threads, one for each processor: started once, shared by all calls of a program, and by
// calls that come from several threads at a time.
#include <oneapi/tbb/parallel_for.h>

#include "pzel/loops/runner.h"

extern "C" __attribute__((visibility("default"))) void pzel_run_tasks(int count, Zel::Task task, void* work) {
    oneapi::tbb::parallel_for(0, count, [=](int i) { task(work, i); });
}
