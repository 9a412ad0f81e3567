// Pages by mmap, faults by signal.
#include "tests/guard/memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <new>
#include <random>
#include <stdexcept>

namespace guard {

namespace {

sigjmp_buf afterFault;

void onFault(int) {
    siglongjmp(afterFault, 1);
}

const std::size_t kPage = std::size_t(sysconf(_SC_PAGESIZE));

}  // namespace

Memory::Memory() {
    const std::size_t step = kPage + kSlotBytes, all = kSlots * step + kPage;
    void* const pages = mmap(nullptr, all, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    map = static_cast<std::uint8_t*>(pages);
    for (int i = 0; i < kSlots; ++i) {
        if (mprotect(map + kPage + i * step, kSlotBytes, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    }
    std::mt19937 random(7);
    for (auto& bytes : bytesOf) bytes.resize(kSlotBytes);
    for (auto& byte : bytesOf[0]) byte = std::uint8_t(random());
    for (std::size_t i = 0; i < kSlotBytes; i += sizeof(float)) {
        const float quarter = float(int(random() % 2400) - 1200) / 4;
        std::memcpy(&bytesOf[1][i], &quarter, sizeof quarter);
    }
    ordinary.resize(kSlots, std::vector<std::uint8_t>(kSlotBytes));
}

Memory::~Memory() {
    munmap(map, kSlots * (kPage + kSlotBytes) + kPage);
}

void Memory::start(Place where) {
    place = where;
    taken.clear();
    values.clear();
}

std::uint8_t* Memory::take(std::size_t bytes, int type) {
    const std::size_t number = taken.size();
    if (number == kSlots || bytes > kSlotBytes) throw std::length_error("more buffers than there are slots");
    std::uint8_t* const slot = map + kPage + number * (kPage + kSlotBytes);
    std::uint8_t* const data = place == Place::Ordinary           ? ordinary[number].data()
                               : place == Place::StartsBehindPage ? slot
                                                                  : slot + kSlotBytes - bytes;
    // Each buffer starts elsewhere in the bytes, so that no two are equal.
    const std::vector<std::uint8_t>& source = bytesOf[type == DataFloat];
    const std::size_t from = number * 1024, first = std::min(bytes, kSlotBytes - from);
    std::memcpy(data, &source[from], first);
    std::memcpy(data + first, source.data(), bytes - first);
    taken.push_back({data, bytes});
    return data;
}

std::vector<std::uint8_t> Memory::contents() const {
    std::vector<std::uint8_t> all;
    for (const Buffer& buffer : taken) all.insert(all.end(), buffer.data, buffer.data + buffer.bytes);
    const auto* const results = reinterpret_cast<const std::uint8_t*>(values.data());
    all.insert(all.end(), results, results + values.size() * sizeof(double));
    return all;
}

bool runsWithoutFault(const std::function<void()>& action) {
    struct sigaction wanted {
    }, before[2];
    wanted.sa_handler = onFault;
    sigaction(SIGSEGV, &wanted, &before[0]);
    sigaction(SIGBUS, &wanted, &before[1]);
    const bool whole = sigsetjmp(afterFault, 1) == 0;
    if (whole) action();
    sigaction(SIGSEGV, &before[0], nullptr);
    sigaction(SIGBUS, &before[1], nullptr);
    return whole;
}

}  // namespace guard
