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

std::string goalText(const Goal& goal) {
    const std::string small = number(goal.small), large = number(goal.large);
    return small == large ? small : small + " / " + large;
}

/// Bold where the goal is missed.
std::string ratio(double value, double goal) {
    return value > goal ? "**" + number(value) + "**" : number(value);
}

/// The first two columns hold text, the others numbers.
void print(std::ostream& out, const std::vector<Cells>& lines) {
    std::vector<std::size_t> widths(lines[0].size());
    for (const Cells& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], widthOf(line[i]));
    const auto printLine = [&](const Cells& line) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            const std::string space(widths[i] - widthOf(line[i]), ' ');
            out << "| " << (i < 2 ? line[i] + space : space + line[i]) << ' ';
        }
        out << "|\n";
    };
    printLine(lines[0]);
    for (std::size_t i = 0; i < widths.size(); ++i)
        out << '|' << std::string(widths[i] + 1, '-') << (i < 2 ? '-' : ':');
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
    const std::string flags = ' ' + cpu["flags"] + ' ';
    out << "Machine: " << cpu["model name"] << " (family " << cpu["cpu family"] << ", model " << cpu["model"]
        << ';';
    for (const char* set : {"avx2", "avx512bw"})
        out << ' ' << (flags.find(' ' + std::string(set) + ' ') == std::string::npos ? "no " : "") << set;
    out << ").";
    if (const char* chosen = std::getenv("PZEL_SIMD")) out << " PZEL_SIMD=" << chosen << '.';
    out << " OpenCV " << CV_VERSION << ", libyuv " << LIBYUV_VERSION << "; one thread.\n\n"
        << "Every figure is time of ours / time of the other: smaller is better, bold misses its goal. The "
           "memcpy\n"
           "copies half of the bytes that a row reads and writes (the same traffic); for work that only "
           "reads, as\n"
           "many bytes as it reads.\n\n";
}

void printTables(std::ostream& out, const std::vector<Outcome>& outcomes) {
    std::vector<Cells> pairs = {{"row", "peer", "goal", "512²", "4096²", "512² / memcpy", "4096² / memcpy"}};
    std::vector<Cells> singles = {{"row", "beside", "goal", "ratio"}};
    for (const Outcome& o : outcomes) {
        for (std::size_t p = 0; p < o.peers.size(); ++p) {
            const std::string name = p == 0 ? o.name : "";
            const Peer& peer = o.peers[p];
            const Figures &small = o.figures.front(), &large = o.figures.back();
            const std::string atLarge = ratio(large.besidePeers[p], peer.goal.large);
            if (o.figures.size() == 1) {
                singles.push_back({name, peer.name, goalText(peer.goal), atLarge});
                continue;
            }
            pairs.push_back(
                {name, peer.name, goalText(peer.goal), ratio(small.besidePeers[p], peer.goal.small), atLarge,
                 p == 0 ? number(small.besideCopy) : "", p == 0 ? ratio(large.besideCopy, o.copyGoal) : ""});
        }
    }
    for (const auto& lines : {pairs, singles})
        if (lines.size() > 1) print(out, lines);
}

}  // namespace bench
