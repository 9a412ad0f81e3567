"""Components and movies as values that travel to other processes: what they hold, never who observes them.

Pixels travel as arrays, so that protocol 5 takes them out of band. Frames travel as the sequence they are read from: of
a file its path, not its pixels."""

import copyreg

from . import _pzel

_COMP = ("location", "opacity", "visible", "channel", "overlay_colour", "vector_step", "data_area", "remapper")


def _restore_image(array, state):
    return _pzel._restore_image(array, state)


def _restore_remapper(state):
    return _pzel._restore_remapper(state)


def _comp_state(comp):
    state = {name: getattr(comp, name) for name in _COMP}
    state["name"] = comp.name
    state["scenes"] = comp.scenes
    state["start_frame"] = comp.start_frame
    if comp.frames is None:
        state["image"] = comp.image
        state["joint_hsi"] = comp.joint_hsi
    else:
        state["frames"] = comp.frames
        state["current_frame"] = comp.current_frame
        state["levels"] = comp.levels
    return state


def _restore_comp(state):
    comp = _pzel.Comp(state.get("image"), frames=state.get("frames"), name=state["name"])
    if "frames" in state:
        comp.current_frame = state["current_frame"]
        comp.levels = state["levels"]
    for name in _COMP:
        value = state[name]
        if name == "remapper" and value is None or name == "vector_step" and value == 0:
            continue
        setattr(comp, name, value)
    for scene in state["scenes"]:
        comp.add_scene(*scene)
    if state.get("joint_hsi"):
        comp.joint_hsi = True
    return comp


def _reduce_comp(comp):
    return _restore_comp, (_comp_state(comp),)


def _reduce_movie(movie):
    parts = [_comp_state(comp) for comp in movie]
    facts = {
        "name": movie.name,
        "size": movie._own_size,
        "length": movie.length,
        "current_frame": movie.current_frame,
        "ranges": movie.ranges,
        "play": movie.play,
        "active": movie.active_component.index if movie.active_component else None,
    }
    return _restore_movie, (parts, facts)


def _restore_movie(parts, facts):
    movie = _pzel.Movie(*(_restore_comp(state) for state in parts), name=facts["name"])
    for comp, state in zip(movie, parts):
        comp.start_frame = state["start_frame"]
    movie.size = facts["size"]
    if facts["length"]:
        movie.length = facts["length"]
        movie.current_frame = facts["current_frame"]
    movie.ranges = facts["ranges"]
    movie.play = facts["play"]
    if facts["active"] is not None:
        movie[facts["active"]].make_active()
    return movie


def register():
    """Functions of an extension module do not pickle by name: the way back goes through those above."""
    copyreg.pickle(_pzel.Image, lambda image: (_restore_image, (image.array(), image._state)))
    copyreg.pickle(_pzel.Remapper, lambda remapper: (_restore_remapper, (remapper._state,)))
    copyreg.pickle(_pzel.Comp, _reduce_comp)
    copyreg.pickle(_pzel.Movie, _reduce_movie)
