"""Images: NumPy arrays with a RAS affine, handed to the host without copies where the layout allows."""

import numpy as np

from ._session import FLIP, _tarnwick

_HOST_DTYPES = {np.dtype(name) for name in ("bool", "int8", "uint8", "int16", "uint16", "int32", "uint32")}
_HOST_DTYPES |= {np.dtype("float32"), np.dtype("float64")}


class Image:
    """An image of the host: :attr:`array` indexed ``[i, j, k]`` and :attr:`affine`, the 4 x 4 RAS matrix
    from indices to world millimetres (as nibabel's ``img.affine``)."""

    def __init__(self, data):
        """Wraps a host image set; use :func:`load_image`, :meth:`from_array` or an algorithm's output."""
        if not data.is_image:
            raise ValueError("The data set is not an image: " + data.describe())
        self._data = data

    @classmethod
    def from_array(cls, array, spacing=(1.0, 1.0, 1.0), affine=None):
        """An image over ``array`` (2-D or 3-D, indexed ``[i, j, k]``). A Fortran-ordered array (x fastest,
        the host's layout; nibabel's usual one) of bool, int8/16/32, uint8/16/32, float32 or float64 is
        used in place; anything else is copied once (64-bit integers as ``array != 0``). For an array
        stored z, y, x (as tifffile reads stacks), pass ``array.T``: a view in the host's layout. ``affine`` (4 x 4, RAS) places it; without one, voxel (i, j, k) lies at
        ``spacing * (i, j, k)``.

        :raises ValueError: for another number of dimensions, a non-numeric array or a singular affine.
        """
        return cls(_to_host(array, spacing, affine))

    @property
    def array(self):
        """The values, viewing the host's memory: shape (nx, ny, nz) (plus channels), Fortran order."""
        return _tarnwick.image_to_array(self._data)[0]

    @property
    def affine(self):
        """4 x 4 RAS matrix from array indices to world millimetres."""
        return FLIP @ np.asarray(_tarnwick.image_to_array(self._data)[1])

    def save(self, path):
        """Writes the image by the file's extension (``.nii.gz``, ``.nrrd``, ``.mha``, ``.tnw`` ...).

        :raises OSError: when the file cannot be written.
        """
        _tarnwick.save(str(path), [self._data])

    def __repr__(self):
        return "<tarnwick.Image {}>".format(self._data.describe())


def load_image(path):
    """Reads the first image of a file: ``(array, affine)``, the array indexed ``[i, j, k]`` (shape
    (nx, ny, nz)) and the 4 x 4 RAS affine from indices to world millimetres, as nibabel gives them.

    :raises OSError: when the file cannot be read; ValueError when it holds no image.
    """
    for data in _tarnwick.load(str(path)):
        if data.is_image:
            image = Image(data)
            return image.array, image.affine
    raise ValueError("'{}' holds no image".format(path))


def _to_host(array, spacing, affine):
    """A host image set over ``array`` (see :meth:`Image.from_array`)."""
    array = np.asarray(array)
    if array.ndim not in (2, 3):
        raise ValueError("An image must be a 2-D or 3-D array, not {}-D (shape {})".format(array.ndim, array.shape))
    if array.dtype.kind not in "biuf":
        raise ValueError("An image must hold numbers, not {}".format(array.dtype))
    if array.dtype not in _HOST_DTYPES:
        array = array != 0 if array.dtype.kind in "iu" else array.astype(np.float64 if array.itemsize > 4 else np.float32)
    if not array.flags.f_contiguous:
        array = np.asfortranarray(array)
    return _tarnwick.image_from_array(array, FLIP @ _affine(array.ndim, spacing, affine))


def _affine(ndim, spacing, affine):
    if affine is not None:
        affine = np.asarray(affine, dtype=np.float64)
        if affine.shape != (4, 4):
            raise ValueError("The affine must be a 4 x 4 matrix, not of shape {}".format(affine.shape))
        return affine
    spacing = np.asarray(spacing, dtype=np.float64).ravel()
    if spacing.size not in (ndim, 3):
        raise ValueError("spacing needs {} values, got {}".format(ndim, spacing.size))
    diagonal = np.ones(4)
    diagonal[: spacing.size] = spacing
    return np.diag(diagonal)
