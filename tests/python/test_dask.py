"""Many workers give the bytes of one process: levels by adding up counts, movies on their way, a worker that dies."""
import os
import pickle
import signal
import time

import numpy as np
import pytest

import pzel

dask = pytest.importorskip("dask")
import pzel.dask  # noqa: E402

FRAMES = 40


class Slow:
    """Frames that can be made anywhere, and take their time."""

    def __init__(self, dtype, pause=0.0):
        self.dtype, self.pause = np.dtype(dtype), pause

    def __len__(self):
        return FRAMES

    def __getitem__(self, index):
        time.sleep(self.pause)
        values = np.random.default_rng(index).normal(index * 10, 300, (31, 43))
        if self.dtype.kind == "f":
            values[0, :3] = np.nan, np.inf, -np.inf
        else:
            info = np.iinfo(self.dtype)
            values = values.clip(info.min, info.max)
        return values.astype(self.dtype)


@pytest.mark.parametrize("dtype", [np.uint16, np.int16, np.float32])
@pytest.mark.parametrize("levels", ["data", "0.35%", "12%", (-50, 400)])
def test_levels_are_those_of_all_values_together(dtype, levels):
    movie = pzel.Movie(pzel.Comp(frames=Slow(dtype)))
    stack = np.stack([Slow(dtype)[i] for i in range(FRAMES)])
    values = np.sort(stack[np.isfinite(stack)])
    low, high = (-50, 400) if levels == (-50, 400) else (values[0], values[-1])
    if isinstance(levels, str) and levels[-1] == "%":
        clipped = int(values.size * float(levels[:-1]) / 100)
        low, high = values[clipped], values[-1 - clipped]
    got = pzel.dask.render(movie, levels=levels).compute(scheduler="synchronous")
    movie[0].levels = (float(low), float(high))
    assert got.shape == (FRAMES, 31, 43)
    assert all(np.array_equal(got[i], movie.render(i)) for i in range(FRAMES))


def test_frames_and_files(tmp_path, pictures):
    movie = pzel.Movie(pzel.Comp(frames=[np.full((4, 6, 3), (i, 0, 2 * i), np.uint8) for i in range(9)]))
    movie.ranges = [(2, 4)]
    got = pzel.dask.render(movie).compute(scheduler="threads")
    assert got.shape == (3, 4, 6, 3) and tuple(got[2, 0, 0]) == (8, 0, 4)
    assert pzel.dask.render(movie, frames=[8, 1], zoom=2).shape == (2, 8, 12, 3)
    names = [pictures / "coffee.png", pictures / "moon.png"]
    out = pzel.dask.render(names, levels=(10, 200), out=str(tmp_path / "x_{:03}.png")).compute(scheduler="threads")
    for name, path in zip(names, out):
        want = pzel.open(name, levels=(10, 200)).render()
        assert np.array_equal(pzel.open(path).render(), want)
    with pytest.raises(ValueError, match="different shapes"):
        pzel.dask.render(names)
    with pytest.raises(ValueError, match="place for the number"):
        pzel.dask.render(movie, out="x.png")
    with pytest.raises(IndexError):
        pzel.dask.render(movie, frames=[9])


def test_movies_travel_without_a_second_copy():
    array = np.zeros((500, 600), np.float32)
    frozen = pzel.dask._Frozen.of(pzel.Movie(pzel.Image(array)))
    buffers = []
    data = pickle.dumps(frozen, 5, buffer_callback=buffers.append)
    assert len(data) < 4000 and sum(memoryview(one).nbytes for one in buffers) == array.nbytes
    again = pickle.loads(data, buffers=buffers)
    assert again.thaw()[0].image.address == array.__array_interface__["data"][0]


@pytest.mark.skipif("LD_PRELOAD" in os.environ, reason="killed workers end without a sanitizer's last word")
def test_curves_and_frames_of_a_notebook_travel():
    class Local(list):
        pass

    movie = pzel.Movie(pzel.Comp(frames=Local([np.full((3, 3), 64 * i, np.uint8) for i in range(3)])))
    movie[0].remapper = pzel.Remapper(lambda v: v * v)
    again = pickle.loads(pickle.dumps(pzel.dask._Frozen.of(movie), 5)).thaw()
    assert np.array_equal(again.render(2), movie.render(2)) and movie.render(2)[0, 0] == 64


def test_a_worker_dies_in_the_middle():
    distributed = pytest.importorskip("distributed")
    movie = pzel.Movie(pzel.Comp(frames=Slow(np.float32, 0.05)))
    with distributed.LocalCluster(n_workers=2, threads_per_worker=2, processes=True, dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            pids = client.run(os.getpid)
            future = client.compute(pzel.dask.render(movie, levels="1%"))
            time.sleep(0.8)
            assert not future.done()
            os.kill(next(iter(pids.values())), signal.SIGKILL)
            got = future.result(timeout=60)
            assert set(pids.values()) != set(client.run(os.getpid).values())
    fast = pzel.Movie(pzel.Comp(frames=Slow(np.float32)))
    assert got.tobytes() == pzel.dask.render(fast, levels="1%").compute(scheduler="synchronous").tobytes()
