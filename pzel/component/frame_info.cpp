// Both sets follow the same rules, told once.
#include "pzel/component/frame_info.h"

#include <iterator>

namespace {

constexpr long kNone = -1;

std::int32_t Narrow(long frame) {
    return static_cast<std::int32_t>(frame);
}

long Find(const FrameInfo::Frames& frames, long frame) {
    return frames.count(Narrow(frame)) ? Narrow(frame) : kNone;
}

long ByOrder(const FrameInfo::Frames& frames, long index) {
    if (index < 0 || index >= long(frames.size())) return kNone;
    return *std::next(frames.begin(), index);
}

}  // namespace

FrameInfo::FrameInfo() = default;
FrameInfo::~FrameInfo() = default;

void FrameInfo::SetStartframe(long frame) {
    startFrame = Narrow(frame);
}
bool FrameInfo::FindKeepFrame(long frame) const {
    return keepFrames.count(Narrow(frame)) > 0;
}
bool FrameInfo::FindCutFrame(long frame) const {
    return cutFrames.count(Narrow(frame)) > 0;
}
void FrameInfo::EraseKeepFrame(long frame) {
    keepFrames.erase(Narrow(frame));
}
void FrameInfo::EraseCutFrame(long frame) {
    cutFrames.erase(Narrow(frame));
}
void FrameInfo::InsertKeepFrame(long frame) {
    keepFrames.insert(Narrow(frame));
}
void FrameInfo::InsertCutFrame(long frame) {
    cutFrames.insert(Narrow(frame));
}
FrameInfo::Frames FrameInfo::ReturnKeepFrames() const {
    return keepFrames;
}
FrameInfo::Frames FrameInfo::ReturnCutFrames() const {
    return cutFrames;
}
long FrameInfo::GetKeepSize() const {
    return long(keepFrames.size());
}
long FrameInfo::GetCutSize() const {
    return long(cutFrames.size());
}
long FrameInfo::GetKeepFrame(long frame) const {
    return Find(keepFrames, frame);
}
long FrameInfo::GetCutFrame(long frame) const {
    return Find(cutFrames, frame);
}
long FrameInfo::GetKeepFrameByOrder(long index) const {
    return ByOrder(keepFrames, index);
}
long FrameInfo::GetCutFrameByOrder(long index) const {
    return ByOrder(cutFrames, index);
}
FrameInfo* FrameInfo::Clone() const {
    return new FrameInfo(*this);
}

FrameInfo* AllocFrameInfo() {
    return new FrameInfo;
}
