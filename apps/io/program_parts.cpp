// The place of the code itself is the place of its program.
#include "apps/io/program_parts.h"

#include <dlfcn.h>
#include <link.h>

#include <stdexcept>

namespace pzel_io {

namespace {

// Of the program, or of the shared object that brought this code into another one's program.
std::filesystem::path OwnFolder() {
    Dl_info found{};
    void* map = nullptr;
    const auto own = reinterpret_cast<void*>(&OwnFolder);
    const bool known = dladdr1(own, &found, &map, RTLD_DL_LINKMAP) != 0 && map != nullptr;
    const char* name = known ? static_cast<const link_map*>(map)->l_name : "";
    std::error_code error;
    const std::filesystem::path object = *name ? std::filesystem::canonical(name, error)
                                               : std::filesystem::read_symlink("/proc/self/exe", error);
    return object.parent_path();
}

}  // namespace

std::filesystem::path FindPart(const std::string& name) {
    const std::filesystem::path own = OwnFolder();
    const std::filesystem::path places[] = {own / "parts" / name,
                                            (own / PZEL_PARTS_FROM_PROGRAM / name).lexically_normal()};
    for (const std::filesystem::path& place : places) {
        std::error_code error;
        if (std::filesystem::exists(place, error)) return place;
    }
    throw std::runtime_error(name + " is missing: it is neither " + places[0].string() + " nor " +
                             places[1].string());
}

}  // namespace pzel_io
