#!/usr/bin/python3
"""Extraction from a NumPy array against tarnwick-cli on the same mask.

    PYTHONPATH=<build>/python bench/python_extract.py <build>/bin/tarnwick-cli [--size 384]

Writes the phantom with `tarnwick-cli sample`, times `tarnwick-cli extract --stats` (its in-process total)
and tarnwick.extract() on the mask read by nibabel (a Fortran-ordered array, used in place), and prints
both times, their ratio and the peak resident memory of each process.
"""

import argparse
import os
import re
import resource
import subprocess
import tempfile
import time

import nibabel
import numpy as np

import tarnwick


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("cli")
    parser.add_argument("--size", type=int, default=384)
    parser.add_argument("--repeat", type=int, default=3)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([arguments.cli, "sample", "-o", folder, "--size", str(arguments.size)], check=True,
                       capture_output=True)
        mask_path = os.path.join(folder, "vessels.nii.gz")
        cli_times = []
        for _ in range(arguments.repeat):
            output = subprocess.run(["/usr/bin/time", "-f", "peak %M kB", arguments.cli, "extract", mask_path, "-o",
                                     os.path.join(folder, "cli.tnw"), "--stats"],
                                    check=True, capture_output=True, text=True)
            total = float(re.search(r"total\s+([0-9.]+) s", output.stdout).group(1))
            load = float(re.search(r"load\s+([0-9.]+) s", output.stdout).group(1))
            cli_times.append(total - load)
            cli_peak = re.search(r"peak (\d+) kB", output.stderr).group(1)
        image = nibabel.load(mask_path)
        mask, affine = np.asanyarray(image.dataobj), image.affine
        python_times = []
        for _ in range(arguments.repeat):
            start = time.perf_counter()
            graph = tarnwick.extract(mask, affine=affine)
            python_times.append(time.perf_counter() - start)
        peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
        cli_best, python_best = min(cli_times), min(python_times)
        print("mask {} {} ({} order)".format(mask.shape, mask.dtype, "F" if mask.flags.f_contiguous else "C"))
        print("tarnwick-cli extract (in process, without loading): {:.3f} s, peak {} kB".format(cli_best, cli_peak))
        print("tarnwick.extract: {:.3f} s, peak {} kB (whole process, mask included)".format(python_best, peak))
        print("ratio {:.2f}; graph {} nodes, {} edges".format(python_best / cli_best, len(graph), len(graph.edges)))


if __name__ == "__main__":
    main()
