#include "tests/fuzz/allocator.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#if !defined(__SANITIZE_ADDRESS__)
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}
#endif

namespace {

long live = 0, objects = 0;
int filling = -1;

bool counting = false;
long asked = 0, refusedFrom = 0;
test::Refuse refusing = test::Refuse::One;

bool isRefused() {
    if (!counting) return false;
    ++asked;
    return refusing == test::Refuse::One ? asked == refusedFrom : asked >= refusedFrom;
}

template <class Allocate>
void* take(std::size_t bytes, Allocate&& allocate) {
    if (isRefused()) return errno = ENOMEM, nullptr;
    void* const block = allocate();
    if (block == nullptr) return nullptr;
    ++live;
    if (filling >= 0) std::memset(block, filling, bytes);
    return block;
}

}  // namespace

namespace test {

long liveBlocks() {
    return live;
}

long liveObjects() {
    return objects;
}

Filling::Filling(unsigned char byte) {
    filling = byte;
}
Filling::~Filling() {
    filling = -1;
}

Refusal::Refusal(long k, Refuse what) {
    asked = 0;
    refusedFrom = k;
    refusing = what;
    counting = true;
}

void Refusal::lift() {
    met = met || (counting && asked >= refusedFrom);
    counting = false;
}

}  // namespace test

namespace {
// Under the sanitizer this is where blocks are counted, else where they come from.
void* newObject(std::size_t bytes) {
#if defined(__SANITIZE_ADDRESS__)
    void* const block = take(bytes, [=] { return std::malloc(bytes); });
#else
    void* const block = std::malloc(bytes > 0 ? bytes : 1);
#endif
    if (block != nullptr) ++objects;
    return block;
}
void* newOrThrow(std::size_t bytes) {
    void* const block = newObject(bytes);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void deleteObject(void* block) {
    if (block == nullptr) return;
    --objects;
#if defined(__SANITIZE_ADDRESS__)
    --live;
#endif
    std::free(block);
}
}  // namespace

void* operator new(std::size_t bytes) {
    return newOrThrow(bytes);
}
void* operator new[](std::size_t bytes) {
    return newOrThrow(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return newObject(bytes);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return newObject(bytes);
}
void operator delete(void* block) noexcept {
    deleteObject(block);
}
void operator delete[](void* block) noexcept {
    deleteObject(block);
}
void operator delete(void* block, std::size_t) noexcept {
    deleteObject(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    deleteObject(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    deleteObject(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    deleteObject(block);
}

#if !defined(__SANITIZE_ADDRESS__)

extern "C" {

void* malloc(std::size_t bytes) {
    return take(bytes, [=] { return __libc_malloc(bytes); });
}
void* calloc(std::size_t count, std::size_t bytes) {
    return take(0, [=] { return __libc_calloc(count, bytes); });
}
void* realloc(void* block, std::size_t bytes) {
    if (block == nullptr) return malloc(bytes);
    return isRefused() ? nullptr : __libc_realloc(block, bytes);
}
void* memalign(std::size_t alignment, std::size_t bytes) {
    return take(bytes, [=] { return __libc_memalign(alignment, bytes); });
}
void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
    return memalign(alignment, bytes);
}
int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) {
    *block = memalign(alignment, bytes);
    return *block == nullptr ? ENOMEM : 0;
}
void free(void* block) {
    if (block == nullptr) return;
    --live;
    __libc_free(block);
}

}  // extern "C"

#endif
