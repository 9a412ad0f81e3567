// The runner of the hosts. A forked process has none of its parent's threads and goes on without.
#include "apps/io/all_processors.h"

#include <dlfcn.h>
#include <pthread.h>

#include <stdexcept>

#include "apps/io/parallel.h"
#include "apps/io/program_parts.h"
#include "pzel/loops/runner.h"

namespace pzel_io {

namespace {

void RunInTurn(int count, Zel::Task task, void* work) {
    for (int i = 0; i < count; ++i) task(work, i);
}

// Stays loaded. Without the part everything takes longer, and that is all.
Zel::Runner LoadPool() {
    try {
        void* const module = dlopen(FindPart("pzel-task-pool.so").c_str(), RTLD_NOW | RTLD_LOCAL);
        void* const function = module ? dlsym(module, "pzel_run_tasks") : nullptr;
        if (function) return reinterpret_cast<Zel::Runner>(function);
    } catch (const std::runtime_error&) {
    }
    return RunInTurn;
}

void RunOnAll(int count, Zel::Task task, void* work) {
    static const Zel::Runner pool = LoadPool();
    pool(count, task, work);
}

}  // namespace

void UseAllProcessors() {
    if (Processors() < 2) return;
    static const int forked = pthread_atfork(nullptr, nullptr, [] { Zel::SetRunner(nullptr); });
    if (forked == 0) Zel::SetRunner(RunOnAll);
}

}  // namespace pzel_io
