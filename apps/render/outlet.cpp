// Sheets are numbered when there is more than one: the first is written when the second begins.
#include "outlet.h"

#include <unistd.h>

#include <cstdio>

#include "print_lines.h"

namespace {

constexpr std::size_t kFewestDigits = 4;  // of a number in a file name
constexpr std::uint64_t kSome = 2;        // pictures, where their number is unknown

}  // namespace

std::filesystem::path NumberedName(const std::filesystem::path& output, std::uint32_t number) {
    std::string digits = std::to_string(number);
    if (digits.size() < kFewestDigits) digits.insert(0, kFewestDigits - digits.size(), '0');
    return output.parent_path() / (output.stem().string() + "_" + digits + output.extension().string());
}

Outlet::Outlet(std::string name, const WriteSettings& settings, const std::optional<MontageOptions>& wishes,
               std::uint64_t expected, Lines told)
    : output(std::move(name)),
      total(expected),
      lines(told),
      shows(expected > 1 && isatty(STDERR_FILENO)),
      queue(settings, expected == 0 ? kSome : expected, [this](const std::string& line) { Tell(line); }) {
    if (wishes && !output.empty()) montage.emplace(*wishes);
}

Outlet::~Outlet() {
    if (shows) std::fputs("\r\033[K", stderr);
}

void Outlet::Show(std::uint64_t done) const {
    if (shows)
        std::fprintf(stderr, "\r%llu of %llu pictures", static_cast<unsigned long long>(done),
                     static_cast<unsigned long long>(total));
}

// Where the pictures themselves do not go.
void Outlet::Tell(const std::string& told) const {
    if (told.empty()) return;
    if (shows) std::fputs("\r\033[K", stderr);  // makes room on the same terminal
    PrintLines(pzel_io::IsStandardOutput(output) ? stderr : stdout, told);
}

void Outlet::Put(const std::filesystem::path& file, const pzel_io::FilePicture& picture,
                 const std::string& told) {
    queue.Put(file, picture, told);
}

void Outlet::PutCell(const ShownBitmap& picture, const std::string& title, const std::string& told) {
    if (montage->IsFull()) WriteSheet(NumberedName(output, sheets));
    montage->Add(picture, title);
    queue.Put({}, {}, told);
}

void Outlet::WriteSheet(const std::filesystem::path& file) {
    const ShownBitmap& sheet = montage->Sheet();
    const std::string line = "sheet of " + std::to_string(sheet.width) + " x " +
                             std::to_string(sheet.height) + " pixels -> " + file.string() + "\n";
    queue.Put(file, pzel_io::AsFilePicture(sheet), lines == Lines::Told ? line : "");
    ++sheets;
}

void Outlet::Finish() {
    if (montage && !montage->IsEmpty())
        WriteSheet(sheets == 0 ? std::filesystem::path(output) : NumberedName(output, sheets));
    queue.Finish();
}
