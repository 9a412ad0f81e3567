// Scenes as JSON, and back. Every complaint names the file, the scene and the key.
#include "apps/scene/scene.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "apps/io/output_file.h"
#include "apps/render/option_values.h"

namespace {

using Json = nlohmann::ordered_json;
using pzel_io::FileError;

constexpr int kVersion = 1;
constexpr const char* kFormat = "pzel-scenes";
constexpr const char* kEnding = ".pzel.json";
constexpr int kMostZoom = 127;

// One object of the file: what it must and may have, each key once.
class Reader {
  public:
    Reader(const Json& json, std::filesystem::path in, std::string of)
        : object(json), file(std::move(in)), place(std::move(of)) {
        if (!object.is_object()) Fail("is no object");
    }

    [[noreturn]] void Fail(const std::string& reason) const { throw FileError(file, place + " " + reason); }

    bool Has(const char* key) const { return object.contains(key); }
    const Json& At(const char* key) {
        if (!Has(key)) Fail(std::string("has no '") + key + "'");
        known.insert(key);
        return object[key];
    }

    std::string Text(const char* key) {
        const Json& value = At(key);
        if (!value.is_string()) Fail(std::string("'") + key + "' is no text");
        return value.get<std::string>();
    }
    double Number(const char* key, double low, double high) { return Within(At(key), key, low, high); }
    bool Flag(const char* key) {
        const Json& value = At(key);
        if (!value.is_boolean()) Fail(std::string("'") + key + "' is neither true nor false");
        return value.get<bool>();
    }
    /// Whole numbers, as many as are wanted where that is not 0.
    std::vector<std::int64_t> Wholes(const Json& value, const char* key, double low, double high,
                                     std::size_t count = 0) const {
        if (!value.is_array() || (count && value.size() != count))
            Fail(std::string("'") + key + "' is no list of " + (count ? std::to_string(count) + " " : "") +
                 "numbers");
        std::vector<std::int64_t> numbers;
        for (const Json& one : value) numbers.push_back(Whole(one, key, low, high));
        return numbers;
    }
    std::int64_t Whole(const Json& value, const char* key, double low, double high) const {
        if (!value.is_number_integer()) Fail(std::string("'") + key + "' is no whole number");
        return static_cast<std::int64_t>(Within(value, key, low, high));
    }

    void RefuseOthers() const {
        for (const auto& [key, value] : object.items())
            if (!known.contains(key)) Fail("has '" + key + "', which is not known");
    }

  private:
    double Within(const Json& value, const char* key, double low, double high) const {
        if (!value.is_number()) Fail(std::string("'") + key + "' is no number");
        const double number = value.get<double>();
        if (!(number >= low && number <= high))
            Fail(std::string("'") + key + "' is not " + pzel_io::NumberText(low) + " to " +
                 pzel_io::NumberText(high));
        return number;
    }

    const Json& object;
    std::filesystem::path file;
    std::string place;
    std::set<std::string> known;
};

class SceneReader {
  public:
    SceneReader(std::filesystem::path from, std::filesystem::path beside)
        : file(std::move(from)), folder(std::move(beside)) {}

    std::vector<Scene> ReadAll(const Json& json) const {
        Reader whole(json, file, "the file");
        if (!whole.Has(kFormat)) whole.Fail("holds no scenes");
        const Json& version = whole.At(kFormat);
        if (version != kVersion) whole.Fail("is of version " + version.dump() + ", which is not known");
        const Json& list = whole.At("scenes");
        if (!list.is_array()) whole.Fail("has no list of scenes");
        whole.RefuseOthers();
        std::vector<Scene> scenes;
        for (const Json& one : list) {
            scenes.push_back(ReadScene(one, "scene " + std::to_string(scenes.size() + 1)));
            const auto same = std::count_if(scenes.begin(), scenes.end(), [&](const Scene& other) {
                return other.name == scenes.back().name;
            });
            if (same > 1) whole.Fail("has two scenes '" + scenes.back().name + "'");
        }
        return scenes;
    }

  private:
    static constexpr double kMostFrame = std::numeric_limits<std::int32_t>::max();
    static constexpr double kMostPlace = std::numeric_limits<std::int16_t>::max();

    Scene ReadScene(const Json& json, const std::string& place) const {
        Reader reader(json, file, place);
        Scene scene;
        scene.name = reader.Text("name");
        if (scene.name.empty()) reader.Fail("has an empty name");
        if (reader.Has("description")) scene.description = reader.Text("description");
        const Json& layers = reader.At("layers");
        if (!layers.is_array() || layers.empty()) reader.Fail("has no layers");
        for (const Json& layer : layers)
            scene.layers.push_back(
                ReadLayer(layer, place + ", layer " + std::to_string(scene.layers.size() + 1)));
        if (reader.Has("frame"))
            scene.frame =
                static_cast<std::uint32_t>(reader.Whole(reader.At("frame"), "frame", 0, kMostFrame));
        if (reader.Has("ranges")) ReadRanges(reader, scene);
        ReadFrames(reader, "keep", scene.keep);
        ReadFrames(reader, "cut", scene.cut);
        if (reader.Has("rate")) scene.rate = reader.Number("rate", 0, 1000);
        if (reader.Has("zoom"))
            scene.zoom = static_cast<int>(reader.Whole(reader.At("zoom"), "zoom", -kMostZoom, kMostZoom));
        if (reader.Has("area")) {
            const auto sides = reader.Wholes(reader.At("area"), "area", 0, kMostPlace, 4);
            if (sides[0] > sides[2] || sides[1] > sides[3]) reader.Fail("has an area that is turned over");
            scene.area = Area{static_cast<int>(sides[0]), static_cast<int>(sides[1]),
                              static_cast<int>(sides[2]), static_cast<int>(sides[3])};
        }
        reader.RefuseOthers();
        return scene;
    }

    Layer ReadLayer(const Json& json, const std::string& place) const {
        Reader reader(json, file, place);
        Layer layer;
        try {
            layer = ParseLayer((folder / reader.Text("file")).string(),
                               reader.Has("options") ? reader.Text("options") : "");
        } catch (const std::invalid_argument& error) {
            reader.Fail(error.what());
        }
        if (reader.Has("name")) layer.name = reader.Text("name");
        if (reader.Has("asStored")) layer.asStored = reader.Flag("asStored");
        if (reader.Has("partial")) layer.partial = reader.Flag("partial");
        if (reader.Has("order")) {
            try {
                layer.order = ParseName(kOrderNames, reader.Text("order"));
            } catch (const std::invalid_argument& error) {
                reader.Fail(error.what());
            }
        }
        if (reader.Has("stack")) {
            for (const Json& one : reader.At("stack")) {
                if (!one.is_string()) reader.Fail("'stack' is no list of files");
                layer.stack.push_back((folder / one.get<std::string>()).string());
            }
        }
        reader.RefuseOthers();
        return layer;
    }

    static void ReadRanges(Reader& reader, Scene& scene) {
        const Json& ranges = reader.At("ranges");
        if (!ranges.is_array()) reader.Fail("'ranges' is no list");
        for (const Json& range : ranges) {
            const auto ends = reader.Wholes(range, "ranges", 0, kMostFrame, 2);
            if (ends[0] > ends[1]) reader.Fail("has a range that ends before it starts");
            scene.ranges.emplace_back(static_cast<std::uint32_t>(ends[0]),
                                      static_cast<std::uint32_t>(ends[1]));
        }
    }

    static void ReadFrames(Reader& reader, const char* key, std::set<std::int32_t>& frames) {
        if (!reader.Has(key)) return;
        for (const std::int64_t frame : reader.Wholes(reader.At(key), key, 0, kMostFrame))
            frames.insert(static_cast<std::int32_t>(frame));
    }

    std::filesystem::path file;
    std::filesystem::path folder;
};

// A file as it is found from the folder, also when both have been moved.
std::string FromFolder(const std::filesystem::path& path, const std::filesystem::path& folder) {
    const auto whole = std::filesystem::absolute(path).lexically_normal();
    const auto from = std::filesystem::absolute(folder).lexically_normal();
    const auto relative = whole.lexically_relative(from);
    const bool isBelow = !relative.empty() && *relative.begin() != "..";
    return (isBelow ? relative : whole).string();
}

Json LayerJson(const Layer& layer, const std::filesystem::path& folder) {
    Json json{{"file", FromFolder(layer.file, folder)}};
    const std::string options = LayerOptions(layer);
    if (!options.empty()) json["options"] = options;
    if (!layer.name.empty()) json["name"] = layer.name;
    if (layer.asStored) json["asStored"] = true;
    if (layer.partial) json["partial"] = true;
    if (layer.order != pzel_io::StackOrder::Auto) json["order"] = NameOf(kOrderNames, layer.order);
    for (const std::string& one : layer.stack) json["stack"].push_back(FromFolder(one, folder));
    return json;
}

Json SceneJson(const Scene& scene, const std::filesystem::path& folder) {
    Json json{{"name", scene.name}};
    if (!scene.description.empty()) json["description"] = scene.description;
    for (const Layer& layer : scene.layers) json["layers"].push_back(LayerJson(layer, folder));
    json["frame"] = scene.frame;
    for (const auto& [first, last] : scene.ranges) json["ranges"].push_back({first, last});
    if (!scene.keep.empty()) json["keep"] = scene.keep;
    if (!scene.cut.empty()) json["cut"] = scene.cut;
    if (scene.rate != 0) json["rate"] = scene.rate;
    json["zoom"] = scene.zoom;
    if (scene.area) json["area"] = {scene.area->left, scene.area->top, scene.area->right, scene.area->bottom};
    return json;
}

std::vector<Scene>::iterator Named(std::vector<Scene>& scenes, const std::string& name) {
    return std::find_if(scenes.begin(), scenes.end(), [&](const Scene& one) { return one.name == name; });
}

}  // namespace

SceneFile::SceneFile(const std::filesystem::path& picture) {
    const auto named = picture.has_filename() ? picture : picture.parent_path();
    folder = named.parent_path();
    file = named.string() + kEnding;
}

std::vector<Scene> SceneFile::Read() const {
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(file, error))) return {};
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream || !text) throw FileError(file, "cannot be read");
    Json json;
    try {
        json = Json::parse(text.str());
    } catch (const Json::parse_error& wrong) {
        throw FileError(file, "is no JSON from byte " + std::to_string(wrong.byte) + " on");
    }
    return SceneReader(file, folder).ReadAll(json);
}

Scene SceneFile::Find(const std::string& name) const {
    std::vector<Scene> scenes = Read();
    const auto found = Named(scenes, name);
    if (found != scenes.end()) return *found;
    std::string all;
    for (const Scene& scene : scenes) all += (all.empty() ? "; it has " : ", ") + scene.name;
    throw FileError(file, "has no scene '" + name + "'" + all);
}

void SceneFile::Store(const Scene& scene) const {
    std::vector<Scene> scenes = Read();
    const auto found = Named(scenes, scene.name);
    if (found == scenes.end()) {
        scenes.push_back(scene);
    } else {
        *found = scene;
    }
    Write(scenes);
}

void SceneFile::Rename(const std::string& from, const std::string& to) const {
    std::vector<Scene> scenes = Read();
    const auto found = Named(scenes, from);
    if (found == scenes.end()) throw FileError(file, "has no scene '" + from + "'");
    if (from == to) return;
    if (Named(scenes, to) != scenes.end()) throw FileError(file, "has a scene '" + to + "' already");
    found->name = to;
    Write(scenes);
}

void SceneFile::Remove(const std::string& name) const {
    std::vector<Scene> scenes = Read();
    const auto found = Named(scenes, name);
    if (found == scenes.end()) throw FileError(file, "has no scene '" + name + "'");
    scenes.erase(found);
    Write(scenes);
}

void SceneFile::Write(const std::vector<Scene>& scenes) const {
    if (scenes.empty()) {
        std::error_code error;
        if (!std::filesystem::remove(file, error) && error) throw FileError(file, error.message());
        return;
    }
    Json list = Json::array();
    for (const Scene& scene : scenes) list.push_back(SceneJson(scene, folder));
    const Json whole{{kFormat, kVersion}, {"scenes", list}};
    // Names may hold what is no UTF-8.
    const std::string text = whole.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    pzel_io::OutputFile output(file);
    output.Write({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
    output.Close();
    output.Commit();
}
