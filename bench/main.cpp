// The benchmark: every row of the catalogue checked, timed and printed as a table in Markdown.
//   pzel_bench [--quick] [--filter REGEX] [--processors]
// --processors: not beside peers, but on all processors beside one, at 4096².
#include <benchmark/benchmark.h>

#include <exception>
#include <iostream>
#include <iterator>
#include <opencv2/core/utility.hpp>
#include <regex>
#include <string>

#include "bench/runner.h"
#include "bench/table.h"

namespace {

constexpr bench::Effort kThorough{3, 5, 0.02}, kQuick{1, 3, 0.002};

struct Options {
    bench::Effort effort = kThorough;
    std::regex filter{""};
    bool onAll = false;
};

Options optionsOf(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--quick") {
            options.effort = kQuick;
        } else if (argument == "--processors") {
            options.onAll = true;
        } else if (argument == "--filter" && i + 1 < argc) {
            options.filter.assign(argv[++i]);
        } else {
            throw std::runtime_error("usage: pzel_bench [--quick] [--filter REGEX] [--processors]");
        }
    }
    return options;
}

bench::Catalogue catalogue() {
    bench::Catalogue rows;
    bench::addMappingRows(rows);
    bench::addCopyRows(rows);
    bench::addArithmeticRows(rows);
    bench::addColourRows(rows);
    bench::addOverlayRows(rows);
    bench::addScalingRows(rows);
    bench::addWaitingRows(rows);
    return rows;
}

void runOnAll(const Options& options) {
    std::vector<bench::OnAll> outcomes;
    for (const bench::Entry& entry : catalogue()) {
        if (!std::regex_search(entry.name, options.filter) || entry.sizes.back() != bench::kLarge) continue;
        outcomes.push_back({entry.name, measureOnAll(entry, bench::kLarge, options.effort)});
        std::cerr << entry.name << ' ' << outcomes.back().ratio << std::endl;
    }
    bench::printOnAll(std::cout, outcomes);
}

void run(const Options& options) {
    cv::setNumThreads(1);
    std::string program = "pzel_bench", interleaved = "--benchmark_enable_random_interleaving=true";
    char* arguments[] = {program.data(), interleaved.data()};
    int count = int(std::size(arguments));
    benchmark::Initialize(&count, arguments);
    std::vector<bench::Outcome> outcomes;
    for (const bench::Entry& entry : catalogue()) {
        if (!std::regex_search(entry.name, options.filter)) continue;
        std::cerr << entry.name << std::endl;
        outcomes.push_back({entry.name, {}});
        for (const int size : entry.sizes) {
            const bench::Times times = measure(entry, size, options.effort);
            printTimes(std::cerr, times);
            outcomes.back().times.push_back(times);
        }
    }
    bench::printHead(std::cout);
    bench::printTables(std::cout, outcomes);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = optionsOf(argc, argv);
        options.onAll ? runOnAll(options) : run(options);
        return 0;
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
        return 1;
    }
}
