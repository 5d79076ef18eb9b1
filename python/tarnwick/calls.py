"""Files and the algorithm catalogue."""

import numbers

import numpy as np

from ._session import _graph, _tarnwick
from .graph import Graph
from .image import Image, _to_host

#: The catalogue identifier of the main job (vessel mask in, measured centerline graph out).
EXTRACTION_ID = "VesselGraphExtraction"


def load(path):
    """Reads a file by its extension (``.tnw``, ``.graphml``, image files ...).

    Returns the one data set it holds (a :class:`Graph`, an :class:`Image`, or a raw host data set for
    other kinds), or a list when it holds several.

    :raises OSError: when the file cannot be read.
    """
    return _single_or_list([_wrap(data) for data in _tarnwick.load(str(path))])


def algorithms():
    """The algorithm catalogue: a list of dicts with ``id``, ``name``, ``factory`` and ``parameters``
    (a list of dicts with ``name``, ``type``, ``default``, ``label`` and ``values``, the labels of an
    enumeration; None when the parameters are only known once the algorithm has input: see
    :func:`parameters`)."""
    return _tarnwick.algorithms()


def parameters(algorithm_id, *inputs):
    """The parameters of ``algorithm_id`` created on ``inputs`` (many algorithms only know them then),
    as dicts with ``name``, ``type``, ``default``, ``label`` and ``values`` (enumeration labels).

    :raises ValueError: for an unknown algorithm or inputs it does not accept.
    """
    return _tarnwick.parameters(algorithm_id, [_unwrap(item) for item in inputs])


def run(algorithm_id, *inputs, **parameters):
    """Runs the catalogue algorithm ``algorithm_id`` on ``inputs`` (graphs, images, NumPy arrays --
    taken as images with spacing 1 -- or raw host data sets).

    Parameters take the names ``tarnwick-cli algorithms --verbose`` lists (members of groups as
    ``**{"group/member": value}``); values may be numbers, booleans, strings, enumeration labels,
    sequences (vectors) or None (unset an optional). The computation runs without the GIL.

    Returns the algorithm's output (one object, a list for several, None when it changed its inputs).

    :raises ValueError: for an unknown algorithm or parameter name (listing the valid ones), an invalid
        value or inputs the algorithm does not accept.
    :raises RuntimeError: when the algorithm fails, with its status and logged reason.
    """
    host_inputs = [_unwrap(item) for item in inputs]
    settings = [(name, _text(value)) for name, value in parameters.items()]
    outputs = [_wrap(data) for data in _tarnwick.run(algorithm_id, host_inputs, settings)]
    return _single_or_list(outputs) if outputs else None


def extract(mask, spacing=(1.0, 1.0, 1.0), affine=None, **options):
    """The main job: the measured centerline graph of a vessel mask.

    :param mask: 2-D or 3-D NumPy array (bool, integers or floats; non-zero, or > 0.5 for floats, is
        vessel), indexed ``[i, j, k]``. A Fortran-ordered array (nibabel's usual layout) is read in place;
        others are copied once (see :meth:`Image.from_array`).
    :param spacing: voxel size in millimetres along the array axes, used when there is no ``affine``.
    :param affine: 4 x 4 RAS matrix from indices to world millimetres, as nibabel's ``img.affine``.
    :param options: the extraction's parameters (``minVesselDiameter``, ``graphSmoothing``,
        ``pruneSensitivity``, ``removeCycles``, ``closeHoles`` ...; see ``tarnwick.algorithms()``).
    :returns: a :class:`Graph` with world positions and the edge features "length" and "diameter", the
        graph ``tarnwick-cli extract`` writes for the same mask and options.
    :raises ValueError: for an unusable array, affine or option; RuntimeError when extraction fails.
    """
    image = _to_host(mask, spacing, affine)
    return run(EXTRACTION_ID, image, **options)


def _wrap(data):
    if _graph.is_graph(data):
        return Graph(data)
    if data.is_image:
        return Image(data)
    return data


def _unwrap(item):
    if isinstance(item, (Graph, Image)):
        return item._data
    if isinstance(item, _tarnwick.Data):
        return item
    if isinstance(item, np.ndarray):
        return _to_host(item if item.flags.writeable else item.copy(), (1.0, 1.0, 1.0), None)
    raise ValueError("Inputs must be graphs, images or NumPy arrays, not {}".format(type(item).__name__))


def _text(value):
    """A parameter value as the text ``tarnwick-cli run --set`` takes."""
    if value is None:
        return ""
    if isinstance(value, (bool, np.bool_)):
        return "true" if value else "false"
    if isinstance(value, str):
        return value
    if isinstance(value, numbers.Integral):
        return str(int(value))
    if isinstance(value, numbers.Real):
        return repr(float(value))
    try:
        return ",".join(_text(item) for item in value)
    except TypeError:
        raise ValueError("Cannot use {!r} as a parameter value".format(value)) from None


def _single_or_list(items):
    return items[0] if len(items) == 1 else items
