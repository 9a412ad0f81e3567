// The life of comp info records. What the fields mean is for their users to know.
#include "pzel/component/comp_info.h"

#include <cassert>

CompInfo* AllocCompInfo() {
    return new CompInfo;
}

void CopyCompInfo(CompInfo* dst, const CompInfo* src, bool /*flag*/) {
    assert(dst != nullptr && src != nullptr);
    *dst = *src;
}

void CleanupCompInfo(CompInfo* info) {
    assert(info != nullptr);
    *info = CompInfo{};
}

void DeleteCompInfo(CompInfo* info) {
    delete info;
}
