// Options that say what they would mean without being said are left out.
#include "apps/scene/command.h"

#include <algorithm>

#include "apps/render/option_values.h"

namespace {

std::string RangesText(const std::vector<Scene::Range>& ranges) {
    std::string text;
    for (const auto& [first, last] : ranges) {
        text += (text.empty() ? "" : ",") + std::to_string(first);
        if (last != first) text += "-" + std::to_string(last);
    }
    return text;
}

// A name that starts like an option is no option.
std::string AsArgument(const Layer& layer) {
    const std::string options = LayerOptions(layer);
    const std::string file = layer.file.starts_with('-') ? "./" + layer.file : layer.file;
    return options.empty() ? file : file + "@" + options;
}

bool IsPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string("@%+=:,./_-").find(c) != std::string::npos;
}

std::string Quoted(const std::string& text) {
    if (!text.empty() && std::all_of(text.begin(), text.end(), IsPlain)) return text;
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace

std::vector<std::string> RenderArguments(const Scene& scene, Frames frames, const std::string& output) {
    std::vector<std::string> arguments;
    for (const Layer& layer : scene.layers) {
        arguments.push_back(AsArgument(layer));
        // The first file of a stack names it, with the options.
        for (std::size_t i = 1; i < layer.stack.size(); ++i) arguments.push_back(layer.stack[i]);
    }
    const Layer& first = scene.layers.front();
    if (!first.stack.empty()) arguments.push_back("--stack");
    if (first.order != pzel_io::StackOrder::Auto)
        arguments.insert(arguments.end(), {"--order", NameOf(kOrderNames, first.order)});
    if (first.asStored) arguments.push_back("--as-stored");
    if (first.partial) arguments.push_back("--partial");
    if (frames == Frames::Ranges && !scene.ranges.empty()) {
        arguments.insert(arguments.end(), {"--ranges", RangesText(scene.ranges)});
    } else if (scene.frame != 0) {
        arguments.insert(arguments.end(), {"--frame", std::to_string(scene.frame)});
    }
    if (scene.area) {
        const Area& area = *scene.area;
        arguments.insert(arguments.end(),
                         {"--area", std::to_string(area.left) + "," + std::to_string(area.top) + "," +
                                        std::to_string(area.right) + "," + std::to_string(area.bottom)});
    }
    if (scene.zoom != 1) arguments.insert(arguments.end(), {"--zoom", std::to_string(scene.zoom)});
    arguments.insert(arguments.end(), {"-o", output});
    return arguments;
}

std::string ShellCommand(const std::string& program, const std::vector<std::string>& arguments) {
    std::string command = Quoted(program);
    for (const std::string& argument : arguments) command += " " + Quoted(argument);
    return command;
}
