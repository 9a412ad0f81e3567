"""Components and movies from Python: who hears of what, what a callback may do, frames when they are wanted, and pickles."""
import contextlib
import gc
import pickle
import sys
import weakref

import numpy as np
import pytest

import pzel
from pzel import Event


@contextlib.contextmanager
def unraisable():
    """What goes to sys.unraisablehook meanwhile; a fixture would set its hook below that of pytest."""
    seen, before = [], sys.unraisablehook
    sys.unraisablehook = lambda info: seen.append((info.exc_type, str(info.exc_value)))
    yield seen
    sys.unraisablehook = before


def grey(value=7, shape=(6, 8)):
    return np.full(shape, value, np.uint8)


def test_events_in_order():
    log = []
    movie = pzel.Movie()
    all_of_it = movie.observe(lambda source, event, param: log.append((source is movie, event, param)))
    first, second = pzel.Comp(grey()), pzel.Comp(grey(), name="second")
    movie.append(first)
    movie.append(second)
    assert [(event, param) for _, event, param in log] == [
        (Event.CHILD_ADDED, None), (Event.CHILD_ADDED, first), (Event.MOVIE_LENGTH, 0),
        (Event.CHILD_ADDED, None), (Event.CHILD_ADDED, second)]
    assert all(same for same, _, _ in log) and isinstance(log[0][1], Event)
    log.clear()
    watching = second.observe(lambda source, event, param: log.append((source, event, param)))
    second.location = (3, -4)
    second.opacity = 0.5
    second.set_black_white(0, 10, 20)
    assert log[:3] == [(second, Event.LOCATION, (0, 0, 7, 5)), (second, Event.OPACITY, 0), (second, Event.BLACK_WHITE, 0)]
    with watching:
        pass
    second.visible = False
    assert len(log) == 3
    log.clear()
    movie.remove(second)
    assert [event for _, event, _ in log] == [Event.CHILD_REMOVING, Event.CHILD_REMOVED] and log[0][2] is second
    all_of_it.detach()


def test_the_end_is_told_once_and_ends_the_observation():
    log = []
    comp = pzel.Comp(grey())
    watching = comp.observe(lambda *event: log.append(event))
    movie = pzel.Movie(comp)
    alone = movie.observe(lambda *event: log.append(event))
    del comp
    assert not log
    del movie
    assert log == [(None, Event.DESTROYED, None)] * 2
    watching.detach()
    alone.detach()


def test_callbacks_may_raise_and_detach_anybody():
    calls = []
    movie = pzel.Movie(grey(), grey())
    movie.length = 5

    def bad(source, event, param):
        calls.append("bad")
        raise KeyError("no")

    def ends_all(source, event, param):
        calls.append("ends")
        for one in handles:
            one.detach()

    handles = [movie.observe(bad), movie.observe(ends_all), movie.observe(lambda *_: calls.append("last"))]
    with unraisable() as seen:
        movie.current_frame = 1
    assert calls[:2] == ["bad", "ends"] and seen == [(KeyError, "'no'")]
    calls.clear()
    movie.current_frame = 2
    assert calls == []
    for _ in range(1000):
        movie.observe(bad).detach()
    with pytest.raises(TypeError, match="callable"):
        movie.observe(3)


def test_a_movie_may_go_inside_its_own_callback():
    movies = [pzel.Movie(grey(), grey())]
    movies[0].length = 9
    movies[0].observe(lambda source, event, param: movies.clear(), all=True)
    movies[0].current_frame = 3
    gc.collect()
    assert not movies


def test_cycles_through_callbacks_are_collected():
    class View:
        def __init__(self):
            self.movie = pzel.Movie(grey(), grey())
            self.movie.observe(self.update, all=True)
            self.movie[1].frames = Frames(self)

        def update(self, source, event, param):
            pass

    class Frames(list):
        def __init__(self, view):
            super().__init__([grey(), grey()])
            self.view = view

    view = View()
    ref = weakref.ref(view)
    gc.collect()
    del view
    gc.collect()
    assert ref() is None


def test_frames_are_read_when_they_are_wanted():
    class Frames:
        def __init__(self):
            self.read = []

        def __len__(self):
            return 10

        def __getitem__(self, index):
            self.read.append(index)
            if index == 9:
                raise OSError("the disk is gone")
            return np.array([[0, index, 100]], np.uint16)

    frames = Frames()
    movie = pzel.Movie(pzel.Comp(frames=frames), grey(0, (1, 3)))
    assert movie.length == 10 and frames.read == []
    movie.current_frame = 4
    assert frames.read == [] and movie[0].image.array()[0, 1] == 4
    kept = movie[0].image
    movie[0].levels = (0, 8)
    movie.remove(movie[1])
    assert [movie.render(i)[0, 1] for i in (4, 2, 8)] == [128, 64, 255] and frames.read == [4, 2, 8]
    assert kept.array()[0, 1] == 4
    with pytest.raises(OSError, match="disk"):
        movie.render(9)
    assert movie.render(1)[0, 1] == 32
    with pytest.raises(IndexError):
        movie.current_frame = 10
    waiting = pzel.Comp(frames=Frames())
    waiting.levels = (0, 4)
    waiting.current_frame = 2
    assert waiting.frames.read == [] and waiting.render()[0, 1] == 128


def test_selected_frames():
    movie = pzel.Movie(pzel.Comp(frames=[grey(i) for i in range(10)]))
    assert list(movie.frames()) == list(range(10))
    movie.ranges = [(2, 4), (7, 7)]
    assert list(movie.frames()) == [2, 3, 4, 7] and movie.next_frame == 2
    movie.play = pzel.Play.BACKWARD
    movie.current_frame = 2
    movie.move_to_next_frame()
    assert movie.current_frame == 7 and movie.play is pzel.Play.BACKWARD


def test_layers_are_composed_red_first():
    colour = np.zeros((4, 4, 3), np.uint8)
    colour[..., 2] = 200
    mask = pzel.Image(np.eye(4, dtype=bool)).pack()
    movie = pzel.Movie(colour, pzel.Comp(mask))
    movie[1].overlay_colour = 2
    movie[1].opacity = 0.5
    picture = movie.compose(zoom=2)
    assert picture.shape == (8, 8, 3) and picture.strides[2] == -1
    assert tuple(picture[0, 2]) == (200, 0, 0) and tuple(picture[0, 0]) == (100, 128, 0)
    assert movie.compose(zoom=-2).shape == (2, 2, 3)
    part = movie.compose(area=(1, 0, 2, 3))
    assert np.array_equal(part, movie.compose()[0:3, 1:3])
    colour[..., 2] = 100
    assert np.array_equal(movie.compose(zoom=2, out=picture), picture) and tuple(picture[0, 2]) == (100, 0, 0)
    with pytest.raises(ValueError, match="out is"):
        movie.compose(out=np.zeros((4, 4, 3), np.uint8))


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16, np.int16, np.float32])
@pytest.mark.parametrize("planar", [False, True])
def test_rendering_is_the_formula(dtype, planar):
    random = np.random.default_rng(5)
    array = random.integers(0, 250, (3, 9, 11) if planar else (9, 11, 3)).astype(dtype)
    comp = pzel.Comp(array)
    comp.levels = [(10, 210), (0, 100), (50, 51)]
    wanted = comp.image.rgb().astype(float)
    for c, (low, high) in enumerate([(10, 210), (0, 100), (50, 51)]):
        wanted[..., c] = np.floor(np.clip((wanted[..., c] - low) / (high - low), 0, 1) * 255 + 0.5)
    assert np.abs(comp.render().astype(float) - wanted).max() <= 1
    assert np.array_equal(pzel.Movie(comp).compose(), comp.render())
    comp.channel = pzel.Channel.GREEN
    assert np.array_equal(comp.render(), comp.render(out=comp.render())) and comp.render().ndim == 2
    assert np.abs(comp.render().astype(float) - wanted[..., 1]).max() <= 1


def test_levels_by_name():
    array = np.random.default_rng(6).normal(0, 100, (50, 60)).astype(np.float32)
    array[0, 0], array[0, 1] = np.nan, np.inf
    image = pzel.Image(array)
    finite = np.sort(array[np.isfinite(array)])
    assert image.levels == [(finite[0], finite[-1])]
    image.levels = "2%"
    clipped = int(finite.size * 0.02)
    assert image.levels == [(finite[clipped], finite[-1 - clipped])]
    with pytest.raises(ValueError, match="full range"):
        image.levels = "full"
    for wrong in ("70%", "bright", [(1, 2), (3, 4)]):
        with pytest.raises(ValueError):
            image.levels = wrong


def test_curves():
    ramp = np.arange(256, dtype=np.uint8).reshape(16, 16)
    comp = pzel.Comp(ramp)
    comp.remapper = pzel.Remapper(gamma=2)
    by_gamma = comp.render()
    comp.remapper = pzel.Remapper(lambda v: v**0.5)
    assert np.array_equal(comp.render(), by_gamma) and np.array_equal(comp.image.render(comp.remapper), by_gamma)
    comp.remapper = pzel.Remapper(pzel.Remapper(gamma=2).table)
    assert np.array_equal(comp.render(), by_gamma)
    with pytest.raises(ValueError, match="512"):
        pzel.Remapper(np.zeros(256, np.uint8))
    with pytest.raises(ZeroDivisionError):
        pzel.Remapper(lambda v: 1 / v)
    calls = []

    def fails_later(value):
        calls.append(value)
        if len(calls) > 600:
            raise ArithmeticError("tired")
        return value

    with pytest.raises(ArithmeticError, match="tired"):
        pzel.Image(ramp.astype(np.uint16)).convert(pzel.Remapper(fails_later))
    baked = pzel.Image(ramp.astype(np.float32))
    baked.levels, baked.spatial_bound = (0, 255), (0, 255)
    baked.convert(pzel.Remapper(gamma=2))
    assert np.allclose(baked.array(), (ramp / 255.0) ** 0.5 * 255, atol=1e-3)


def test_movies_refuse_what_they_cannot_answer():
    movie = pzel.Movie()
    for ask in (lambda: movie.kind, lambda: movie.black_white(), lambda: movie.render(), lambda: movie[0],
                lambda: setattr(movie, "remapper", pzel.Remapper()), lambda: movie.scenes):
        with pytest.raises((ValueError, IndexError)):
            ask()
    comp = pzel.Comp(grey())
    for ask in (comp.make_active, lambda: comp.active, lambda: setattr(comp, "start_frame", 3)):
        with pytest.raises(ValueError, match="no movie"):
            ask()
    movie.append(comp)
    with pytest.raises(ValueError, match="one movie"):
        pzel.Movie(comp)
    with pytest.raises(ValueError, match="255"):
        movie.extend([grey()] * 255)
    assert len(movie) == 1 and repr(pzel.Comp()).startswith("<pzel.Comp")
    with pytest.raises(ValueError, match="no image"):
        pzel.Comp().render()
    with pytest.raises(ValueError, match="32-bit"):
        pzel.Comp(grey().astype(np.int32)).render()


def test_pickles_are_the_movie():
    layer = pzel.Comp(np.arange(48, dtype=np.float32).reshape(6, 8), name="layer")
    layer.levels, layer.remapper = (5, 40), pzel.Remapper(gamma=1.8, invert=True)
    mask = pzel.Comp(pzel.Image(np.eye(6, 8, dtype=bool)).pack())
    mask.overlay_colour, mask.location, mask.opacity = 4, (2, 1), 0.75
    movie = pzel.Movie(layer, mask, pzel.Comp(frames=[grey(i) for i in range(5)]), name="all")
    movie[2].levels = (0, 9)
    movie[2].location, movie[2].opacity = (8, 0), 0.5
    movie[2].add_scene("scene", "what", [(1, 3)])
    movie.current_frame = 3
    movie[1].make_active()
    buffers = []
    again = pickle.loads(pickle.dumps(movie, 5, buffer_callback=buffers.append), buffers=buffers)
    assert np.array_equal(again.render(), movie.render()) and again.name == "all" and again.current_frame == 3
    assert np.array_equal(again.render(1), movie.render(1)) and again[2].scenes == movie[2].scenes
    assert again.active_component is again[1] and again[0].remapper == layer.remapper
    assert again[0].image.address == layer.image.address
