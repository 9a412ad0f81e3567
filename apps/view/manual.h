// What pzel-view says of itself without a window: --help, --manual, and with both the manual page.
#pragma once

inline constexpr const char* kHelp =
    R"(Shows pictures, stacks and videos in a window, with levels, curves and layers.
Usage: pzel-view [LAYER...]

Options:
  -h,--help                     Print this help message and exit
  --version                     Tell the version
  --manual                      Tell everything
)";

inline constexpr const char* kManual = R"(LAYERS
LAYER is a file, a folder, or a pattern of files in quotes, each of which is a stack of pictures; or one with options
behind an '@', such as mask.png@mask,green. pzel-render --manual tells of all options. Several layers are laid over one
another, the first one lowest.

WINDOW
The picture is in the middle. The wheel changes the size of pixels about the pointer, dragging moves the picture, and
the right button changes centre and width of the levels. Panels around it, each with an entry in the menu Window:
  Layers     what is shown of each layer, where, in which order
  Levels     a histogram of each channel with handles for black and white
  Curve      gamma, inversion, and a curve whose points can be dragged
  Channels   all, one alone, or intensity, saturation and hue
  Measure    statistics of the dragged rectangle, and the profile along a line
  Scenes     what was kept, under names
  Time       frames, ranges and playback
Help lists every action with its key. All changes of how pictures are shown can be undone.

SCENES
Scenes are kept beside the picture in FILE.pzel.json. pzel-render FILE --scene NAME shows them, too. Edit, Copy
pzel-render Command puts the command on the clipboard that makes the same picture.

EXIT STATUS
0, or 2 for arguments that are no layers. Files that cannot be read are told of in the window.

ENVIRONMENT
PZEL_TRACE=1 tells the time of mapping and painting for each repaint; PZEL_INSTRUCTION_SET is that of pzel-render.

EXAMPLES
  pzel-view CT.dcm
  pzel-view photo.jpg mask.png@mask,green film.mp4
  pzel-view slices/
)";
