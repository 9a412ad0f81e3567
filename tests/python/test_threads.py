"""Distinct movies in distinct threads, with callbacks and curves of Python: eight threads see what one sees."""
import threading
import time

import numpy as np

import pzel

THREADS, ROUNDS = 8, 6


def live(seed):
    random = np.random.default_rng(seed)
    events, pictures = [], []
    for _ in range(ROUNDS):
        stack = random.integers(0, 4000, (4, 60, 80)).astype(np.uint16)
        movie = pzel.Movie(pzel.Comp(frames=stack), pzel.Image((stack[0] > 2000)).pack().outline())
        movie.observe(lambda source, event, param: events.append(event), all=True)
        movie[0].levels = "1%"
        movie[0].remapper = pzel.Remapper(lambda v: v * v)
        pictures += [movie.render(frame).copy() for frame in movie.frames()]
        baked = movie[0].image.copy()
        baked.convert(movie[0].remapper)
        pictures.append(baked.render())
        movie = movie.copy()
    return events, pictures


def test_eight_threads_see_what_one_sees():
    seen = [None] * THREADS

    def run(index):
        seen[index] = live(index)

    threads = [threading.Thread(target=run, args=(i,)) for i in range(THREADS)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for index, (events, pictures) in enumerate(seen):
        want_events, want_pictures = live(index)
        assert events == want_events and len(events) > ROUNDS
        assert all(np.array_equal(a, b) for a, b in zip(pictures, want_pictures))


def test_long_calls_let_others_run():
    """While one thread maps, another one counts: with the lock held it would not get on at all."""
    image = pzel.Image(np.random.default_rng(1).random((4096, 4096), dtype=np.float32))
    image.levels = (0, 1)
    out = image.render()
    done, during = threading.Event(), []

    def work():
        for _ in range(10):
            image.render(out=out)
            image.statistics()
        done.set()

    thread = threading.Thread(target=work)
    thread.start()
    while not done.is_set():
        during.append(time.monotonic())
        time.sleep(0.0005)
    thread.join()
    assert len(during) > 40
