"""Arrays as images and back: nothing is copied, nothing is freed too early or twice, what cannot be shared says why."""
import gc
import pickle
import weakref

import numpy as np
import pytest

import pzel

TYPES = [np.uint8, np.int8, np.uint16, np.int16, np.uint32, np.int32, np.float32, bool]
SHAPES = [(5, 7), (5, 7, 3), (3, 5, 7), (5, 7, 2), (2, 5, 7)]


def address(array):
    return array.__array_interface__["data"][0]


@pytest.mark.parametrize("dtype", TYPES)
@pytest.mark.parametrize("shape", SHAPES)
def test_memory_is_shared_by_every_door(dtype, shape):
    array = (np.arange(np.prod(shape)).reshape(shape) % 2).astype(dtype)
    image = pzel.Image(array)
    views = [image.array(), np.asarray(image), np.asarray(memoryview(image)), np.array(image, copy=False)]
    assert image.address == address(array) and image.shape == shape and image.dtype == dtype
    for view in views:
        assert address(view) == address(array) and view.dtype == dtype
        assert np.array_equal(view, array)
    array[1, 1] = 1 - array[1, 1]
    assert np.array_equal(views[0], array) and np.array_equal(views[2], array)
    width, height = image.width, image.height
    planes = [image.plane(c) for c in range(image.channels)]
    axis = 2 if len(shape) == 3 and shape[2] <= 3 else 0
    wanted = [array] if len(shape) == 2 else np.moveaxis(array, axis, 0)
    for plane, want in zip(planes, wanted):
        assert np.shares_memory(plane, array) and np.array_equal(plane, want)
    part = image.crop(2, 1, width - 3, height - 2)
    assert np.shares_memory(part, array)
    rows, columns = slice(1, height - 1), slice(2, width - 1)
    assert np.array_equal(part, array[:, rows, columns] if len(shape) == 3 and axis == 0 else array[rows, columns])


def test_colour_is_turned_by_views():
    blue_first = np.arange(4 * 6 * 3, dtype=np.uint16).reshape(4, 6, 3)
    image = pzel.Image(blue_first)
    assert np.array_equal(image.rgb(), blue_first[..., ::-1]) and np.shares_memory(image.rgb(), blue_first)
    assert address(image.plane("blue")) == address(blue_first) and np.array_equal(image.plane("red"), blue_first[..., 2])
    again = pzel.Image(image.rgb(), order="rgb")
    assert again.address == image.address
    red_first = np.ascontiguousarray(image.rgb())
    with pytest.raises(ValueError, match="red comes first.*copy=True"):
        pzel.Image(red_first, order="rgb")
    assert np.array_equal(pzel.Image(red_first, order="rgb", copy=True).array(), blue_first)
    planar = pzel.Image(np.ascontiguousarray(np.moveaxis(blue_first, 2, 0)))
    assert np.array_equal(planar.rgb(), image.rgb()) and np.shares_memory(planar.rgb(), planar.array())


@pytest.mark.parametrize(
    "make, reason",
    [
        (lambda: np.zeros((6, 8))[:, :], "float32"),
        (lambda: np.zeros((6, 8), np.int64), "uint8 to int32"),
        (lambda: np.zeros((6, 8), np.uint8)[:, ::2], "strides.*copy=True"),
        (lambda: np.zeros((6, 8), np.uint8)[::-1], "strides.*copy=True"),
        (lambda: np.zeros((6, 8), np.uint8).T, "strides.*copy=True"),
        (lambda: np.zeros((6, 8), ">u2"), "order of bytes.*copy=True"),
        (lambda: np.frombuffer(bytes(97), np.uint8)[1:].view(np.float32).reshape(4, 6), "aligned.*copy=True"),
        (lambda: np.zeros((2, 20000), np.float32), "80000 bytes, more than 65,535"),
        (lambda: np.zeros((2, 30000, 3), np.uint8), "as planes"),
        (lambda: np.zeros((2, 70000), bool), "65,535"),
        (lambda: np.zeros((0, 4), np.uint8), "no pixels"),
        (lambda: np.zeros(4, np.uint8), "dimensions"),
        (lambda: np.zeros((9, 9, 9), np.uint8), "layout="),
    ],
)
def test_what_cannot_be_shared_says_why(make, reason):
    with pytest.raises(ValueError, match=reason):
        pzel.Image(make())


def test_copies_take_what_cannot_be_shared():
    backwards = np.arange(48, dtype=">i2").reshape(6, 8)[::-1, ::2]
    image = pzel.Image(backwards, copy=True)
    assert np.array_equal(image.array(), backwards) and not np.shares_memory(image.array(), backwards)
    with pytest.raises(TypeError, match="asarray"):
        pzel.Image([[1, 2], [3, 4]])


def test_bits_are_packed_views():
    mask = np.random.default_rng(1).random((9, 21)) < 0.5
    packed = np.packbits(mask, axis=1)
    image = pzel.Image.bits(packed, 21)
    assert image.address == address(packed) and np.shares_memory(image.array(), packed)
    assert image.shape == (9, 21) and np.array_equal(image.unpack(), mask)
    assert np.array_equal(pzel.Image(mask).pack().unpack(), mask)
    packed[0, 0] ^= 0x80
    assert image.unpack()[0, 0] != mask[0, 0]
    for wrong, width in [(packed, 25), (packed.astype(np.uint16), 21), (packed[:, ::2], 9)]:
        with pytest.raises(ValueError):
            pzel.Image.bits(wrong, width)


class Array(np.ndarray):
    """An array that can be watched, and owns its memory."""


def watched(shape=(40, 50), dtype=np.uint8):
    array = Array(shape, dtype)
    array[:] = 1
    return array, weakref.ref(array)


def test_every_order_of_destruction():
    array, ref = watched()
    image = pzel.Image(array)
    view, memory = image.array(), memoryview(image)
    del array
    assert ref() is not None and view.sum() == 2000
    del image
    gc.collect()
    assert view.sum() == 2000 and np.asarray(memory).sum() == 2000
    del view
    assert ref() is not None and memory[3, 4] == 1
    memory.release()
    assert ref() is None

    array, ref = watched()
    comp = pzel.Comp(pzel.Image(array))
    del array
    movie = pzel.Movie(comp)
    del comp
    first = movie[0].image
    assert first.address == address(ref()) and movie.render().shape == (40, 50)
    movie[0].image = np.zeros((4, 4), np.float32)
    assert ref() is not None and first.array().sum() == 2000
    del first
    assert ref() is None
    child = movie[0]
    del movie
    gc.collect()
    assert child.parent is None and child.image.shape == (4, 4) and child.render().shape == (4, 4)


def test_one_array_in_many_owners():
    array, ref = watched()
    comps = [pzel.Comp(array) for _ in range(3)]
    images = [comp.image for comp in comps]
    assert {image.address for image in images} == {address(array)}
    movies = [pzel.Movie(comp) for comp in comps[:2]]
    copy = movies[0].copy()
    assert copy[0].image.address != address(array)
    del array, comps, images
    movies.pop()
    assert ref() is not None
    movies.clear()
    gc.collect()
    assert ref() is None and copy.render().shape == (40, 50)


def test_library_made_pixels_outlive_their_maker():
    image = pzel.Image(np.arange(12, dtype=np.float32).reshape(3, 4))
    view = image.copy().array()
    edges = pzel.Image(np.eye(4, dtype=bool)).outline().array()
    copied = pzel.Comp(image).copy().image.array()
    gc.collect()
    assert view[2, 3] == 11 and copied[2, 3] == 11 and edges.any()


def test_read_only_arrays_stay_as_they_are():
    array = np.ones((4, 4), np.float32)
    array.flags.writeable = False
    image = pzel.Image(array)
    assert image.readonly and not image.array().flags.writeable and memoryview(image).readonly
    for change in (image.invert, lambda: image.fill(0), lambda: image.__iadd__(1), lambda: image.convert(pzel.Remapper())):
        with pytest.raises(ValueError, match="read-only"):
            change()
    truths = pzel.Image(np.eye(3, dtype=bool))
    with pytest.raises(ValueError, match="bool"):
        truths.invert()
    assert truths.levels == [(0, 1)] and truths.render()[1, 1] == 255


def test_arithmetic_in_place():
    random = np.random.default_rng(2)
    a, b = random.random((2, 6, 7), dtype=np.float32)
    want, image = a.copy(), pzel.Image(a)
    image += b
    image *= 3
    image -= 0.5
    image.add_scaled(b, 2)
    want = ((want + b) * 3 - 0.5) + 2 * b
    assert np.allclose(a, want) and np.isclose(image.product_sum(b), (a * b).sum(), rtol=1e-6)
    with pytest.raises(ValueError, match="different shapes"):
        image += np.zeros((3, 3), np.float32)
    with pytest.raises(ValueError, match="float32"):
        pzel.Image(np.zeros((3, 3), np.uint8)).square_sum()


def test_yuv_goes_there_and_back():
    colour = pzel.Image(np.random.default_rng(3).integers(0, 256, (6, 9, 3), np.uint8))
    yuv = colour.to_yuv()
    red, green, blue = (colour.plane(name).astype(float) for name in ("red", "green", "blue"))
    assert yuv.model == pzel.Model.YUV
    assert np.allclose(yuv.plane(0), 0.299 * red + 0.587 * green + 0.114 * blue, atol=0.5)
    assert np.allclose(yuv.to_colour().rgb(), colour.rgb(), atol=0.05)


def test_hsi_of_known_colours():
    hsi = pzel.rgb_to_hsi(np.array([[1, 0, 0], [0, 1, 0], [0.5, 0.5, 0.5]], np.float32))
    assert np.allclose(hsi, [[0, 1, 1 / 3], [2 * np.pi / 3, 1, 1 / 3], [hsi[2, 0], 0, 0.5]], atol=1e-3)


@pytest.mark.parametrize("protocol", [2, 5])
def test_pickles_keep_pixels_and_levels(protocol):
    image = pzel.Image(np.arange(60, dtype=np.uint16).reshape(4, 5, 3))
    image.levels = [(1, 2), (3, 4), (5, 6)]
    for one in (image, pzel.Image(np.eye(5, dtype=bool)), pzel.Image(np.eye(11, dtype=bool)).pack().outline()):
        again = pickle.loads(pickle.dumps(one, protocol))
        assert np.array_equal(again.array(), one.array()) and again.levels == one.levels
        assert (again.kind, again.model, again.dtype, again.shape) == (one.kind, one.model, one.dtype, one.shape)


def test_protocol_5_makes_no_second_copy():
    array = np.zeros((300, 400), np.float32)
    buffers = []
    data = pickle.dumps(pzel.Image(array), 5, buffer_callback=buffers.append)
    assert len(data) < 1000 and address(np.asarray(buffers[0].raw())) == address(array)
    again = pickle.loads(data, buffers=buffers)
    assert again.address == address(array)
