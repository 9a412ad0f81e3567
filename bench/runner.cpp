// Comparing and timing. Google Benchmark chooses the iterations and shuffles the repetitions of a row; its
// reporter keeps the best of each contestant.
#include "bench/runner.h"

#include <benchmark/benchmark.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>

#include "pzel/loops/runner.h"

namespace bench {

namespace {

constexpr const char *kOurs = "ours", *kMemcpy = "memcpy";

std::string peerName(std::size_t index) {
    return "peer " + std::to_string(index);
}

/// Keeps the shortest repetition of every contestant, in seconds for one run.
class Shortest final : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            const double seconds = run.cpu_accumulated_time / double(run.iterations);
            const auto [known, isNew] = times.try_emplace(run.run_name.function_name, seconds);
            if (!isNew) known->second = std::min(known->second, seconds);
        }
    }
    Times timesOf(const Row& row, int size) const {
        Times found{times.at(kOurs) / row.units, {}, {kMemcpy, kNone, kNone}};
        for (std::size_t i = 0; i < row.peers.size(); ++i) {
            const Peer& peer = row.peers[i];
            found.peers.push_back({peer.name, peer.goal.at(size), times.at(peerName(i)) / peer.units});
        }
        if (row.copyBytes) {
            found.copy.seconds = times.at(kMemcpy) / row.units;
            if (size == kLarge) found.copy.goal = row.copyGoal;
        }
        return found;
    }

  private:
    std::map<std::string, double> times;
};

/// A memcpy between two buffers of its own.
std::function<void()> copyOf(std::size_t bytes) {
    const auto from = std::make_shared<std::vector<unsigned char>>(bytes, 1);
    const auto to = std::make_shared<std::vector<unsigned char>>(bytes);
    return [=] { std::memcpy(to->data(), from->data(), bytes); };
}

/// Runs every contestant once and compares what they wrote.
void compareResults(const std::string& name, const Row& row) {
    const Result& result = row.result;
    if (!result.data) return;
    const auto written = [&](const std::function<void()>& run) {
        std::memset(result.data, 0xA5, result.bytes);  // whoever writes nothing is found out
        if (row.restore) row.restore();
        run();
        const auto* bytes = static_cast<const unsigned char*>(result.data);
        return std::vector<unsigned char>(bytes, bytes + result.bytes);
    };
    const auto ours = written(row.ours);
    for (const Peer& peer : row.peers) {
        const auto theirs = written(peer.run);
        const double difference = result.difference(ours.data(), theirs.data(), result.bytes);
        if (difference <= peer.tolerance) continue;
        throw std::runtime_error(name + ": differs from " + peer.name + " by " + std::to_string(difference) +
                                 ", more than " + std::to_string(peer.tolerance));
    }
}

void timeRow(const Row& row, const Effort& effort, Shortest& shortest) {
    const auto enter = [&](const std::string& name, const std::function<void()>& run) {
        const auto loop = [&row, run](benchmark::State& state) {
            for (auto _ : state) {
                if (row.when == Restore::EveryRun) {
                    state.PauseTiming();
                    row.restore();
                    state.ResumeTiming();
                }
                run();
                benchmark::ClobberMemory();
            }
        };
        // The time of the processor: other programs on the machine then count for less. It is that of all
        // threads, so that none can help unseen.
        benchmark::RegisterBenchmark(name.c_str(), loop)
            ->Repetitions(effort.repetitions)
            ->MinTime(effort.seconds)
            ->MeasureProcessCPUTime();
    };
    enter(kOurs, row.ours);
    for (std::size_t i = 0; i < row.peers.size(); ++i) enter(peerName(i), row.peers[i].run);
    if (row.copyBytes) enter(kMemcpy, copyOf(row.copyBytes));
    benchmark::RunSpecifiedBenchmarks(&shortest);
    benchmark::ClearRegisteredBenchmarks();
}

/// Lends the library all processors.
void runOnAll(int count, Zel::Task task, void* work) {
    oneapi::tbb::parallel_for(0, count, [=](int i) { task(work, i); });
}

/// Elapsed seconds of one run, of so many that they last long enough.
double secondsOf(const Row& row, double atLeast) {
    using Clock = std::chrono::steady_clock;
    double seconds = 0;
    int runs = 0;
    while (seconds < atLeast) {
        if (row.when == Restore::EveryRun) row.restore();
        const auto start = Clock::now();
        row.ours();
        seconds += std::chrono::duration<double>(Clock::now() - start).count();
        ++runs;
    }
    return seconds / runs;
}

}  // namespace

double measureOnAll(const Entry& entry, int size, const Effort& effort) {
    const Row row = entry.build(size);
    if (row.restore) row.restore();
    double alone = std::numeric_limits<double>::infinity(), together = alone;
    for (int i = 0; i < 2 * effort.repetitions; ++i) {
        alone = std::min(alone, secondsOf(row, effort.seconds));
        const Zel::Runner before = Zel::SetRunner(runOnAll);
        together = std::min(together, secondsOf(row, effort.seconds));
        Zel::SetRunner(before);
    }
    return together / alone;
}

Times measure(const Entry& entry, int size, const Effort& effort) {
    Shortest shortest;
    Times times;
    Row previous;  // lives on while the next one is built, which so gets other memory
    for (int i = 0; i < effort.placements; ++i) {
        const Row row = entry.build(size);
        if (i == 0) compareResults(entry.name, row);
        timeRow(row, effort, shortest);
        times = shortest.timesOf(row, size);
        previous = row;
    }
    return times;
}

}  // namespace bench
