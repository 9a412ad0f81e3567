// Hidden files and their end. A signal may come at any moment and in any thread, so the names of what is to
// be removed lie ready in memory that is never given back.
#include "apps/io/output_file.h"

#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>

#include "apps/io/picture_info.h"

namespace pzel_io {

namespace {

constexpr int kMostHidden = 64;  // at a time; more would not be removed by signals
constexpr int kNoPlace = -1;
constexpr int kMostLinks = 40;
constexpr mode_t kPermissions = 07777;

// The names that a signal removes.
class HiddenNames {
  public:
    static int Add(const std::string& name) {
        static std::once_flag prepared;
        std::call_once(prepared, CatchSignals);
        if (name.size() >= PATH_MAX) return kNoPlace;
        for (int i = 0; i < kMostHidden; ++i) {
            State free = State::Free;
            if (!entries[i].state.compare_exchange_strong(free, State::Filling)) continue;
            std::memcpy(entries[i].name, name.c_str(), name.size() + 1);
            entries[i].state = State::Set;
            return i;
        }
        return kNoPlace;
    }
    static void Remove(int place) {
        if (place != kNoPlace) entries[place].state = State::Free;
    }

  private:
    enum class State { Free, Filling, Set };
    struct Entry {
        std::atomic<State> state;
        char name[PATH_MAX];
    };
    static_assert(std::atomic<State>::is_always_lock_free);

    // A child that has not become another program yet leaves its parent's files alone.
    static void OnSignal(int signal) {
        const int kept = errno;
        if (getpid() == owner) {
            for (const Entry& entry : entries) {
                if (entry.state == State::Set) unlink(entry.name);
            }
        }
        errno = kept;
        raise(signal);  // comes when this returns, and finds the default
    }

    static void CatchSignals() {
        owner = getpid();
        // A limit on file sizes is an error like a full disk.
        ::signal(SIGXFSZ, SIG_IGN);
        for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGXCPU}) {
            struct sigaction action {};
            if (sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
            action.sa_handler = OnSignal;
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            sigaction(number, &action, nullptr);
        }
    }

    static std::array<Entry, kMostHidden> entries;
    static pid_t owner;
};

std::array<HiddenNames::Entry, kMostHidden> HiddenNames::entries;
pid_t HiddenNames::owner;

bool IsSame(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// Where a chain of links ends, whether there is a file or not.
std::filesystem::path LinkTarget(std::filesystem::path file) {
    std::error_code error;
    for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(file, error); ++i) {
        const std::filesystem::path to = std::filesystem::read_symlink(file, error);
        if (error) break;
        file = file.parent_path() / to;
    }
    return file;
}

// Beside the target, and as long a name as folders take.
std::string HiddenName(const std::filesystem::path& target, unsigned number) {
    constexpr std::size_t kLongest = 200;
    std::string name(1, '.');
    name += target.filename().string().substr(0, kLongest);
    name += "." + std::to_string(getpid()) + "-" + std::to_string(number) + ".part";
    return target.parent_path() / name;
}

}  // namespace

bool IsStandardOutput(const std::filesystem::path& file) {
    if (file == kStandardOutput) return true;
    struct stat named {
    }, standard{};
    return stat(file.c_str(), &named) == 0 && fstat(STDOUT_FILENO, &standard) == 0 &&
           IsSame(named, standard) && !S_ISCHR(named.st_mode);
}

bool IsDevice(const std::filesystem::path& file) {
    struct stat found {};
    return stat(file.c_str(), &found) == 0 && !S_ISREG(found.st_mode) && !S_ISDIR(found.st_mode);
}

OutputFile::OutputFile(const std::filesystem::path& file) : name(file), target(LinkTarget(file)) {
    if (IsStandardOutput(file)) {
        if (file == kStandardOutput) name = "standard output";
        descriptor = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    } else if (IsDevice(file)) {
        descriptor = open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    } else {
        OpenBeside();
    }
    if (descriptor < 0) Fail(errno);
}

OutputFile::~OutputFile() {
    if (descriptor >= 0) close(descriptor);
    if (hidden.empty()) return;
    unlink(hidden.c_str());
    HiddenNames::Remove(place);
}

void OutputFile::OpenBeside() {
    static std::atomic<unsigned> count = 0;
    struct stat old {};
    const bool exists = stat(target.c_str(), &old) == 0;
    if (exists && S_ISDIR(old.st_mode)) Fail(EISDIR);
    // Renaming would not ask for it.
    if (exists && faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) Fail(errno);
    do {
        HiddenNames::Remove(place);
        hidden = HiddenName(target, count++);
        place = HiddenNames::Add(hidden);
        descriptor = open(hidden.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (descriptor < 0 && errno == EEXIST);
    if (descriptor < 0) {
        const int error = errno;
        HiddenNames::Remove(place);
        hidden.clear();
        Fail(error);
    }
    if (!exists) return;
    // As far as the system lets us: owners need rights that few have, some file systems know neither. A
    // change of owner takes bits of the mode away, so the mode comes last.
    [[maybe_unused]] const int owned = fchown(descriptor, old.st_uid, old.st_gid);
    [[maybe_unused]] const int kept = fchmod(descriptor, old.st_mode & kPermissions);
}

void OutputFile::Write(std::span<const unsigned char> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) Fail(errno);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

void OutputFile::Close() {
    const int closing = descriptor;
    descriptor = -1;
    if (close(closing) != 0 && errno != EINTR) Fail(errno);
}

void OutputFile::Commit() {
    if (hidden.empty()) return;
    if (rename(hidden.c_str(), target.c_str()) != 0) Fail(errno);
    HiddenNames::Remove(place);
    hidden.clear();
}

void OutputFile::Fail(int error) const {
    throw FileError(name, std::string("cannot be written: ") + std::strerror(error));
}

}  // namespace pzel_io
