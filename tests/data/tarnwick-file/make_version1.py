#!/usr/bin/env python3
"""Writes version1.tnw, the data-file fixture of format version 1, byte by byte from the layout:
header "TARNWICK", u32 version, u32 record count; records of u32 type id, u32 record version,
u32 name length, name, u64 payload length, payload (all little-endian).
Records: two of the tests' number lists (type 1001, record version 3: u32 count, doubles) around
one record of a type no plug-in knows (999), which readers must skip."""
import struct
from pathlib import Path


def record(type_id, version, name, payload):
    name = name.encode()
    return struct.pack("<III", type_id, version, len(name)) + name + struct.pack("<Q", len(payload)) + payload


def numbers(values):
    return struct.pack("<I", len(values)) + b"".join(struct.pack("<d", v) for v in values)


content = b"TARNWICK" + struct.pack("<II", 1, 3)
content += record(1001, 3, "first", numbers([1.5, -2.0]))
content += record(999, 0, "mystery", b"xyz")
content += record(1001, 3, "last", numbers([]))
Path(__file__).with_name("version1.tnw").write_bytes(content)
