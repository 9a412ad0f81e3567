// Runs the program through the shell, with its outputs in files.
#include "program.h"

#include <OpenImageIO/imageio.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <type_traits>

namespace {

std::string Quoted(const std::string& text) {
    return std::string("'").append(text).append("'");
}

// The leak checker stumbles over thread-local data of modules that were loaded late, if it follows them: in
// this program, and in those that it runs.
constexpr const char* kAddressOptions = "intercept_tls_get_addr=0";
[[maybe_unused]] const int forPrograms = setenv("ASAN_OPTIONS", kAddressOptions, 0);

}  // namespace

extern "C" const char* __asan_default_options() {
    return kAddressOptions;
}

AppTest::AppTest() {
    std::string pattern = std::filesystem::temp_directory_path() / "pzel-app-XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no folder for the test");
    folder = pattern;
}

AppTest::~AppTest() {
    std::filesystem::remove_all(folder);
}

std::vector<std::string> AppTest::Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

std::string AppTest::Command(const std::vector<std::string>& arguments) {
    std::string command = Quoted(PZEL_RENDER);
    for (const std::string& argument : arguments) command.append(" ").append(Quoted(argument));
    return command;
}

Outcome AppTest::Shell(const std::string& command) {
    std::string pattern = std::filesystem::temp_directory_path() / "pzel-run-XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no folder for the run");
    const std::string out = pattern + "/out";
    const std::string err = pattern + "/err";
    const int status = std::system(("{ " + command + "\n} >" + Quoted(out) + " 2>" + Quoted(err)).c_str());
    Outcome run{WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadBytes(out), ReadBytes(err)};
    std::filesystem::remove_all(pattern);
    return run;
}

Outcome AppTest::Render(const std::vector<std::string>& arguments) {
    return Shell(Command(arguments));
}

Shown AppTest::Picture(const std::string& input, std::vector<std::string> options) const {
    const std::string output = Path("shown.png");
    options.insert(options.end(), {input, "-o", output});
    const Outcome run = Render(options);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return ReadShown(output);
}

std::string AppTest::WriteBytes(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
}

template <class T>
void WritePicture(const std::string& file, const std::vector<Pixels<T>>& frames, int bits) {
    const auto output = OIIO::ImageOutput::create(file);
    // The picture library knows plain char alone as its signed byte.
    using Known = std::conditional_t<std::is_same_v<T, std::int8_t>, char, T>;
    const auto type = static_cast<OIIO::TypeDesc::BASETYPE>(OIIO::BaseTypeFromC<Known>::value);
    std::vector<OIIO::ImageSpec> specs;
    for (const Pixels<T>& frame : frames) {
        specs.emplace_back(frame.width, frame.height, frame.channels, OIIO::TypeDesc(type));
        specs.back()["oiio:UnassociatedAlpha"] = 1;
        if (bits) specs.back()["oiio:BitsPerSample"] = bits;
    }
    bool good = frames.size() == 1 ? output->open(file, specs[0])
                                   : output->open(file, static_cast<int>(specs.size()), specs.data());
    for (std::size_t i = 0; good && i < frames.size(); ++i) {
        if (i > 0) good = output->open(file, specs[i], OIIO::ImageOutput::AppendSubimage);
        good = good && output->write_image(type, frames[i].values.data());
    }
    ASSERT_TRUE(good && output->close()) << output->geterror();
}

template void WritePicture(const std::string&, const std::vector<Pixels<std::uint8_t>>&, int);
template void WritePicture(const std::string&, const std::vector<Pixels<std::int8_t>>&, int);
template void WritePicture(const std::string&, const std::vector<Pixels<std::uint16_t>>&, int);
template void WritePicture(const std::string&, const std::vector<Pixels<std::int16_t>>&, int);
template void WritePicture(const std::string&, const std::vector<Pixels<std::uint32_t>>&, int);
template void WritePicture(const std::string&, const std::vector<Pixels<float>>&, int);

namespace {

template <class T>
Pixels<T> ReadAs(const std::string& file, OIIO::TypeDesc type) {
    const auto input = OIIO::ImageInput::open(file);
    if (!input) {
        ADD_FAILURE() << OIIO::geterror();
        return {};
    }
    Pixels<T> pixels(input->spec().width, input->spec().height, input->spec().nchannels);
    EXPECT_TRUE(input->read_image(0, 0, 0, pixels.channels, type, pixels.values.data()));
    return pixels;
}

}  // namespace

Shown ReadShown(const std::string& file) {
    return ReadAs<std::uint8_t>(file, OIIO::TypeDesc::UINT8);
}

Pixels<std::uint16_t> ReadDeep(const std::string& file) {
    return ReadAs<std::uint16_t>(file, OIIO::TypeDesc::UINT16);
}

std::string ReadBytes(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string Sample(const std::string& name) {
    const std::string file = std::string(PZEL_SAMPLES) + "/usr/" + name;
    EXPECT_TRUE(std::filesystem::exists(file))
        << file << " is missing: run scripts/samples build-samples first";
    return file;
}

std::string DicomSample(const std::string& name) {
    return Sample("lib/python3/dist-packages/pydicom/data/test_files/" + name);
}

std::string PictureSample(const std::string& name) {
    return Sample("lib/python3/dist-packages/skimage/data/" + name);
}
