// The command that makes a picture as a scene tells it.
#pragma once

#include <string>
#include <vector>

#include "apps/scene/scene.h"

/// What pzel-render is called with for the scene's frame, or for all of its ranges.
enum class Frames { Current, Ranges };
std::vector<std::string> RenderArguments(const Scene& scene, Frames frames, const std::string& output);

/// A command as a shell reads it: what a shell would take apart or change is quoted.
std::string ShellCommand(const std::string& program, const std::vector<std::string>& arguments);
