// Several components at once: adding, appending and replacing children of a movie, and which of them input
// and output act on.
#pragma once

#include "pzel/export.h"

class Comp;
class IComponent;
class Movie;

/// Adds `count` components at the end of a movie, in order, as Movie::AddChild adds one: each is held once
/// more and re-parented. All or none. Events: EventChildAdded with 0 where the movie was not composite
/// before, then one with each component, then EventMovieLength where the length changed. Returns the index of
/// the first; -1, and nothing changes, where `count` is not positive, a component is null, or the movie would
/// pass 255 children.
PZEL_API int AddComponentGroup(Movie* movie, Comp** comps, int count);

/// Adds one component at the end of a movie: a group of one.
PZEL_API int AppendComponent(Movie* movie, Comp* comp);

/// Replaces a child of a movie by another component, which takes its place; the old one is released, the new
/// one held and re-parented. True when the child at `index` then is `comp`; a child that is it already stays
/// without events. False, and nothing changes, where there is no such child or `comp` is null.
///
/// Events: EventChildRemoving with the old child, EventChildRemoved with the movie when it is gone (and every
/// later child stands one place lower), then, with the new one in its place, EventChildAdded with 0 where the
/// movie was left with fewer than two children, EventChildAdded with the new child, and EventMovieLength
/// where the length changed. Where the old child was the active one the new one is.
PZEL_API bool SetComponent(Movie* movie, int index, Comp* comp);

/// The component that input and output act on: of a movie its active child, else its first, else null; a
/// component itself. Null for null. It stays the movie's; no reference is added.
PZEL_API Comp* GetIOComponent(IComponent* component);
