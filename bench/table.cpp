// Markdown that also reads well in a terminal.
#include "bench/table.h"

#include <libyuv/version.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <map>
#include <opencv2/core/version.hpp>
#include <ostream>
#include <sstream>
#include <thread>

namespace bench {

namespace {

using Cells = std::vector<std::string>;

/// Characters as a terminal shows them.
std::size_t widthOf(const std::string& text) {
    return std::size_t(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string number(double value) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << value;
    return std::isnan(value) ? "–" : text.str();
}

/// Time of ours beside another's; bold where the goal is missed. Compares what is printed.
std::string ratio(const Times& times, const Times::Beside& other) {
    const double value = times.ours / other.seconds;
    return std::round(100 * value) > std::round(100 * other.goal) ? "**" + number(value) + "**"
                                                                  : number(value);
}

/// The first columns hold text, the others numbers.
void print(std::ostream& out, const std::vector<Cells>& lines, std::size_t ofText = 2) {
    std::vector<std::size_t> widths(lines[0].size());
    for (const Cells& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], widthOf(line[i]));
    const auto printLine = [&](const Cells& line) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            const std::string space(widths[i] - widthOf(line[i]), ' ');
            out << "| " << (i < ofText ? line[i] + space : space + line[i]) << ' ';
        }
        out << "|\n";
    };
    printLine(lines[0]);
    for (std::size_t i = 0; i < widths.size(); ++i)
        out << '|' << std::string(widths[i] + 1, '-') << (i < ofText ? '-' : ':');
    out << "|\n";
    for (std::size_t i = 1; i < lines.size(); ++i) printLine(lines[i]);
    out << '\n';
}

/// What /proc/cpuinfo says of the first processor, by its keys.
std::map<std::string, std::string> processor() {
    std::map<std::string, std::string> found;
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        const auto colon = line.find(": ");
        if (colon != std::string::npos)
            found.try_emplace(line.substr(0, line.find_first_of("\t:")), line.substr(colon + 2));
    }
    return found;
}

}  // namespace

void printHead(std::ostream& out) {
    auto cpu = processor();
    std::string outerCache;
    std::ifstream("/sys/devices/system/cpu/cpu0/cache/index3/size") >> outerCache;
    const std::string flags = ' ' + cpu["flags"] + ' ';
    out << "Machine: " << cpu["model name"] << " (family " << cpu["cpu family"] << ", model " << cpu["model"]
        << ';';
    for (const char* set : {"avx2", "avx512bw"})
        out << ' ' << (flags.find(' ' + std::string(set) + ' ') == std::string::npos ? "no " : "") << set;
    if (!outerCache.empty()) out << "; L3 " << outerCache;
    out << ").";
    if (const char* chosen = std::getenv("PZEL_INSTRUCTION_SET"))
        out << " PZEL_INSTRUCTION_SET=" << chosen << '.';
    out << " OpenCV " << CV_VERSION << ", libyuv " << LIBYUV_VERSION << "; one thread.\n\n"
        << "Every figure is time of ours / time of the other: smaller is better, bold misses its goal. The "
           "memcpy\n"
           "copies half of the bytes that a row reads and writes (the same traffic); for work that only "
           "reads, as\n"
           "many bytes as it reads.\n\n";
}

void printTimes(std::ostream& out, const Times& times) {
    const auto print = [&](const std::string& name, double seconds) {
        if (std::isnan(seconds)) return;
        const bool small = seconds < 1e-6;
        out << "  " << name << ' ' << number(seconds * (small ? 1e9 : 1e6)) << (small ? " ns" : " µs");
    };
    print("ours", times.ours);
    for (const Times::Beside& peer : times.peers) print(peer.name, peer.seconds);
    print(times.copy.name, times.copy.seconds);
    out << std::endl;
}

void printTables(std::ostream& out, const std::vector<Outcome>& outcomes) {
    std::vector<Cells> pairs = {{"row", "peer", "goal", "512²", "4096²", "512² / memcpy", "4096² / memcpy"}};
    std::vector<Cells> singles = {{"row", "beside", "goal", "ratio"}};
    for (const Outcome& outcome : outcomes) {
        const Times &small = outcome.times.front(), &large = outcome.times.back();
        for (std::size_t p = 0; p < small.peers.size(); ++p) {
            const Times::Beside &first = small.peers[p], &second = large.peers[p];
            const std::string goals[] = {number(first.goal), number(second.goal)};
            Cells line = {p == 0 ? outcome.name : "", first.name,
                          goals[0] == goals[1] ? goals[0] : goals[0] + " / " + goals[1], ratio(small, first)};
            if (outcome.times.size() == 1) {
                singles.push_back(line);
                continue;
            }
            line.push_back(ratio(large, second));
            line.push_back(p == 0 ? ratio(small, small.copy) : "");
            line.push_back(p == 0 ? ratio(large, large.copy) : "");
            pairs.push_back(line);
        }
    }
    for (const auto& lines : {pairs, singles})
        if (lines.size() > 1) print(out, lines);
}

void printOnAll(std::ostream& out, const std::vector<OnAll>& outcomes) {
    std::vector<Cells> lines = {
        {"row", std::to_string(std::thread::hardware_concurrency()) + " processors / one"}};
    for (const OnAll& one : outcomes) lines.push_back({one.name, number(one.ratio)});
    print(out, lines, 1);
}

}  // namespace bench
