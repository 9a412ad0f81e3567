// Plays sequences of calls that follow from a seed, in child processes, so that a crash or a hang can be
// shortened like any other finding.
//
//   pzel_fuzz [--seconds S | --sequences N] [--seed X] [--longest N] [--findings N]   plays and judges;
//                                         sequences of 10 to 30 rows, or of the first N of them
//   pzel_fuzz --refusals N [--seed X]     refuses memory to N calls of every row
//   pzel_fuzz --covers FILE               every name that FILE lists is called (exports.txt)
//   pzel_fuzz --replay HEX | --refused HEX   one sequence, as a finding prints it
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <set>
#include <string>

#include "pzel/display/vector.h"
#include "tests/fuzz/coverage.h"
#include "tests/fuzz/rows.h"
#include "tests/fuzz/run.h"

namespace {

using namespace fuzz;

constexpr int kPatience = 30;  // seconds of processor time for a thousand sequences, which take one

/// What a child and its parent share.
struct Shared {
    Counts counts;
    u64 number;
    char fault[600];
};

using Judge = std::string (*)(const Sequence&, Counts&);

template <class F>
int inChild(const F& action) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        action();
        std::cout.flush();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

std::string nameOfEnd(int status) {
    if (WIFSIGNALED(status))
        return WTERMSIG(status) == SIGPROF ? "hangs" : std::string("ends by ") + strsignal(WTERMSIG(status));
    return WIFEXITED(status) && WEXITSTATUS(status) > 0 ? "ends with a report of a sanitizer" : "";
}

/// A fault without its numbers.
std::string kindOf(std::string fault) {
    fault.erase(std::remove_if(fault.begin(), fault.end(), [](char c) { return c >= '0' && c <= '9'; }),
                fault.end());
    return fault.substr(0, 60);
}

void limitTime(int seconds) {
    const itimerval limit{{0, 0}, {seconds, 0}};
    setitimer(ITIMER_PROF, &limit, nullptr);
}

void silence() {
    if (!std::freopen("/dev/null", "w", stderr)) std::abort();
}

struct Machine {
    Judge judge;
    bool refusals;
    Shared& shared;

    /// How a sequence fails, in a process of its own; "" where it does not.
    std::string failure(const Sequence& sequence, bool quiet = true) const {
        Counts counts;
        shared.fault[0] = 0;
        const std::string end = nameOfEnd(inChild([&] {
            if (quiet) silence();
            limitTime(5);
            std::snprintf(shared.fault, sizeof shared.fault, "%s", judge(sequence, counts).c_str());
        }));
        return end.empty() ? shared.fault : end;
    }

    void report(Sequence sequence) const {
        const std::string kind = kindOf(failure(sequence));
        if (kind.empty()) {
            std::cout << "FINDING: not repeated by " << hexOf(sequence) << std::endl;
            return;
        }
        sequence = shortened(std::move(sequence),
                             [&](const Sequence& shorter) { return kindOf(failure(shorter)) == kind; });
        const std::string fault = failure(sequence, false);
        std::cout << "FINDING: " << fault << std::endl;
        inChild([&] { silence(), limitTime(5), print(std::cout, sequence, refusals); });
        std::cout << std::endl;
    }

    /// Plays sequence after sequence from `shared.number` on until `goesOn` says no; the number of findings.
    template <class Next, class GoesOn>
    int play(int mostFindings, const Next& next, const GoesOn& goesOn) const {
        int findings = 0;
        bool done = false;
        while (!done && findings < mostFindings) {
            shared.fault[0] = 0;
            const std::string end = nameOfEnd(inChild([&] {
                for (; goesOn(); ++shared.number) {
                    if (shared.number % 1024 == 0 || refusals) limitTime(kPatience);
                    const std::string fault = judge(next(shared.number), shared.counts);
                    if (fault.empty()) continue;
                    std::snprintf(shared.fault, sizeof shared.fault, "%s", fault.c_str());
                    return;
                }
                shared.number = ~u64(0);
            }));
            done = shared.number == ~u64(0) && end.empty();
            if (done) break;
            ++findings;
            std::cout << "sequence " << shared.number << ": " << (end.empty() ? shared.fault : end)
                      << std::endl;
            const u64 at = shared.number;
            report(next(at));
            shared.number = at + 1;
        }
        return findings;
    }
};

/// Rows that none of so many sequences executed.
int missingRows(const Counts& counts) {
    int missing = 0;
    for (std::size_t i = 0; i < rows().size(); ++i) {
        if (counts.executed[i] > 0) continue;
        std::cout << "never executed: " << rows()[i].name << '\n';
        ++missing;
    }
    return missing;
}

}  // namespace

int main(int argc, char** argv) {
    double seconds = 0;
    u64 sequences = 0, seed = 1, refused = 0;
    std::size_t longest = 30;
    int findings = 1;
    std::string replay, covers;
    bool refusals = false;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i], value = argv[i + 1];
        if (option == "--seconds")
            seconds = std::stod(value);
        else if (option == "--sequences")
            sequences = std::stoull(value);
        else if (option == "--seed")
            seed = std::stoull(value);
        else if (option == "--longest")
            longest = std::stoul(value);
        else if (option == "--findings")
            findings = std::stoi(value);
        else if (option == "--refusals")
            refused = std::stoull(value), refusals = true;
        else if (option == "--covers")
            covers = value;
        else if (option == "--replay")
            replay = value;
        else if (option == "--refused")
            replay = value, refusals = true;
        else
            return std::cerr << "pzel_fuzz: " << option << " is no option\n", 2;
    }
    warmUp();
    if (!covers.empty()) return coversAll(covers, sequences ? sequences : 3000);

    void* const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    Shared& shared = *new (memory) Shared{};
    const Machine machine{refusals ? judgeRefusals : judge, refusals, shared};
    if (!replay.empty()) {
        const std::string fault = machine.failure(ofHex(replay), false);
        std::cout << (fault.empty() ? "holds" : fault) << '\n';
        inChild([&] { silence(), print(std::cout, ofHex(replay), refusals); });
        return !fault.empty();
    }

    const auto start = std::chrono::steady_clock::now();
    const auto passed = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    int found;
    if (refusals) {
        // A few calls, and then one of each row in turn.
        const auto next = [&](u64 number) {
            Sequence sequence = sequenceOf(seed, number);
            sequence.resize(8);
            sequence.back().row = u16(number % rows().size());
            return sequence;
        };
        found = machine.play(findings, next, [&] { return shared.number < refused * rows().size(); });
    } else {
        if (seconds == 0 && sequences == 0) sequences = 100000;
        found = machine.play(
            findings,
            [&](u64 number) {
                Sequence sequence = sequenceOf(seed, number);
                sequence.resize(std::min(sequence.size(), longest));
                return sequence;
            },
            [&] {
                return seconds > 0 ? shared.number % 64 != 0 || passed() < seconds
                                   : shared.number < sequences;
            });
    }
    const Counts& counts = shared.counts;
    const int missing = counts.sequences + counts.refusals > 20000 ? missingRows(counts) : 0;
    std::printf(
        "pzel_fuzz: seed %llu, %llu sequences, %llu calls, %.0f calls a second, %llu refusals, %d findings\n",
        (unsigned long long)seed, (unsigned long long)counts.sequences, (unsigned long long)counts.calls,
        double(counts.calls) / passed(), (unsigned long long)counts.refusals, found);
    return found > 0 || missing > 0;
}
