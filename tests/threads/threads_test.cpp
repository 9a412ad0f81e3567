// Eight threads, each with movies of its own: what the library shares behind them must be guarded, and what
// each of them shows must be what one thread alone shows, also where each call is divided among further
// threads. Meant to run under ThreadSanitizer; hunts tables that are made twice, numbers that two names get,
// a registry that loses movies, and tasks that meet.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "pzel/pzel.h"
#include "tests/support/curve.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kThreads = 8, kRounds = 12;

struct Counting final : Observer {
    int updates = 0;
    void Update(IComponent*, int, std::intptr_t) override { ++updates; }
};

/// What a thread has seen.
struct Seen {
    Bytes pixels;
    std::vector<std::string> names;
    int updates = 0;
    bool wasRegistered = true;
};

/// A layer of any type, made of copies and conversions of a ramp.
Comp* layerOf(int type, bool interleaved, int sub) {
    Image ramp{};
    ConstructImage(ramp, 61, 40, 3, nullptr, DataUInt8, true, true);
    CheckDataArray(&ramp);
    for (unsigned i = 0; i < GetImageTotalBytes(&ramp); ++i) ramp.data[i] = static_cast<unsigned char>(i * 7);
    Comp* const comp = AllocComp(1);
    Image* const image = comp->GetCurrentImage();
    ConstructImage(*image, 61, 40, 3, nullptr, static_cast<unsigned short>(type), interleaved, true);
    SetSubType(image, static_cast<unsigned short>(sub));
    CheckDataArray(image);
    CopyImage(&ramp, image, 0, 0, 0, 0, 61, 40, static_cast<unsigned short>(CopyBorderNone));
    ComputeBound(image);
    CleanupImage(&ramp);
    return comp;
}

/// A movie's life from the first layer to the last reference.
void live(int round, Seen& seen) {
    const int types[] = {DataUInt8, DataInt16, DataUInt16, DataFloat};
    Movie* const movie = new Movie;
    Counting counting;
    movie->RegistMe();
    seen.wasRegistered = seen.wasRegistered && movie->HasRegisted() && Movie::GetCount() > 0;
    for (int i = 0; i < 3; ++i) {
        Comp* const comp = layerOf(types[(round + i) % 4], i == 1, i == 2 ? SubYuv : SubColour);
        movie->AddChild(comp);
        seen.names.emplace_back(comp->GetName());
        comp->SetLocation(5 * i, 3 * i);
        comp->SetOpacity(1.0f - 0.2f * static_cast<float>(i));
        comp->Release();
    }
    movie->AttachObserver_All(&counting);
    movie->GetChildAt(0)->SetBlackWhite(0, CompBlackWhite(10, 200));
    static_cast<Comp*>(movie->GetChildAt(1))->SwitchMapingMode(3);
    test::Curve bent;
    ConvertImage(movie->GetChildAt(0)->GetInternalComp()->GetCurrentImage(), &bent);
    ConvertAllDataToRGB(movie->GetChildAt(1)->GetInternalComp()->GetCurrentImage(), &bent);
    VectorInit();

    Bytes shown(80 * 60 * 3);
    ComposeMovie(movie, {shown.data(), 80 * 3, 80, 60}, {0, 79, 0, 59}, 1, nullptr, 24);
    seen.pixels.insert(seen.pixels.end(), shown.begin(), shown.end());

    seen.names.emplace_back(movie->GetName());
    seen.names.push_back(Movie::NewMovieName());
    Zel::Name::SetWorkingFolder("folder" + std::to_string(round));
    seen.names.push_back(Zel::Name::GenerateTemporaryFilename());
    Zel::Name name("folder" + std::to_string(round) + "\\file.tmp");
    if (name.GetFullPath() != "folder" + std::to_string(round) + "\\file.tmp") seen.names.push_back("lost");
    seen.names.push_back(Zel::Name().GetLogicalName());
    Conversion(nullptr, movie->GetChildAt(0)->GetInternalComp()->GetCurrentImage(), ConversionToYuv);

    Movie copy(*movie);
    copy.Cleanup();
    movie->DetachObserver_All(&counting);
    seen.updates += counting.updates;
    movie->UnregistMe();
    seen.wasRegistered = seen.wasRegistered && !movie->HasRegisted();
    movie->Release();
}

void run(Seen& seen) {
    for (int round = 0; round < kRounds; ++round) live(round, seen);
}

void silent(const char*) {}

/// A runner with threads of its own for each call.
void onThreads(int count, Zel::Task task, void* work) {
    std::atomic<int> next = 0;
    const auto take = [&] {
        for (int i; (i = next++) < count;) task(work, i);
    };
    std::thread other(take);
    take();
    other.join();
}

/// What large calls make: maps, conversions, remapping, counts, a composition, events.
Bytes large() {
    constexpr int width = 700, height = 500;
    Image ramp{};
    ConstructImage(ramp, width, height, 3, nullptr, DataUInt8, true, true);
    CheckDataArray(&ramp);
    for (unsigned i = 0; i < GetImageTotalBytes(&ramp); ++i)
        ramp.data[i] = static_cast<unsigned char>(i * 7 ^ i / 999);
    Movie* const movie = new Movie;
    Counting counting;
    movie->AttachObserver(&counting);
    test::Curve bent;
    for (const int type : {DataUInt8, DataUInt16, DataFloat}) {
        Comp* const comp = AllocComp(1);
        Image* const image = comp->GetCurrentImage();
        ConstructImage(*image, width, height, 3, nullptr, static_cast<unsigned short>(type),
                       type != DataUInt16, true);
        CheckDataArray(image);
        CopyImage(&ramp, image, 0, 0, 0, 0, width, height, static_cast<unsigned short>(CopyBorderNone));
        if (type == DataUInt8) ConvertAllDataToRGB(image, &bent);
        if (type == DataUInt16) ConvertImage(image, &bent);
        ComputeBound(image);
        movie->AddChild(comp);
        comp->SwitchMapingMode(type == DataFloat ? 3 : 0);
        comp->SetOpacity(0.6f);
        comp->Release();
    }
    Bytes shown(static_cast<std::size_t>(width) * height * 3);
    ComposeMovie(movie, {shown.data(), width * 3, width, height}, {0, width - 1, 0, height - 1}, 1, nullptr,
                 24);
    Histogram counted(100);
    counted.Add(movie->GetChildAt(2)->GetInternalComp()->GetCurrentImage());
    counted.Add(&ramp);
    const double sums[] = {counted.GetStatistics().sum, counted.GetStatistics().deviation};
    const auto* const bytes = reinterpret_cast<const unsigned char*>(sums);
    shown.insert(shown.end(), bytes, bytes + sizeof sums);
    shown.push_back(static_cast<unsigned char>(counting.updates));
    movie->DetachObserver(&counting);
    movie->Release();
    CleanupImage(&ramp);
    return shown;
}

TEST(Threads, LargeCallsInTasks) {
    const Bytes alone = large();
    for (const Zel::Runner runner : {Zel::Runner(nullptr), Zel::Runner(onThreads)}) {
        Zel::SetRunner(runner);
        std::vector<Bytes> made(kThreads);
        std::vector<std::thread> threads;
        for (Bytes& one : made) threads.emplace_back([&one] { one = large(); });
        for (std::thread& thread : threads) thread.join();
        Zel::SetRunner(nullptr);
        for (const Bytes& one : made) EXPECT_TRUE(one == alone);
    }
}

TEST(Threads, MoviesOfTheirOwn) {
    const Zel::MessageBoxHandler before = Zel::SetMessageBox(silent);
    std::vector<Seen> seen(kThreads);
    std::vector<std::thread> threads;
    for (Seen& one : seen) threads.emplace_back([&one] { run(one); });
    for (std::thread& thread : threads) thread.join();

    Seen alone;  // afterwards, so that nothing was made ready before
    run(alone);
    std::set<std::string> names(alone.names.begin(), alone.names.end());
    std::size_t count = alone.names.size();
    for (const Seen& one : seen) {
        EXPECT_TRUE(one.pixels == alone.pixels);
        EXPECT_EQ(one.updates, alone.updates);
        EXPECT_TRUE(one.wasRegistered);
        names.insert(one.names.begin(), one.names.end());
        count += one.names.size();
    }
    EXPECT_GT(alone.updates, 0);
    EXPECT_EQ(names.size(), count) << "two objects of one name";
    EXPECT_EQ(names.count("lost"), 0u);
    EXPECT_EQ(Movie::GetCount(), 0);
    VectorTermination();
    Zel::SetMessageBox(before);
}

}  // namespace
