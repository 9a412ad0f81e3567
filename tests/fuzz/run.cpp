// How sequences are played and judged.
#include "tests/fuzz/run.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <numeric>
#include <utility>

#include "pzel/loops/instruction_set.h"
#include "pzel/loops/ranges.h"
#include "tests/fuzz/rows.h"

namespace {
pzel::InstructionSet chosen = pzel::InstructionSet::Reference;
std::uint64_t order = 0;  // of tasks
bool areTasksRunning = false, haveTasksStartedTasks = false;

/// Tasks in any order.
void runShuffled(int count, Zel::Task task, void* work) {
    haveTasksStartedTasks |= std::exchange(areTasksRunning, true);
    std::array<int, pzel::kMostRanges> tasks;
    std::iota(tasks.begin(), tasks.begin() + count, 0);
    for (int i = count - 1; i > 0; --i) {
        order = order * 6364136223846793005u + 1442695040888963407u;
        std::swap(tasks[std::size_t(i)], tasks[std::size_t(order >> 33) % std::size_t(i + 1)]);
    }
    for (int i = 0; i < count; ++i) task(work, tasks[std::size_t(i)]);
    areTasksRunning = false;
}
}  // namespace

namespace pzel {
// Stands for the library's own choice, which is made once for a process.
InstructionSet instructionSet() {
    return chosen;
}
// So does this: the smallest calls are divided as well.
int rangesThatPay(std::int64_t elements, Effort) {
    return int(1 + (std::uint64_t(elements) + order) % 7);
}
}  // namespace pzel

namespace fuzz {

namespace {

using Set = pzel::InstructionSet;

/// What two plays of a sequence differ in.
struct Manner {
    Set set;
    u8 filling;      // of fresh memory
    bool hasRunner;  // whether tasks run in any order
};

struct Play {
    std::string fault;
    std::size_t failed = 0;  // the record that it failed in
    std::vector<u64> digests;
    bool refused = false;
    long left = 0;  // blocks
};

const Row& rowOf(const Record& record) {
    return rows()[record.row % rows().size()];
}

void runRow(World& world, const Row& row) {
    try {
        row.run(world);
    } catch (const Reacted&) {
    }
}

void playRecord(World& world, const Record& record, int index) {
    const Row& row = rowOf(record);
    world.begin(record, index, row.promise);
    if (index != world.setting.refusedRecord) return runRow(world, row);
    bool threw = false;
    try {
        runRow(world, row);
    } catch (const std::bad_alloc&) {
        threw = true;
    }
    if (!world.fault.empty()) return;
    if (threw && row.promise == Never) world.fault = "throws";
    if (!threw && row.promise != Never && world.refusalHappened) world.fault = "does not throw";
    if (!threw) return world.anyEvents();
    // Afterwards everything works.
    world.begin(record, -1, row.promise);
    world.touchAll();
    world.anyEvents();
    runRow(world, row);
}

Play playOnce(const Sequence& sequence, const Setting& setting, const Manner& manner, Counts* counts) {
    chosen = manner.set;
    order = sequence.size();
    haveTasksStartedTasks = false;
    Zel::SetRunner(manner.hasRunner ? runShuffled : nullptr);
    Play result;
    const long blocks = test::liveBlocks(), objects = test::liveObjects(), tones = Tone::alive;
    long keptBlocks = 0;
    {
        result.digests.reserve(sequence.size());
        const test::Filling fill(manner.filling);
        World world(setting);
        for (std::size_t i = 0; i < sequence.size() && result.fault.empty(); ++i) {
            playRecord(world, sequence[i], int(i));
            if (counts) {
                counts->calls += u64(world.calls);
                if (world.calls > 0) ++counts->executed[sequence[i].row % rows().size()];
            }
            world.end();
            result.fault = world.fault;
            result.failed = i;
            result.digests.push_back(world.digest());
        }
        keptBlocks = world.keptBlocks;
        result.refused = world.refusalHappened;
    }
    result.left = test::liveBlocks() - blocks - keptBlocks - (result.digests.capacity() > 0) -
                  (result.fault.capacity() > 15);
    const long mixed = test::liveObjects() - objects - (test::liveBlocks() - blocks);
    if (result.fault.empty() && mixed != 0)
        result.fault = "blocks of malloc and of operator new are mixed up";
    if (result.fault.empty() && result.left != 0)
        result.fault = std::to_string(result.left) + " blocks are left";
    if (result.fault.empty() && haveTasksStartedTasks) result.fault = "tasks have started tasks";
    if (result.fault.empty() && Tone::alive != tones) result.fault = "a remapper is left";
    return result;
}

/// What a process makes once and keeps is not lost: it is not made again.
Play play(const Sequence& sequence, const Setting& setting, const Manner& manner, Counts* counts) {
    Play result = playOnce(sequence, setting, manner, counts);
    return result.left == 0 ? result : playOnce(sequence, setting, manner, nullptr);
}

std::string nameOf(const Sequence& sequence, std::size_t i) {
    return i < sequence.size() ? std::string(rowOf(sequence[i]).name) + ": " : "";
}

bool takesShortCutsTwice(const Sequence& sequence) {
    return !sequence.empty() && sequence.front().bytes[13] % 2;
}

/// One of the machine's sets above the plain ones.
Set otherSet(const Sequence& sequence) {
    const int best = int(pzel::bestOfMachine()), first = std::min(int(Set::Baseline) + 1, best);
    return Set(best - (sequence.empty() ? 0 : sequence.front().bytes[13] / 2 % (best - first + 1)));
}

}  // namespace

const Table& table() {
    static const Table all = [] {
        Table made;
        for (const auto add : {addImageRows, addBoundsRows, addColourRows, addComponentRows, addMovieRows,
                               addDisplayRows, addPluginRows}) {
            made.rooms.push_back(made.rows.size());
            add(made);
        }
        made.rooms.push_back(made.rows.size());
        return made;
    }();
    return all;
}

const std::vector<Row>& rows() {
    return table().rows;
}

// Half of the sequences stay within two rooms, where their calls meet more often.
Sequence sequenceOf(u64 seed, u64 number) {
    u64 state = mixed(seed * 0x9E3779B97F4A7C15u + 1) ^ mixed(number + 0x1234567);
    const auto next = [&] { return mixed(state += 0x9E3779B97F4A7C15u); };
    const u64 kind = next();
    Sequence sequence(std::size_t(10 + kind % 21));
    const std::size_t count = table().rooms.size() - 1, first = kind >> 8 & 0xFF, second = kind >> 16 & 0xFF;
    const bool everywhere = kind >> 60 & 1;
    for (Record& record : sequence) {
        const u64 a = next(), b = next();
        std::memcpy(record.bytes.data(), &a, 8), std::memcpy(record.bytes.data() + 8, &b, 6);
        const u64 choice = next();
        if (everywhere) {
            record.row = u16(choice % rows().size());
        } else {
            const std::size_t room = (choice >> 40 & 1 ? first : second) % count;
            const std::size_t size = table().rooms[room + 1] - table().rooms[room];
            record.row = u16(table().rooms[room] + choice % std::max<std::size_t>(size, 1));
        }
    }
    return sequence;
}

void warmUp() {
    VectorInit();
    Zel::Name name;
    for (const char* text : World::kTexts) name.SetName(text), Zel::Name::SetWorkingFolder(text);
    Zel::Name::SetWorkingFolder("");
    Movie movie;
    for (int i = 0; i < 64; ++i) movie.RegistMe();
    for (int i = 0; i < 64; ++i) movie.UnregistMe();
}

std::string judge(const Sequence& sequence, Counts& counts) {
    ++counts.sequences;
    Setting setting;
    setting.shortCuts = takesShortCutsTwice(sequence);
    const Set plain = setting.shortCuts ? Set::Baseline : Set::Reference;
    const Play one = play(sequence, setting, {plain, 0x55, false}, &counts);
    if (!one.fault.empty()) return nameOf(sequence, one.failed) + one.fault;
    const Play other = play(sequence, setting, {otherSet(sequence), 0xAA, true}, &counts);
    if (!other.fault.empty()) return nameOf(sequence, other.failed) + other.fault;
    const auto differs = std::mismatch(one.digests.begin(), one.digests.end(), other.digests.begin()).first;
    if (differs == one.digests.end()) return "";
    const auto at = std::size_t(differs - one.digests.begin());
    const auto isSame = [&](const Manner& manner) {
        const Play again = play(sequence, setting, manner, nullptr);
        return at < again.digests.size() && again.digests[at] == *differs;
    };
    return nameOf(sequence, at) + "differs by " +
           (!isSame({plain, 0x55, true})    ? "the order of tasks"
            : !isSame({plain, 0xAA, false}) ? "the contents of fresh memory"
                                            : "instruction set");
}

std::string judgeRefusals(const Sequence& sequence, Counts& counts) {
    for (const test::Refuse what : {test::Refuse::One, test::Refuse::AllFromThere}) {
        Setting setting;
        setting.refused = what;
        setting.refusedRecord = int(sequence.size()) - 1;
        for (setting.refusedRequest = 1;; ++setting.refusedRequest) {
            const Play one = play(sequence, setting, {pzel::bestOfMachine(), 0x55, true}, &counts);
            ++counts.refusals;
            if (!one.fault.empty())
                return nameOf(sequence, one.failed) + one.fault + ", request " +
                       std::to_string(setting.refusedRequest) +
                       (what == test::Refuse::One ? " refused alone" : " and all that follow refused");
            if (!one.refused) break;
        }
    }
    return "";
}

Sequence shortened(Sequence sequence, const std::function<bool(const Sequence&)>& fails) {
    for (std::size_t chunk = std::max<std::size_t>(sequence.size() / 2, 1);; chunk /= 2) {
        for (std::size_t at = 0; at < sequence.size();) {
            Sequence shorter = sequence;
            const auto from = shorter.begin() + std::ptrdiff_t(at);
            shorter.erase(from, from + std::ptrdiff_t(std::min(chunk, sequence.size() - at)));
            if (fails(shorter)) {
                sequence = shorter;
            } else {
                at += chunk;
            }
        }
        if (chunk <= 1) break;
    }
    for (Record& record : sequence) {
        for (u8& byte : record.bytes) {
            const u8 before = std::exchange(byte, 0);
            if (before != 0 && !fails(sequence)) byte = before;
        }
    }
    return sequence;
}

std::string hexOf(const Sequence& sequence) {
    std::string text;
    char two[3];
    const auto* bytes = reinterpret_cast<const u8*>(sequence.data());
    for (std::size_t i = 0; i < sequence.size() * sizeof(Record); ++i) {
        std::snprintf(two, sizeof two, "%02x", bytes[i]);
        text += two;
    }
    return text;
}

Sequence ofHex(const std::string& text) {
    Sequence sequence(text.size() / 2 / sizeof(Record));
    auto* bytes = reinterpret_cast<u8*>(sequence.data());
    for (std::size_t i = 0; i < sequence.size() * sizeof(Record); ++i)
        bytes[i] = u8(std::stoi(text.substr(2 * i, 2), nullptr, 16));
    return sequence;
}

void print(std::ostream& out, const Sequence& sequence, bool refusals) {
    out << "{   // pzel_fuzz " << (refusals ? "--refused " : "--replay ") << hexOf(sequence) << '\n'
        << "    fuzz::World w({});\n"
        << std::flush;
    Setting setting;
    setting.shortCuts = takesShortCutsTwice(sequence);
    setting.story = &out;
    playOnce(sequence, setting, {otherSet(sequence), 0x55, true}, nullptr);
    out << "}\n" << std::flush;
}

}  // namespace fuzz
