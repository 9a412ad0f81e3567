// Scenes: how a picture was looked at, under a name, so that it can be shown alike again. They stand in a
// small text file beside the picture, which every host reads:
//
//   FILE.pzel.json
//     {"pzel-scenes": 1, "scenes": [SCENE, ...]}
//   SCENE
//     "name"         not empty, and no other scene's
//     "description"  a text
//     "layers"       [LAYER, ...], the lowest first, which is the picture itself
//     "frame"        the frame that was shown
//     "ranges"       [[first, last], ...]: the selected frames
//     "keep", "cut"  [frame, ...]
//     "rate"         frames a second; 0: the file's own
//     "zoom"         -127 to 127, as for --zoom of pzel-render
//     "area"         [left, top, right, bottom] of the picture, where only that was shown
//   LAYER
//     "file"         seen from the folder of FILE
//     "options"      what stands behind the @ of a layer of pzel-render: levels, curve, place, ...
//     "name"         what a window calls it
//     "stack"        [file, ...]: the files of a stack, with "order"; "asStored", "partial": as the options
//
// All but names and layers may be left out. Other keys are refused: what is not understood would be lost when
// the file is written again.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "apps/render/layer.h"

struct Scene {
    using Range = std::pair<std::uint32_t, std::uint32_t>;  ///< first and last frame

    std::string name;
    std::string description;
    std::vector<Layer> layers;  ///< their files as this process can open them
    std::uint32_t frame = 0;
    std::vector<Range> ranges;  ///< none: all frames
    std::set<std::int32_t> keep;
    std::set<std::int32_t> cut;
    double rate = 0;
    int zoom = 1;
    std::optional<Area> area;
};

/// The scenes beside a picture. Each operation reads the file anew, since another window may have changed it,
/// and writes it whole or not at all. A file that cannot be understood is told of and never written over.
class SceneFile {
  public:
    /// Of a picture, a folder or a pattern of files.
    explicit SceneFile(const std::filesystem::path& picture);

    const std::filesystem::path& File() const { return file; }

    /// In the order of the file; none where there is no file.
    /// @throws pzel_io::FileError, like all others, saying what is wrong where in the file
    std::vector<Scene> Read() const;
    /// The scene of a name; an error where there is none.
    Scene Find(const std::string& name) const;
    /// Adds a scene, or puts it in the place of the one with its name.
    void Store(const Scene& scene) const;
    /// An error where there is no such scene, or one with the new name already.
    void Rename(const std::string& from, const std::string& to) const;
    /// Removes a scene; the last one with the file.
    void Remove(const std::string& name) const;

  private:
    void Write(const std::vector<Scene>& scenes) const;

    std::filesystem::path file;
    std::filesystem::path folder;
};
