"""Start-up of the host inside Python: loads the compiled modules and the graph plug-in."""

import atexit
import logging
import os

import numpy as np

from . import _paths
from . import _tarnwick

logging.getLogger("tarnwick").addHandler(logging.NullHandler())

PLUGIN_DIR = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), _paths.PLUGIN_DIR))
GRAPH_PLUGIN_ID = "Tarnwick.Graph"

_loaded, _refused = _tarnwick.initialize([PLUGIN_DIR])
atexit.register(_tarnwick.shutdown)
if GRAPH_PLUGIN_ID not in _loaded:
    raise ImportError(
        "tarnwick: the graph plug-in could not be loaded from {}{}".format(
            PLUGIN_DIR, "".join("\n  " + reason for reason in _refused)
        )
    )

# Linked to the plug-in's library, so only importable once the plug-in is loaded.
from . import _graph  # noqa: E402

#: LPS <-> RAS: negate x and y.
FLIP = np.diag([-1.0, -1.0, 1.0, 1.0])

_PYTHON_TO_HOST_LEVEL = [(logging.ERROR, 4), (logging.WARNING, 3), (logging.INFO, 2), (logging.DEBUG, 1)]


def set_log_level(level):
    """Sets which host messages are produced, as a :mod:`logging` level (``logging.DEBUG`` ...).

    Messages go to the logger ``"tarnwick"`` (and ``"tarnwick.<category>"``); by default the host
    produces INFO and above, and Python shows what the logging configuration lets through.
    """
    for python_level, host_level in _PYTHON_TO_HOST_LEVEL:
        if level >= python_level:
            _tarnwick.set_log_level(host_level)
            return
    _tarnwick.set_log_level(0)
