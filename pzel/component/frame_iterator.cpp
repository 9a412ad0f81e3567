// The iterator is one step ahead: it knows the next frame, or that there is none, before it is asked to move.
#include "pzel/component/frame_iterator.h"

#include "pzel/component/movie.h"

FrameIterator::FrameIterator(const Ranges* list) : ranges(list) {
    Reset();
}

void FrameIterator::Reset() {
    range = 0;
    done = atEnd = ranges->empty();
    currentFrame = nextFrame = done ? 0 : ranges->front().first;
    GetNextFrame();
}

bool FrameIterator::Done() const {
    return done;
}

FrameIterator& FrameIterator::operator++() {
    if (atEnd) {
        done = true;
    } else {
        currentFrame = nextFrame;
        GetNextFrame();
    }
    return *this;
}

long FrameIterator::operator*() const {
    return currentFrame;
}

void FrameIterator::GetNextFrame() {
    if (done || atEnd) return;
    if (nextFrame < (*ranges)[range].second) {
        ++nextFrame;
    } else if (++range == ranges->size()) {
        atEnd = true;
    } else {
        nextFrame = (*ranges)[range].first;
    }
}

FrameIterator Movie::GetFrameIterator() {
    return FrameIterator(&ranges);
}
