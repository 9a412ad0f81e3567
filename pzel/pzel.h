// The umbrella header: everything that a host needs.
//
// When memory runs out, whatever throws leaves its objects as they were, or valid where its header says so,
// and loses nothing; destructors, Release and releases of records never throw.
//
// Distinct objects may be used by distinct threads at a time. What the library shares behind them (open
// movies, default names, folders, the message box, the runner) is guarded; one object, a movie with its
// components, or copies that share something must be used by one thread at a time.
#pragma once

#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bounds.h"
#include "pzel/bounds/histogram.h"
#include "pzel/bounds/min_max.h"
#include "pzel/colour/convert_image.h"
#include "pzel/colour/remapper.h"
#include "pzel/colour/rgb_to_hsi.h"
#include "pzel/component/comp.h"
#include "pzel/component/comp_info.h"
#include "pzel/component/frame_info.h"
#include "pzel/component/frame_iterator.h"
#include "pzel/component/group.h"
#include "pzel/component/icomponent.h"
#include "pzel/component/movie.h"
#include "pzel/component/movie_scene.h"
#include "pzel/component/observer.h"
#include "pzel/component/shown_bitmap.h"
#include "pzel/display/bitmap.h"
#include "pzel/display/boundary.h"
#include "pzel/display/compose.h"
#include "pzel/display/fields.h"
#include "pzel/display/map_data.h"
#include "pzel/display/overlay.h"
#include "pzel/display/vector.h"
#include "pzel/image/attachment.h"
#include "pzel/image/bound_array.h"
#include "pzel/image/image.h"
#include "pzel/image/lifecycle.h"
#include "pzel/loops/runner.h"
#include "pzel/names/name.h"
#include "pzel/pixels/arithmetic.h"
#include "pzel/pixels/bits.h"
#include "pzel/pixels/typed_copy.h"
#include "pzel/pixels/yuv.h"
#include "pzel/platform/message_box.h"
#include "pzel/plugin/call_record.h"
#include "pzel/plugin/plugin_id.h"
#include "pzel/plugin/plugin_param.h"
