// The call record: its life, and its blocks of extra data by tag.
#include "pzel/plugin/call_record.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>

#include "pzel/component/movie.h"

namespace {

ExData* find(Interface* record, ExDataTag tag) {
    if (record == nullptr || record->exData == nullptr) return nullptr;
    ExData* const end = record->exData + record->numbExData;
    ExData* const found =
        std::find_if(record->exData, end, [=](const ExData& block) { return block.tag == tag; });
    return found == end ? nullptr : found;
}

template <class T>
T* dataOf(Interface* record, ExDataTag tag) {
    const ExData* const block = find(record, tag);
    return block == nullptr ? nullptr : static_cast<T*>(block->data);
}

bool ownsData(const ExData& block) {
    const bool canOwn =
        block.tag == ExDataRectangle || block.tag == ExDataInterval || block.tag == ExDataUserRequest;
    return canOwn && (block.flags & ExDataOwned) != 0;
}

}  // namespace

void InterfaceInit(Interface* record) {
    *record = {};
    record->state = InterfaceReady;
    record->movie = new (std::nothrow) Movie;
}

void InterfaceCleanup(Interface* record) {
    Movie* const movie = std::exchange(record->movie, nullptr);
    if (movie != nullptr) movie->Release();
    record->state = InterfaceEmpty;
    DeleteExData(std::exchange(record->exData, nullptr), static_cast<int>(record->numbExData));
}

ExData* MoreExData(Interface* record) {
    assert(record->exData != nullptr || record->numbExData == 0);
    const std::size_t count = record->numbExData;
    auto* const blocks = static_cast<ExData*>(::operator new((count + 1) * sizeof(ExData)));
    std::copy_n(record->exData, count, blocks);
    blocks[count] = {};
    ::operator delete(std::exchange(record->exData, blocks));
    ++record->numbExData;
    return &blocks[count];
}

void DeleteExData(ExData* array, int count) {
    if (array == nullptr) return;
    std::for_each(array, array + count, [](const ExData& block) {
        if (ownsData(block)) ::operator delete(block.data);
    });
    ::operator delete(array);
}

SRect* GetRectangle(Interface* record) {
    return dataOf<SRect>(record, ExDataRectangle);
}

YInterval* GetInterval(Interface* record) {
    return dataOf<YInterval>(record, ExDataInterval);
}

char* FindUserRequest(Interface* record) {
    return dataOf<char>(record, ExDataUserRequest);
}

void* GetUserData(Interface* record) {
    return dataOf<void>(record, ExDataUserData);
}

void AddUserData(Interface* record, void* data) {
    ExData* const block = MoreExData(record);
    block->tag = ExDataUserData;
    block->data = data;
}

void SetIterationNumber(Interface* record, int number) {
    ExData* const block = find(record, ExDataIteration);
    if (block != nullptr) block->data = reinterpret_cast<void*>(static_cast<std::intptr_t>(number));
}

void GetMovieRange(Interface* record, int& start, int& length) {
    start = length = -1;
    if (record == nullptr || record->exData == nullptr) return;
    const YInterval* const interval = GetInterval(record);
    assert(interval != nullptr);
    start = interval->start;
    length = interval->end - interval->start;
}
