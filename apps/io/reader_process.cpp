// Starting a reader, asking it, and telling how it ended.
#include "apps/io/reader_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>

#include "apps/io/message.h"
#include "apps/io/program_parts.h"
#include "apps/io/reader_limits.h"

extern char** environ;

namespace pzel_io {

namespace {

// Of what a reader may use of the processor: machines are busy with other things.
constexpr double kWaitingFactor = 10;

// Seconds between looks at whether the host still wants an answer.
constexpr double kLookForStop = 0.02;

class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int opened) : number(opened) {}
    Descriptor(Descriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor() {
        if (number >= 0) close(number);
    }
    int Number() const { return number; }
    explicit operator bool() const { return number >= 0; }

  private:
    int number = -1;
};

// A running program with a socket to talk to it.
class Child {
  public:
    Child(const std::filesystem::path& program, const Descriptor& memory) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
            throw Failure("socketpair", errno);
        socket = Descriptor(ends[0]);
        // Above those that the program gets: giving it one must not close another.
        const Descriptor inherited(ends[1]);
        const Descriptor theirs(fcntl(ends[1], F_DUPFD_CLOEXEC, kFirstFree));
        const Descriptor shared(fcntl(memory.Number(), F_DUPFD_CLOEXEC, kFirstFree));
        const Descriptor reports(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, kFirstFree));
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            posix_spawn_file_actions_addopen(&files, standard, "/dev/null", O_RDWR, 0);
        posix_spawn_file_actions_adddup2(&files, theirs.Number(), kReaderSocket);
        posix_spawn_file_actions_adddup2(&files, shared.Number(), kReaderMemory);
        if (kIsSanitized && reports)
            posix_spawn_file_actions_adddup2(&files, reports.Number(), kReaderReports);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        std::string name = program.string();
        char* arguments[] = {name.data(), nullptr};
        const int error = posix_spawn(&process, name.c_str(), &files, &attributes, arguments, environ);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
        if (error) throw Failure(name, error);
    }
    ~Child() { End(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool Tell(const Message& message) const { return Send(socket.Number(), message); }

    // Waits for an answer. Nothing where the program has ended, takes too long, or is given up.
    std::optional<Message> Hear(double seconds, const std::atomic<bool>* stop) const {
        using Clock = std::chrono::steady_clock;
        const auto end = Clock::now() + std::chrono::duration<double>(seconds);
        pollfd waiting{socket.Number(), POLLIN, 0};
        for (;;) {
            const std::chrono::duration<double> left = end - Clock::now();
            const double patience = stop ? std::min(kLookForStop, left.count()) : left.count();
            const int ready = poll(&waiting, 1, static_cast<int>(std::ceil(std::max(patience, 0.0) * 1e3)));
            if (ready > 0) return Receive(socket.Number());
            if (ready < 0 && errno != EINTR) return {};
            if ((stop && *stop) || Clock::now() >= end) return {};
        }
    }

    // Ends the program if it has not ended yet. Its status, as waitpid tells it.
    int End() {
        if (process <= 0) return status;
        socket = Descriptor();
        // One that looks for its leaks ends by itself.
        siginfo_t ended{};
        const bool gone =
            waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            ended.si_pid == process;
        if (!gone && !kIsSanitized) kill(process, SIGKILL);
        while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
        }
        process = 0;
        return status;
    }

  private:
    static constexpr int kFirstFree = kReaderReports + 1;

    static std::runtime_error Failure(const std::string& what, int error) {
        return std::runtime_error(what + ": " + std::strerror(error));
    }

    Descriptor socket;
    pid_t process = 0;
    int status = 0;
};

class Mapping {
  public:
    Mapping() = default;
    Mapping(const Descriptor& memory, std::size_t bytes)
        : size(bytes), start(mmap(nullptr, bytes, PROT_READ, MAP_SHARED, memory.Number(), 0)) {
        if (start == MAP_FAILED) throw std::bad_alloc();
    }
    Mapping(Mapping&& other) noexcept
        : size(std::exchange(other.size, 0)), start(std::exchange(other.start, nullptr)) {}
    Mapping& operator=(Mapping&& other) noexcept {
        std::swap(size, other.size);
        std::swap(start, other.start);
        return *this;
    }
    ~Mapping() {
        if (start) munmap(start, size);
    }
    std::span<const unsigned char> Pixels() const { return {static_cast<unsigned char*>(start), size}; }

  private:
    std::size_t size = 0;
    void* start = nullptr;
};

}  // namespace

// A running reader and the memory that it shares.
class ReaderProgram {
  public:
    explicit ReaderProgram(std::string readerKind)
        : kind(std::move(readerKind)),
          memory(memfd_create("pzel-frame", MFD_CLOEXEC | MFD_ALLOW_SEALING)),
          child(FindPart("pzel-read-" + kind), memory) {
        if (!memory) throw std::runtime_error(std::string("no memory to share: ") + std::strerror(errno));
    }

    const std::string kind;
    const Descriptor memory;
    Child child;
};

ReaderPool::ReaderPool() = default;
ReaderPool::~ReaderPool() = default;

std::unique_ptr<ReaderProgram> ReaderPool::Take(const std::string& kind) {
    const auto found = idle.find(kind);
    if (found == idle.end()) return std::make_unique<ReaderProgram>(kind);
    auto program = std::move(found->second);
    idle.erase(found);
    return program;
}

void ReaderPool::GiveBack(std::unique_ptr<ReaderProgram> program) {
    const std::string& kind = program->kind;
    idle.try_emplace(kind, std::move(program));
}

namespace {

class ReaderProcess final : public PictureSource {
  public:
    ReaderProcess(const std::filesystem::path& file, const FileKind& kind, const OpenOptions& options,
                  ReaderPool* programs)
        : pool(programs), stop(options.stop) {
        info.file = file;
        std::error_code unknown;
        const std::uintmax_t size = std::filesystem::file_size(file, unknown);
        fileBytes = unknown ? 0 : size;
        program = pool ? pool->Take(kind.reader) : std::make_unique<ReaderProgram>(kind.reader);
        Message open;
        open.Put(Ask::Open);
        open.Put(file.string());
        open.Put(kind.format);
        OpenOptions sent = options;
        sent.stop = nullptr;
        open.Put(sent);
        program->child.Tell(open);
        Message answer = Heard(Answer::Info);
        info = answer.Take<PictureInfo>();
        info.file = file;
        CheckInfo();
        rows = {0, info.height - 1};
        MapMemory();
    }

    ~ReaderProcess() override {
        if (pool && program && !asked) pool->GiveBack(std::move(program));
    }

    Frame Read(std::uint32_t frame, Layout layout) override {
        if (frame >= info.frames) {
            Fail("has no frame " + std::to_string(frame) + "; its frames are 0 to " +
                 std::to_string(info.frames - 1));
        }
        if (asked && *asked != frame) {
            asked.reset();
            HearAnything();
        }
        Expect(frame);
        asked.reset();
        const auto notes = Heard(Answer::Frame).Take<FrameNotes>();
        Frame read{nullptr, notes.window ? notes.window : info.window, notes.notes};
        if (layout == Layout::Interleaved && info.channels > 1 && !FitsInterleaved(info)) {
            layout = Layout::Planar;
            read.notes.push_back("kept planar: its rows are too long to be interleaved");
        }
        read.image = MakeRecord(info, layout, rows, mapping.Pixels());
        return read;
    }

    void Expect(std::uint32_t frame) override {
        if (asked || frame >= info.frames) return;
        Message request;
        request.Put(Ask::Frame);
        request.Put(FrameRequest{frame, rows});
        if (program) program->child.Tell(request);
        asked = frame;
    }

    void WantRows(const Rows& wanted) override { rows = wanted; }

  private:
    Message HearAnything() {
        if (!program) Fail("its reader has ended");
        const double seconds = kWaitingFactor * ReaderSeconds(fileBytes, mapping.Pixels().size());
        auto answer = program->child.Hear(seconds, stop);
        if (answer) return std::move(*answer);
        if (stop && *stop) {
            program.reset();
            Fail("was given up");
        }
        const int status = program->child.End();
        program.reset();
        Fail(WayOfEnding(status));
    }

    Message Heard(Answer kind) {
        Message answer = HearAnything();
        const auto heard = answer.Take<Answer>();
        if (heard == Answer::Error) Fail(answer.Take<std::string>());
        if (heard != kind) Fail("its reader answers something else");
        return answer;
    }

    static std::string WayOfEnding(int status) {
        if (!WIFSIGNALED(status)) return "cannot be read: its reader ended";
        const int signal = WTERMSIG(status);
        if (signal == SIGPROF || signal == SIGKILL) return "takes too long to read: damaged, or too large";
        return std::string("ended its reader (") + strsignal(signal) + "): damaged, or of an unknown kind";
    }

    // A reader that a file has upset may say anything.
    void CheckInfo() const {
        const bool grey = info.model == SubGrey || info.model == SubColour || info.model == SubYuv;
        const bool bits = info.type == DataBit;
        if (info.frames < 1 || info.channels < 1 || info.channels > 3 || !grey ||
            (bits && info.channels != 1) || (!bits && ElementBytes(info.type) == 0)) {
            Fail("its reader tells of an impossible picture");
        }
        CheckSize(info);
    }

    void MapMemory() {
        struct stat found {};
        const std::size_t bytes = FrameBytes(info);
        if (fstat(program->memory.Number(), &found) != 0 || static_cast<std::size_t>(found.st_size) < bytes ||
            fcntl(program->memory.Number(), F_ADD_SEALS, F_SEAL_SHRINK) != 0) {
            Fail("its reader shares no pixels");
        }
        mapping = Mapping(program->memory, bytes);
    }

    ReaderPool* pool;
    const std::atomic<bool>* stop;
    std::uintmax_t fileBytes = 0;
    std::unique_ptr<ReaderProgram> program;
    Mapping mapping;
    Rows rows{};
    std::optional<std::uint32_t> asked;  // the frame that is being read
};

}  // namespace

std::unique_ptr<PictureSource> OpenReaderProcess(const std::filesystem::path& file, const FileKind& kind,
                                                 const OpenOptions& options, ReaderPool* pool) {
    return std::make_unique<ReaderProcess>(file, kind, options, pool);
}

}  // namespace pzel_io
