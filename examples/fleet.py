#!/usr/bin/python3
"""Decodes a folder of candump logs on a Dask LocalCluster, one task per
recording, then reports the maximum vehicle speed of each.

    PYTHONPATH=build/python /usr/bin/python3 examples/fleet.py [FOLDER] [--scheduler tcp://HOST:8786]

Without FOLDER it makes a small fleet first: eight copies of the example
drive, each driven a little faster than the one before, in a temporary folder.
With --scheduler the same tasks run on a cluster (every worker needs the
package and sees FOLDER and the output folder under the same paths).
"""

import argparse
import glob
import os
import tempfile

import rksignal.dask

EXAMPLES = os.path.dirname(os.path.abspath(__file__))


def make_fleet(folder, vehicles=8):
    """Copies of the example drive, vehicle N's speed frames scaled by 1 + N/20."""
    lines = open(os.path.join(EXAMPLES, "drive.log")).read().splitlines()
    for vehicle in range(vehicles):
        with open(os.path.join(folder, "vehicle%02d.log" % vehicle), "w") as out:
            for line in lines:
                stamp, interface, frame = line.split()
                ident, data = frame.split("#", 1)
                if ident == "200":  # VehicleDynamics: the speed in its first two bytes, big-endian, 0.01 km/h
                    raw = int.from_bytes(bytes.fromhex(data[:4]), "big")
                    raw = min(0xFFFF, raw * (20 + vehicle) // 20)
                    data = raw.to_bytes(2, "big").hex().upper() + data[4:]
                out.write("%s %s %s#%s\n" % (stamp, interface, ident, data))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", nargs="?", help="a folder of candump logs (*.log)")
    parser.add_argument("--defs", default=os.path.join(EXAMPLES, "vehicle.dbc"))
    parser.add_argument("--scheduler", help="address of a dask scheduler, e.g. tcp://10.0.0.1:8786")
    parser.add_argument("--workers", type=int, help="worker processes of the LocalCluster (default: one per core)")
    arguments = parser.parse_args()

    work = tempfile.mkdtemp(prefix="fleet-")
    folder = arguments.folder
    if folder is None:
        folder = os.path.join(work, "recordings")
        os.makedirs(folder)
        make_fleet(folder)
    client = None
    if arguments.scheduler:
        from distributed import Client

        client = Client(arguments.scheduler)

    out_dir = os.path.join(work, "decoded")
    summary = rksignal.dask.decode_files(sorted(glob.glob(os.path.join(folder, "*.log"))), arguments.defs,
                                         client=client, out_dir=out_dir, signals="VehicleDynamics.VehicleSpeed",
                                         workers=arguments.workers)
    print(summary[["recording", "rows", "frames", "bad_lines", "seconds", "error"]].to_string(index=False))

    rows = rksignal.dask.read(out_dir)
    fastest = rows[rows["instance"] == "VehicleDynamics.VehicleSpeed"].groupby("recording")["value"].max()
    print("\nmaximum vehicle speed per recording (km/h):")
    print(fastest.compute().sort_index().to_string())
    print("\noutputs in", out_dir)


if __name__ == "__main__":
    main()
