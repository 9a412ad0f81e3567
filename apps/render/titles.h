// Lines of text in pictures. The library that draws letters is loaded when the first line is drawn.
#pragma once

#include <string>

/// Draws a line of UTF-8 text, white on black, in the middle of an 8-bit picture without padding. Of a text
/// that is too long the end is drawn, behind an ellipsis.
/// @throws std::runtime_error where no font is found
void DrawTitle(const std::string& text, unsigned char* pixels, int width, int height);

/// What the part that draws calls its function. It tells what is wrong, or nothing.
inline constexpr const char* kDrawTitleName = "pzelDrawTitle";
using DrawTitleFunction = const char* (*)(const char* text, unsigned char* pixels, int width, int height);
