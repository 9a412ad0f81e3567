// What is written: the bitmap's pixels in every format, whole or not at all, whoever is in the way.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <latch>
#include <thread>

#include "apps/io/png_encoder.h"
#include "program.h"

extern char** environ;

namespace {

using Deep = Pixels<std::uint16_t>;

class WritingTest : public AppTest {
  protected:
    // Slopes with some noise, so that rows are worth filtering.
    template <class T>
    Pixels<T> Slopes(int width, int height, int channels, int step) {
        Pixels<T> picture(width, height, channels);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < channels; ++c)
                    picture.At(x, y, c) = static_cast<T>(step * (x + 2 * y + 40 * c) + int(random() % 7));
        return picture;
    }
    mode_t Mode(const std::string& name) const {
        struct stat found {};
        EXPECT_EQ(stat(Path(name).c_str(), &found), 0);
        return found.st_mode & 07777;
    }
    void ExpectOneLine(const Outcome& run, const std::string& named, const std::string& reason) {
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_NE(run.err.find(named), std::string::npos) << run.err;
        EXPECT_NE(run.err.find(reason), std::string::npos) << run.err;
    }
};

TEST_F(WritingTest, HoldsTheBitmapsPixels) {
    const Shown pictures[] = {Slopes<std::uint8_t>(1, 1, 1, 1), Slopes<std::uint8_t>(13, 7, 3, 1),
                              Slopes<std::uint8_t>(1009, 1200, 1, 1), Slopes<std::uint8_t>(701, 600, 3, 3)};
    for (const Shown& picture : pictures) {
        WritePicture<std::uint8_t>(Path("in.tif"), {picture});
        for (const auto& [name, compression] :
             std::initializer_list<std::pair<const char*, const char*>>{{"0.png", "0"},
                                                                        {"1.png", "1"},
                                                                        {"2.png", "2"},
                                                                        {"5.png", "5"},
                                                                        {"0.tif", "0"},
                                                                        {"1.tif", "1"}}) {
            const Outcome run =
                Render({Path("in.tif"), "-o", Path(name), "--compression", compression, "-q"});
            ASSERT_EQ(run.status, 0) << run.err;
            EXPECT_EQ(ReadShown(Path(name)), picture) << name;
        }
    }
}

// Nor does a file tell where the packer's memory was: each thread has other stacks and heaps.
TEST_F(WritingTest, GivesTheSameFileWhereverItIsPacked) {
    std::vector<unsigned char> pixels(10 * 6 * 3);
    for (std::size_t i = 0; i < pixels.size(); ++i)  // the same bytes again and again, from the first on
        pixels[i] = static_cast<unsigned char>(i % 30 < 12 ? 0 : random() % 3 * 90);
    const pzel_io::FilePicture picture{pixels.data(), 10, 6, 30, pzel_io::PixelKind::Bgr24};
    std::vector<pzel_io::FileBytes> files(400);
    std::latch all(std::ptrdiff_t(files.size()));
    {
        std::vector<std::jthread> threads;
        for (auto& file : files)
            threads.emplace_back([&] {
                file = pzel_io::EncodePng(picture, {});
                all.arrive_and_wait();
            });
    }
    for (const auto& file : files) ASSERT_EQ(file, files[0]);
}

TEST_F(WritingTest, KeepsBitsAsBits) {
    constexpr std::size_t kDepth = 24;  // where a PNG file tells of it
    for (const int width : {1, 16, 2021}) {
        Shown bits(width, 300, 1);
        for (std::uint8_t& value : bits.values) value = random() % 3 ? 0 : 255;
        WritePicture<std::uint8_t>(Path("in.tif"), {bits}, 1);
        for (const char* name : {"out.png", "out.tif", "out.jpg"}) {
            const Outcome run = Render({Path("in.tif"), "-o", Path(name)});
            ASSERT_EQ(run.status, 0) << run.err;
            EXPECT_NE(run.out.find("of 1 bit"), std::string::npos) << run.out;
            const bool exact = std::string(name) != "out.jpg";
            EXPECT_TRUE(!exact || ReadShown(Path(name)) == bits) << name << width;
        }
        EXPECT_EQ(ReadBytes(Path("out.png")).at(kDepth), 1);
        EXPECT_EQ(ReadShown(Path("out.jpg")).channels, 1);
    }
}

// Between the levels a value may be cut or rounded; at both ends, and where every value has its own, it is
// exact.
TEST_F(WritingTest, SpreadsLevelsOverSixteenBits) {
    const Deep grey = Slopes<std::uint16_t>(9000, 70, 1, 7);
    const Deep colour = Slopes<std::uint16_t>(300, 200, 3, 60);
    for (const Deep& picture : {grey, colour}) {
        WritePicture<std::uint16_t>(Path("in.tif"), {picture});
        const bool single = picture.channels == 1;
        const std::vector<double> lows = {500, single ? 500.0 : 1000, single ? 500.0 : 2000};
        const std::vector<double> highs = {40000, single ? 40000.0 : 30000, single ? 40000.0 : 20000};
        const std::string levels = single ? "500:40000" : "500:40000,1000:30000,2000:20000";
        for (const std::string name : {"out.png", "out.tif"}) {
            const std::string output = Path(name);
            const Outcome whole = Render({Path("in.tif"), "-o", output, "--depth", "16", "--levels", "full"});
            ASSERT_EQ(whole.status, 0) << whole.err;
            EXPECT_EQ(ReadDeep(output), picture) << name;
            const Outcome run = Render({Path("in.tif"), "-o", output, "--depth", "16", "--levels", levels,
                                        "--gamma", "2", "--invert", "--area", "3,1,250,60"});
            ASSERT_EQ(run.status, 0) << run.err;
            const Deep shown = ReadDeep(output);
            ASSERT_EQ(shown.width, 248);
            for (int y = 0; y < shown.height; ++y)
                for (int x = 0; x < shown.width; ++x)
                    for (int c = 0; c < shown.channels; ++c) {
                        const double value = picture.At(x + 3, y + 1, c);
                        const double level = std::clamp((value - lows[c]) / (highs[c] - lows[c]), 0.0, 1.0);
                        ASSERT_NEAR(shown.At(x, y, c), 65535 * (1 - std::sqrt(level)), 1.1);
                    }
        }
    }
    WritePicture<std::uint8_t>(Path("bytes.tif"), {Slopes<std::uint8_t>(50, 50, 1, 1)});
    ASSERT_EQ(Render({Path("bytes.tif"), "-o", Path("out.png"), "--depth", "16"}).status, 0);
    const Shown bytes = ReadShown(Path("bytes.tif"));
    const Deep deep = ReadDeep(Path("out.png"));
    for (std::size_t i = 0; i < bytes.values.size(); ++i) ASSERT_EQ(deep.values[i], bytes.values[i] * 257);
}

// A coloured line of one pixel is where subsampled colour would fade.
TEST_F(WritingTest, KeepsColoursOfThinLinesInJpeg) {
    Shown picture(64, 64, 3);
    std::fill(picture.values.begin(), picture.values.end(), std::uint8_t{128});
    for (int y = 0; y < picture.height; ++y) {
        picture.At(31, y, 0) = 230;
        picture.At(31, y, 1) = picture.At(31, y, 2) = 20;
    }
    WritePicture<std::uint8_t>(Path("in.tif"), {picture});
    ASSERT_EQ(Render({Path("in.tif"), "-o", Path("out.JPG"), "--quality", "95"}).status, 0);
    const Shown shown = ReadShown(Path("out.JPG"));
    ASSERT_EQ(shown.channels, 3);
    for (std::size_t i = 0; i < picture.values.size(); ++i)
        ASSERT_NEAR(shown.values[i], picture.values[i], 25) << i;
    ASSERT_EQ(Render({Path("in.tif"), "-o", Path("small.jpg"), "--quality", "20"}).status, 0);
    EXPECT_LT(ReadBytes(Path("small.jpg")).size(), ReadBytes(Path("out.JPG")).size());
}

TEST_F(WritingTest, LeavesTheOldFileWhereTheNewOneDoesNotFit) {
    // More pixels than the limit has bytes, so that it is the file that breaks it.
    WritePicture<std::uint8_t>(Path("in.tif"), {Shown(512, 512, 1)});
    WriteBytes("old.png", "good");
    const std::string command = Command({Path("in.tif"), "-o", Path("old.png"), "--compression", "0"});
    ExpectOneLine(Shell("ulimit -f 512; " + command), Path("old.png"), "File too large");
    EXPECT_EQ(ReadBytes(Path("old.png")), "good");
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.tif", "old.png"}));
    ExpectOneLine(Render({Path("in.tif"), "-o", "/dev/full"}), "/dev/full", "No space left");

    const std::string disk = Path("disk");
    const std::string full = disk + "/old.png";
    const std::string mount = "unshare -m sh -c 'mount -t tmpfs -o size=64k none " + disk + " && ";
    std::filesystem::create_directory(disk);
    if (Shell(mount + "true'").status != 0) return;  // not allowed here; the limit above stands for it
    for (const char* name : {"old.png", "old.tif"}) {
        const std::string target = disk + "/" + name;
        const Outcome run =
            Shell(mount + "echo good >" + target + " && { \"$@\"; echo $?; cat " + target + "; ls -A " +
                  disk + "; }' sh " + Command({Path("in.tif"), "-o", target, "--compression", "0"}));
        EXPECT_EQ(run.out, std::string("1\ngood\n") + name + "\n");
        EXPECT_NE(run.err.find(target + ": cannot be written: No space left"), std::string::npos) << run.err;
    }
}

TEST_F(WritingTest, LeavesNothingWhereASignalEndsIt) {
    using namespace std::chrono_literals;
    WritePicture<std::uint8_t>(Path("in.tif"), {Slopes<std::uint8_t>(8000, 6000, 1, 1)});
    WriteBytes("out.png", "good");
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::vector<std::string> arguments = {PZEL_RENDER, Path("in.tif"),  "-o", Path("out.png"),
                                              "-q",        "--compression", "9"};
        std::vector<char*> pointers;
        for (std::string& argument : arguments) pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        // Signals that were ignored here would be there as well.
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t all;
        sigfillset(&all);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
        pid_t process = 0;
        ASSERT_EQ(posix_spawn(&process, PZEL_RENDER, nullptr, &attributes, pointers.data(), environ), 0);
        posix_spawnattr_destroy(&attributes);
        // The unfinished file is there while its rows are packed, which takes long.
        for (int i = 0; i < 30000 && Files().size() == 2; ++i) std::this_thread::sleep_for(1ms);
        EXPECT_EQ(Files().size(), 3);
        kill(process, number);
        int status = 0;
        ASSERT_EQ(waitpid(process, &status, 0), process);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
        EXPECT_EQ(Files(), (std::vector<std::string>{"in.tif", "out.png"}));
        EXPECT_TRUE(ReadBytes(Path("out.png")) == "good");
    }
}

TEST_F(WritingTest, KeepsPermissionsAndLinks) {
    const std::string grey = PictureSample("moon.png");
    ASSERT_EQ(Shell("umask 027; " + Command({grey, "-o", Path("new.png")})).status, 0);
    EXPECT_EQ(Mode("new.png"), 0640);
    WriteBytes("old.png", "old");
    ASSERT_EQ(chmod(Path("old.png").c_str(), 0604), 0);
    std::filesystem::create_symlink("old.png", Path("link.png"));
    ASSERT_EQ(Render({grey, "-o", Path("link.png")}).status, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link.png")));
    EXPECT_EQ(Mode("old.png"), 0604);
    EXPECT_EQ(ReadBytes(Path("old.png")), ReadBytes(Path("new.png")));
    if (geteuid() == 0) return;  // whom permissions do not stop
    ASSERT_EQ(chmod(Path("old.png").c_str(), 0444), 0);
    ExpectOneLine(Render({grey, "-o", Path("old.png")}), "old.png", "Permission denied");
}

TEST_F(WritingTest, GoesToStandardOutputAndPipes) {
    const std::string grey = PictureSample("moon.png");
    ASSERT_EQ(Render({grey, "-o", Path("file.png")}).status, 0);
    const std::string bytes = ReadBytes(Path("file.png"));
    for (const char* output : {"-", "/dev/stdout"}) {
        const Outcome run = Render({grey, "-o", output, "--pixel", "3,4"});
        EXPECT_EQ(run.status, 0);
        EXPECT_TRUE(run.out == bytes) << output;
        EXPECT_NE(run.err.find("pixel 3,4"), std::string::npos) << run.err;
    }
    EXPECT_EQ(Render({grey, "-o", "-", "--format", "jpeg", "-q"}).out.substr(0, 2), "\xFF\xD8");
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    const Outcome piped =
        Shell("cat " + Path("pipe") + " & " + Command({grey, "-q", "-o", Path("pipe")}) + " && wait");
    EXPECT_EQ(piped.status, 0);
    EXPECT_TRUE(piped.out == bytes);
    ExpectOneLine(Shell(Command({grey, "-o", "-", "-q"}) + " >/dev/full"), "standard output",
                  "No space left");
    ExpectOneLine(Shell(Command({grey, "-o", Path("x.png")}) + " >/dev/full"), "standard output", "No space");
    ExpectOneLine(Shell(Command({"--help"}) + " >/dev/full"), "standard output", "No space left");
    ExpectOneLine(Shell(Command({grey, "--pixel", "1,1"}) + " >&-"), "standard output", "");
}

TEST_F(WritingTest, WritesFramesInOrderUpToTheFirstError) {
    constexpr int kFrames = 12;
    std::vector<Shown> frames;
    for (int i = 0; i < kFrames; ++i) frames.push_back(Slopes<std::uint8_t>(200, 150, 1, i + 1));
    WritePicture<std::uint8_t>(Path("in.tif"), frames);
    const auto name = [](int i) {
        return std::string("out_00") + (i < 10 ? "0" : "") + std::to_string(i) + ".png";
    };
    const Outcome all = Render({Path("in.tif"), "-o", Path("out.png"), "--all", "--per-frame"});
    ASSERT_EQ(all.status, 0) << all.err;
    std::size_t at = 0;
    for (int i = 0; i < kFrames; ++i) {
        EXPECT_EQ(ReadShown(Path(name(i))), frames[i]) << i;
        at = all.out.find(name(i), at);
        EXPECT_NE(at, std::string::npos) << all.out;
        std::filesystem::remove(Path(name(i)));
    }
    std::filesystem::create_directory(Path(name(5)));
    const Outcome some = Render({Path("in.tif"), "-o", Path("out.png"), "--all"});
    ExpectOneLine(some, name(5), "Is a directory");
    EXPECT_EQ(std::count(some.out.begin(), some.out.end(), '\n'), 5);
    std::vector<std::string> expected = {"in.tif"};
    for (int i = 0; i <= 5; ++i) expected.push_back(name(i));
    EXPECT_EQ(Files(), expected);
}

}  // namespace
