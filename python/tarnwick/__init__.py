"""Vessel centerline graphs from Python, with the same engine as ``tarnwick-cli``.

Coordinates: every position and affine this package takes or returns is in world millimetres in the RAS
frame that NIfTI files and nibabel use (x to the right, y to the front, z up). The host stores LPS
internally; the package converts at its edge. Arrays are indexed like nibabel's: ``mask[i, j, k]`` is
the voxel that ``affine @ (i, j, k, 1)`` places.

Main entry points:

- :func:`extract` -- the main job: centerline graph of a vessel mask given as a NumPy array;
- :func:`load`, :meth:`Graph.save`, :func:`load_image` -- files (``.tnw``, GraphML, image files);
- :class:`Graph` -- nodes, edges and features as NumPy arrays; :meth:`Graph.from_arrays`,
  :meth:`Graph.to_networkx`, :func:`from_networkx`, :meth:`Graph.segments` (pandas);
- :func:`run`, :func:`algorithms`, :func:`parameters` -- any algorithm of the catalogue, by identifier, with parameter names
  and enumeration labels as ``tarnwick-cli run --set`` takes them.

Errors: ``ValueError`` for bad input (wrong names list the valid ones), ``OSError`` for files,
``RuntimeError`` (with the status and the logged reason) when an algorithm fails. The host's log goes to
Python's :mod:`logging` under the logger ``"tarnwick"``.
"""

from ._session import set_log_level
from .graph import Graph
from .image import Image, load_image
from .interop import from_networkx
from .calls import algorithms, extract, load, parameters, run

__all__ = [
    "Graph",
    "Image",
    "algorithms",
    "extract",
    "from_networkx",
    "load",
    "load_image",
    "parameters",
    "run",
    "set_log_level",
]
