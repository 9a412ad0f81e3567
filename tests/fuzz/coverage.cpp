// Breakpoints on the exported functions: each stops once, is counted, and goes.
#include "tests/fuzz/coverage.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <set>

#include "tests/fuzz/run.h"

namespace fuzz {

#if defined(__x86_64__)

namespace {

constexpr u8 kBreakpoint = 0xCC;
/// Private members that compilers may put where they are called.
const std::set<std::string> kInlined = {"Movie::AtSelectionEnd() const", "Movie::AtSelectionStart() const"};
std::map<u8*, u8> waiting;  // first bytes that were replaced

void reached(int, siginfo_t*, void* context) {
    greg_t& at = static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP];
    auto* const place = reinterpret_cast<u8*>(at - 1);
    const auto found = waiting.find(place);
    if (found == waiting.end()) std::abort();
    *place = found->second;
    at -= 1;
}

void makeWritable(u8* place) {
    const auto page = std::uintptr_t(sysconf(_SC_PAGESIZE));
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(place) & ~(page - 1);
    if (mprotect(reinterpret_cast<void*>(start), 2 * page, PROT_READ | PROT_WRITE | PROT_EXEC) != 0)
        std::abort();
}

std::string demangled(const std::string& name) {
    char* const text = abi::__cxa_demangle(name.c_str(), nullptr, nullptr, nullptr);
    const std::string result = text ? text : name;
    std::free(text);
    return result;
}

}  // namespace

int coversAll(const std::string& listing, u64 sequences) {
    std::map<std::string, std::set<u8*>> functions;  // constructors and destructors have several names
    std::ifstream in(listing);
    for (std::string name; std::getline(in, name);) {
        if (name.rfind("_ZT", 0) == 0) continue;  // tables
        auto* const place = static_cast<u8*>(dlsym(RTLD_DEFAULT, name.c_str()));
        if (!place) return std::cout << "not found: " << demangled(name) << '\n', 1;
        functions[demangled(name)].insert(place);
    }
    struct sigaction action {};
    action.sa_sigaction = reached;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGTRAP, &action, nullptr);
    for (const auto& [name, places] : functions) {
        for (u8* const place : places) {
            makeWritable(place);
            if (waiting.emplace(place, *place).second) *place = kBreakpoint;
        }
    }
    Counts counts;
    std::string fault;
    for (u64 number = 0; number < sequences && fault.empty(); ++number)
        fault = judge(sequenceOf(1, number), counts);
    if (!fault.empty()) std::cout << fault << '\n';
    int missing = 0;
    for (const auto& [name, places] : functions) {
        bool called = false;
        for (u8* const place : places) called = called || *place != kBreakpoint;
        if (called || kInlined.count(name)) continue;
        std::cout << "never called: " << name << '\n';
        ++missing;
    }
    std::cout << functions.size() - std::size_t(missing) << " of " << functions.size()
              << " functions are called\n";
    return missing > 0 || functions.empty() || !fault.empty();
}

#else

int coversAll(const std::string&, u64) {
    std::cout << "breakpoints are known for x86-64 alone\n";
    return 0;
}

#endif

}  // namespace fuzz
