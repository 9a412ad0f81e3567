// Work that falls into equal parts, on several threads.
#pragma once

#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace pzel_io {

/// Processors that this process may use; 1 or more.
inline int Processors() {
    const unsigned count = std::thread::hardware_concurrency();
    return count > 0 ? static_cast<int>(count) : 1;
}

/// Calls work(0) … work(count - 1), each once, in the calling thread and up to `threads` - 1 others. The
/// first exception is thrown again when all have returned; what had not begun then is left out.
template <class Work>
void ForEachPart(int count, int threads, Work work) {
    std::atomic<int> next = 0;
    std::mutex guard;
    std::exception_ptr failure;
    const auto run = [&] {
        for (int part; (part = next++) < count;) {
            try {
                work(part);
            } catch (...) {
                const std::lock_guard lock(guard);
                if (!failure) failure = std::current_exception();
                next = count;
            }
        }
    };
    {
        std::vector<std::jthread> helpers;
        try {
            for (int i = 1; i < threads && i < count; ++i) helpers.emplace_back(run);
        } catch (const std::system_error&) {
            // Fewer threads take longer, and that is all.
        }
        run();
    }
    if (failure) std::rethrow_exception(failure);
}

}  // namespace pzel_io
