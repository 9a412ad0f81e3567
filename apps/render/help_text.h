// What --help says behind the list of options.
#pragma once

inline constexpr const char* kFooter = R"(
LAYER is a file, or FILE@OPTIONS: a name that a file has is that file, others are taken apart at their last '@'.
Several layers are laid over one another, the first one lowest; the picture is as large as all visible ones
together, and black where none is. OPTIONS are separated by commas:
  0 ... 1             opacity; without it masks have 0.5, everything else 1
  mask                the set pixels alone, in a colour: of a picture of bits, or of 8 bits that are not 0
  boundary            the outline of the set pixels
  vectors             arrows from a picture of two channels, x to the right and y down
  threshold=LOW:HIGH  set are the pixels of a grey picture with these values, the ends included; a mask, too
  red green blue yellow cyan magenta white
                      colour of a mask (which it makes of the layer), an outline or arrows; otherwise red
  levels=LEVELS       one setting, as for --levels
  +X+Y                place of the top left pixel; -X and -Y are possible
  hidden              read and checked, but not shown
All other options are those of the picture, or of the first layer: --levels, --gamma, --invert, --channel, --bake,
--to-yuv, --field and --pixel speak of the first alone, --per-frame and --layout of all. A layer with one frame is
shown with every frame of the others. --area counts from the top left of the picture. An arrow stands for the mean
of 16 x 16 pixels; the largest number of the first frame makes 31 pixels of it.

--zoom N enlarges N times from 2 on and shows every N-th pixel from -2 down; lines that are shrunk stay lines, and
those of outlines one pixel wide when they are enlarged.
--fields weaves the rows of two pictures, of which the first has the rows 0, 2, 4 and so on, to a first layer.

Colours, levels and channels are named red,green,blue or y,u,v or intensity,saturation,hue, in this order. Rows and
columns, like frames, count from 0, from the top left.

Levels are the values shown as black and as white:
  data      the range of the data; 8-bit data always have their full range
  full      everything that the file's element type can hold
  file      the window that the file itself asks for
  LOW:HIGH  these values
  PERCENT%  so that this percentage of the pixels is clipped at each end
One setting serves all channels together (of a y,u,v picture its luminance; u and v keep the computed bound). Three,
separated by commas, serve one each; of u and v the upper value counts, both ways from 0. Integers take the nearest
integer levels; levels that the type cannot hold make the picture a float picture, for display. Without --levels
the file's window is taken where there is one, else data. The levels of a stack or a video are those of the first
rendered frame, so that it does not flicker, unless --per-frame is given.

Of colour pictures of 8 bits, 16 bits or floats, --channel intensity, saturation or hue shows one of these as grey,
over the whole range of the element type (of floats: intensity in data values, saturation 0 to 1, hue 0 to 2 pi).
--channel hsi shows colour with levels of intensity, saturation and hue instead of red, green and blue: full, or
three of full and LOW:HIGH. They count 0 to 255 of 8 bits, 0 to 65535 of 16 bits (intensity from the lowest value
on, also of signed types), of floats 0 to 1 for saturation, 0 to 6.2831 for hue and data values for intensity (where
some are negative: from the lowest on). The intensity between its levels is spread from black to white, saturation
alike, hues around the circle; hues may run over 0 (200:30). Without --levels the intensity has the data's range.

--bake puts what levels, --gamma and --invert do into the data and shows these with their full range: the picture
stays, the levels told are then those of the new data. --to-yuv turns a colour picture into luminance and colour
differences of floats; the luminance has the full range of the file's element type (of floats that of the data),
the differences half of it both ways, unless --levels says otherwise. The channels are then y, u and v.

--pixel X,Y tells the values that the first layer has at a pixel: red green blue, y u v, grey, x y of a vector, or 1
where a mask is set, on one line for each frame, in as few digits as bring them back. They are the file's own, unless
--bake, --to-yuv or a --channel of intensity, saturation or hue changed them. Of several pixels (10-20,30 is a part
of a row, 10-20,30-40 a rectangle) there is a line for each row, with commas between the channels of a pixel.

--difference shows two pictures, the first two layers, as one whose values are how far theirs lie apart, without the
sign, and tells how many pixels differ, the largest difference and its place, the mean, the root of the mean square
(rms) and, of two pictures of one type of 8 or 16 bits, the psnr of the type's range. All other options are those of
that picture; further layers lie over it.

--info also tells of each channel the range, mean and deviation of its finite values, percentiles and a histogram.
--json makes it an array with an object for each layer, in which numbers that are not finite are null; "fileBytes"
has the bytes of names that are not UTF-8. A percentile is the value that so many percent of all lie below.

Values are those that the file stores. What reading changes (rescaled values, expanded palettes, alpha left out,
floats for what cannot be shown as it is) is told on the line of the first frame, and by --info. Pictures whose low
values stand for white (MONOCHROME1) keep their values and are shown inverted; --invert then shows them as stored.

Outputs: one picture goes to OUT.png itself. With --frames, --ranges or --all each frame goes to a file of its own,
with its number before the ending: OUT_0007.png. Bit pictures are written as grey of 0 and 255.

On standard output there is one line for each frame: of each layer the input, frame, element type, channels, size,
levels or what it is shown as, and what its options are; then size and depth of the bitmap, milliseconds spent on
mapping and composing, and the output.

Exit status: 0, 1 for a file that cannot be read, shown or written (with one line that says why), 2 for wrong
options.

Examples:
  pzel-render CT.dcm -o ct.png                               the file's own window
  pzel-render CT.dcm -o bone.png --levels 300:1500 --gamma 1.4
  pzel-render galaxy.fits -o galaxy.png --levels 0.5%
  pzel-render photo.jpg -o red.png --channel red --area 100,50,299,249
  pzel-render photo.png -o warm.png --levels 0:220,0:255,20:255
  pzel-render stack.tif -o frame.png --frames 10-19 --per-frame
  pzel-render film.mp4 -o film.png --all
  pzel-render film.mp4 -o part.png --ranges 20-24,3,7-8
  pzel-render photo.jpg -o hue.png --channel hue
  pzel-render photo.jpg -o vivid.png --channel hsi --levels full,0:128,full
  pzel-render photo.jpg -o baked.png --levels 10:220 --gamma 1.3 --bake
  pzel-render photo.jpg -o v.png --to-yuv --channel v
  pzel-render CT.dcm --pixel 64,30
  pzel-render CT.dcm --pixel 60-69,30-34
  pzel-render scan.dcm --info --json
  pzel-render --difference before.png after.png -o changes.png --levels 0:30
  pzel-render CT.dcm CT.dcm@threshold=300:3000,boundary,red -o outline.png --zoom 3
  pzel-render CT.dcm dose.dcm@0.4,+10-5 organ.png@mask,green flow.exr@vectors,yellow -o all.png
  pzel-render --fields even.png odd.png -o woven.png
)";
