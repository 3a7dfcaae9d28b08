"""Reads PNG files of 8-bit RGB pixels."""

import struct
import zlib


class Png:
    """`pixel(x, y)` is (red, green, blue), counted from the top left corner."""

    def __init__(self, path):
        data, packed, place = path.read_bytes(), b"", 8
        self.width, self.height = struct.unpack_from(">2I", data, 16)
        while place < len(data):
            length, kind = struct.unpack_from(">I4s", data, place)
            packed += data[place + 8:place + 8 + length] if kind == b"IDAT" else b""
            place += 12 + length
        self.rows = self._unfiltered(zlib.decompress(packed))

    def _unfiltered(self, raw):
        stride = 3 * self.width
        rows, above = [], bytes(stride)
        for start in range(0, len(raw), stride + 1):
            row = bytearray(raw[start + 1:start + 1 + stride])
            for n in range(stride):
                left, corner = (row[n - 3], above[n - 3]) if n >= 3 else (0, 0)
                row[n] = (row[n] + _prediction(raw[start], left, above[n], corner)) & 255
            rows.append(row)
            above = row
        return rows

    def pixel(self, x, y):
        return tuple(self.rows[y][3 * x:3 * x + 3])


def _prediction(kind, left, above, corner):
    if kind < 4:
        return (0, left, above, (left + above) // 2)[kind]
    return min((left, above, corner), key=lambda value: abs(left + above - corner - value))
