"""A folder of files rendered by Dask's workers: each reads, maps and writes by itself.

    python3 folder.py FOLDER OUT [WORKERS]
"""
import os
import sys

import distributed

import pzel
import pzel.dask


def readable(folder):
    """The files that a reader takes, in the order of their names."""
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        try:
            if os.path.isfile(path) and len(pzel.Reader(path)):
                yield path
        except ValueError as reason:
            print("left out:", reason)


def main(folder, out, workers=2):
    os.makedirs(out, exist_ok=True)
    paths = list(readable(folder))
    with distributed.LocalCluster(n_workers=int(workers), threads_per_worker=1, dashboard_address=None) as cluster:
        with distributed.Client(cluster):
            written = pzel.dask.render(paths, frames=[0], out=os.path.join(out, "picture_{:03}.png")).compute()
    for path, name in zip(paths, written):
        print(f"{os.path.basename(path)} -> {os.path.basename(name)}")


if __name__ == "__main__":
    main(*sys.argv[1:])
