// The program around a reader: under limits of memory and processor time it opens the file that the host
// names, and puts frames into the memory that both share. It ends when the host has gone.
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>

#include "apps/io/reader_limits.h"
#include "apps/io/readers/reader.h"

namespace pzel_io {

Reader::Reader(const OpenRequest& request) : options(request.options) {
    info.file = request.file;
    info.format = request.format;
}

void Reader::CheckHeld(double mostFromByte) const {
    std::error_code error;
    const auto bytes = static_cast<double>(std::filesystem::file_size(info.file, error));
    if (error || static_cast<double>(FrameBytes(info)) <= bytes * mostFromByte) return;
    Fail("is cut short, or damaged: " + std::to_string(info.width) + " x " + std::to_string(info.height) +
         " pixels are more than its bytes can hold");
}

namespace {

// Memory and time beyond what a file can honestly need end the reader, and the host says so.
class Limits {
  public:
    explicit Limits(std::uintmax_t size = 0) : fileBytes(size) {}
    void LimitMemory(std::size_t frameBytes) const {
        if (kIsSanitized) return;
        rlimit limit{};
        if (getrlimit(RLIMIT_AS, &limit) != 0) return;
        limit.rlim_cur = std::min<rlim_t>(ReaderBytes(fileBytes, frameBytes), limit.rlim_max);
        setrlimit(RLIMIT_AS, &limit);
    }
    // From now on; of the processor. Without a limit where it is 0.
    static void LimitTime(double seconds) {
        itimerval timer{};
        timer.it_value.tv_sec = static_cast<time_t>(seconds);
        timer.it_value.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * 1e6);
        setitimer(ITIMER_PROF, &timer, nullptr);
    }
    void LimitRequest(std::size_t frameBytes) const { LimitTime(ReaderSeconds(fileBytes, frameBytes)); }

  private:
    std::uintmax_t fileBytes;
};

// The host's memory for frames, as large as the largest one up to now.
class SharedMemory {
  public:
    void Grow(std::size_t bytes) {
        if (bytes <= pixels.size()) return;
        if (!pixels.empty()) munmap(pixels.data(), pixels.size());
        pixels = {};
        if (ftruncate(kReaderMemory, static_cast<off_t>(bytes)) != 0) throw std::bad_alloc();
        void* const shared = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, kReaderMemory, 0);
        if (shared == MAP_FAILED) throw std::bad_alloc();
        pixels = {static_cast<unsigned char*>(shared), bytes};
    }
    std::span<unsigned char> Pixels() const { return pixels; }

  private:
    std::span<unsigned char> pixels;
};

// Runs a step of the reader; what it throws becomes the answer.
template <class Step>
Message Answered(Step step) {
    Message answer;
    const auto refuse = [&](const std::string& reason) {
        answer = Message();
        answer.Put(Answer::Error);
        answer.Put(reason);
    };
    try {
        step(answer);
    } catch (const FileError& error) {
        refuse(error.Reason());
    } catch (const std::bad_alloc&) {
        refuse("does not fit into memory");
    } catch (const std::exception& error) {
        refuse(std::string("cannot be read: ") + error.what());
    }
    return answer;
}

class Program {
  public:
    void Run() {
        while (auto request = Receive(kReaderSocket)) {
            Tell(Answered([&](Message& answer) {
                if (request->Take<Ask>() == Ask::Open) {
                    Open(*request, answer);
                } else if (reader) {
                    ReadFrame(request->Take<FrameRequest>(), answer);
                }
            }));
        }
    }

  private:
    void Open(Message& request, Message& answer) {
        reader.reset();
        OpenRequest open;
        open.file = request.Take<std::string>();
        open.format = request.Take<std::string>();
        open.options = request.Take<OpenOptions>();
        std::error_code unknown;
        const std::uintmax_t size = std::filesystem::file_size(open.file, unknown);
        limits = Limits(unknown ? 0 : size);
        limits.LimitMemory(0);
        limits.LimitRequest(0);
        reader = OpenReader(open);
        CheckSize(reader->Info());
        limits.LimitMemory(FrameBytes(reader->Info()));
        memory.Grow(FrameBytes(reader->Info()));
        answer.Put(Answer::Info);
        answer.Put(reader->Info());
    }

    void ReadFrame(const FrameRequest& wanted, Message& answer) {
        const auto pixels = memory.Pixels().first(FrameBytes(reader->Info()));
        limits.LimitRequest(pixels.size() * reader->FramesForOne());
        const FrameNotes notes = reader->ReadPixels(wanted, pixels);
        answer.Put(Answer::Frame);
        answer.Put(notes);
    }

    static void Tell(const Message& answer) {
        Limits::LimitTime(0);
        Send(kReaderSocket, answer);
    }

    Limits limits;
    SharedMemory memory;
    std::unique_ptr<Reader> reader;
};

}  // namespace

}  // namespace pzel_io

#ifdef __SANITIZE_ADDRESS__
extern "C" void __sanitizer_set_report_fd(void* file);
#endif

int main() {
#ifdef __SANITIZE_ADDRESS__
    __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(pzel_io::kReaderReports)));
#endif
    mallopt(M_ARENA_MAX, 2);  // address space that threads only reserve counts as well
    pzel_io::Program().Run();
    // Nothing is left to do but what a sanitizer looks for.
    if (!pzel_io::kIsSanitized) _exit(0);
    return 0;
}
