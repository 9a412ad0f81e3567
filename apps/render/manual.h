// What --manual says, and the manual page: everything that the list of options has no room for. Lines that
// start with "# " are headings.
#pragma once

inline constexpr const char* kManual = R"(# LAYERS
LAYER is a file, or FILE@OPTIONS: a name that a file has is that file, others are taken apart at their last '@'.
Several layers are laid over one another, the first one lowest; the picture is as large as all visible ones
together, and black where none is. OPTIONS are separated by commas:
  0 ... 1             opacity; without it masks have 0.5, everything else 1
  mask                the set pixels alone, in a colour: of a picture of bits, or of 8 bits that are not 0
  mask=VALUE          the pixels with this value, such as a label; of a palette's picture the number of its entry
  mask=#RRGGBB        the pixels with this colour
  boundary            the outline of the set pixels
  vectors             arrows from a picture of two channels, x to the right and y down
  threshold=LOW:HIGH  set are the pixels of a grey picture with these values, the ends included; a mask, too
  red green blue yellow cyan magenta white
                      colour of a mask (which it makes of the layer), an outline or arrows; otherwise red
  levels=LEVELS       as for --levels, with '/' between the channels
  curve=CURVE         as for --curve, with '/' between the channels
  channel=CHANNEL     as for --channel
  yuv                 as for --to-yuv
  colormap=MAP        greys in the colours of a map, as for --colormap
  +X+Y                place of the top left pixel; -X and -Y are possible
  frame=N             frame N alone, whatever frame of the others is shown
  page=N, hdu=N       the pages or header units of a file that are like its page N, counted from 0
  area=L/T/R/B        columns L to R of rows T to B alone, which stay in their place
  hidden              read and checked, but not shown
All other options are those of the picture, or of the first layer: --levels, --curve, --gamma, --invert, --channel,
--colormap, --bake, --to-yuv, --field and --pixel speak of the first alone, --per-frame, --partial, --as-stored and
--layout of all. A layer with one frame is shown with every frame of the others. --area counts from the top left of
the picture. An arrow stands for the mean of 16 x 16 pixels; the largest number of the first frame makes 31 pixels
of it.

# STACKS
A folder is a stack of the pictures in it, and so is a pattern in quotes ('slice*.dcm'); --stack makes one of all
files that are named. Its frames have the order of --order: auto (the position of slices where all files tell one,
else their number in the series, else their names), position, instance, name (numbers in names count by their value)
or given. All must have one size and the same channels. Files of a folder that are no pictures are left out, and
told of.

--scene NAME shows the layers of a scene as it was kept, with levels, curves, frames, zoom and area. Scenes stand
beside their picture in FILE.pzel.json, which pzel-view writes; FILE is given as the only LAYER. Options that are
given as well count instead.

--each renders every input to a picture of its own in the folder of -o, under its own name. --montage COLSxROWS puts
frames, or inputs with --each, on sheets, with titles below (--no-titles leaves them out); --fit makes them smaller.

# FRAMES
Rows and columns, frames and pages count from 0, rows from the top. --frames takes A-B, A- (to the end) or A-B:STEP,
--ranges several of them and single frames, in any order. Each frame then goes to a file of its own, with its number
before the ending: OUT_0007.png.

--zoom N enlarges N times from 2 on and shows every N-th pixel from -2 down; lines that are shrunk stay lines, and
those of outlines are one pixel wide when they are enlarged. --fit WxH shrinks the finished picture into a size; its
pixels are then means. --flip and --turn come last.

--fields weaves the rows of two pictures, of which the first has the rows 0, 2, 4 and so on, to a first layer.
--difference shows the absolute difference of the first two pictures, and tells how many pixels differ and how far.

# LEVELS
Levels are the values shown as black and as white:
  data      the range of the data; 8-bit data always have their full range
  full      everything that the file's element type can hold
  file      the window that the file itself asks for, each frame its own where it has one
  LOW:HIGH  these values
  PERCENT%  so that this percentage of the pixels is clipped at each end
One setting serves all channels together (of a y,u,v picture its luminance; u and v keep the computed bound). Three,
separated by commas, serve one each; of u and v the upper value counts, both ways from 0. Integers take the nearest
integer levels; levels that the type cannot hold make the picture a float picture, for display. Without --levels
the file's window is taken where there is one, else data. The levels of a stack or a video are those of the first
rendered frame, so that it does not flicker, unless --per-frame is given.

--curve bends what lies between the levels: log is log(1 + 1000 v) / log(1001), asinh is asinh(10 v) / asinh(10),
sqrt the square root, and points X:Y of 0 to 1 make a smooth line through them. It is written as words with '+' in
between: log, 0:0+0.3:0.5+1:1, gamma=1.4+invert. One curve serves all channels; three, separated by commas, serve one
each. --gamma G then takes all of it to the power of 1 / G, and --invert turns it round. A shown curve has 512 steps;
--bake computes it for each value. --colormap shows greys in colours: hot, cubehelix, viridis and inferno rise from
dark to light, hue goes round the colours once, for angles.

# COLOUR
Colours, levels and channels are named red,green,blue or y,u,v or intensity,saturation,hue, in this order.
Of colour pictures of 8 bits, 16 bits or floats, --channel intensity, saturation or hue shows one of these as grey,
over the whole range of the element type (of floats: intensity in data values, saturation 0 to 1, hue 0 to 2 pi).
--channel hsi shows colour with levels of intensity, saturation and hue instead of red, green and blue: full, or
three of full and LOW:HIGH. They count 0 to 255 of 8 bits, 0 to 65535 of 16 bits (intensity from the lowest value
on, also of signed types), of floats 0 to 1 for saturation, 0 to 6.2831 for hue and data values for intensity (where
some are negative: from the lowest on). The intensity between its levels is spread from black to white, saturation
alike, hues around the circle; hues may run over 0 (200:30). Without --levels the intensity has the data's range.

--bake puts what levels, --curve, --gamma and --invert do into the data and shows these with their full range: the
picture stays, the levels told are then those of the new data. --to-yuv turns a colour picture into luminance and
colour differences of floats; the luminance has the full range of the file's element type (of floats that of the
data), the differences half of it both ways, unless --levels says otherwise. The channels are then y, u and v.

# VALUES
Values are those that the file stores. What reading changes (rescaled values, expanded palettes, alpha left out,
floats for what cannot be shown as it is) is told on the line of the first frame, and by --info. Pictures whose low
values stand for white (MONOCHROME1) keep their values and are shown inverted; --invert then shows them as stored.
Photographs and videos that carry a mark for it are turned upright; --as-stored leaves them. A damaged file, or one
that ends early, is refused; --partial shows what is left of it, with a note.

--pixel tells values of the first layer as the file stores them, in as many digits as bring them back: red green
blue, y u v, grey, x y of a vector, or 1 where a mask is set. X,Y is one pixel; A-B,C-D are the columns A to B of the
rows C to D, one line for each row. What was converted for display, baked or shifted is told as such.
--info tells what files hold, with statistics, percentiles and a histogram of a frame, as text or (--json) as JSON.

# FILES
The name of -o tells the format: .png, .jpg or .tif. A file appears when it is complete, and an older one stays
until then. -o - writes to standard output; lines about pictures then go to standard error. --depth 16 writes the
values between the levels as 0 to 65535 instead of 0 to 255. Pictures of bits are PNG and TIFF files of 1 bit.
--compression 1 is quick; 9 takes many times as long for files that are somewhat smaller.

There is one line for each picture: of each layer the input, frame, element type, channels, size, levels or what it
is shown as, and what its options are; then size and depth of the bitmap, milliseconds spent on mapping and
composing, and the output.

# EXIT STATUS
0, 1 for a file that cannot be read, shown or written (with one line that says why), 2 for wrong options.

# ENVIRONMENT
PZEL_INSTRUCTION_SET (reference, baseline, sse41, avx2, avx512bw, avx512) chooses what loops run on, with the same
results; PZEL_FONT names the font file of titles.

# EXAMPLES
  pzel-render CT.dcm -o ct.png                               the file's own window
  pzel-render CT.dcm -o bone.png --levels 300:1500 --gamma 1.4
  pzel-render slices/ -o sheet.png --all --montage 6x5 --fit 200x200
  pzel-render galaxy.fits -o galaxy.png --levels 0.5% --curve asinh --colormap inferno
  pzel-render photo.jpg -o red.png --channel red --area 100,50,299,249
  pzel-render photo.png -o warm.png --levels 0:220,0:255,20:255
  pzel-render stack.tif -o frame.png --frames 10-19 --per-frame
  pzel-render film.mp4 -o film.png --frames 100-:25
  pzel-render film.mp4 -o part.png --ranges 20-24,3,7-8
  pzel-render *.png --each -o small/ --fit 320x200
  pzel-render photo.jpg -o hue.png --channel hue
  pzel-render photo.jpg -o vivid.png --channel hsi --levels full,0:128,full
  pzel-render photo.jpg -o baked.png --levels 10:220 --gamma 1.3 --bake
  pzel-render photo.jpg -o v.png --to-yuv --channel v
  pzel-render CT.dcm --pixel 60-70,30
  pzel-render scan.dcm --info --json
  pzel-render CT.dcm CT.dcm@threshold=300:3000,boundary,red -o outline.png --zoom 3
  pzel-render CT.dcm dose.dcm@0.4,colormap=hot,+10-5 organ.png@mask=3,green flow.exr@vectors,yellow -o all.png
  pzel-render film.mp4@frame=3 film.mp4@frame=9 --difference -o moved.png
  pzel-render --fields even.png odd.png -o woven.png
)";
