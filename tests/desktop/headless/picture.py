# SPDX-License-Identifier: MIT
"""Pictures of the screen, read from the memory of the display server and written as PNG."""

import struct
import zlib


class Picture:
    """Rows of pixels, three bytes (red, green, blue) each."""

    def __init__(self, width, height, rows):
        self.width = width
        self.height = height
        self._rows = rows

    @classmethod
    def of_window_dump(cls, dump, area=None):
        """Reads an X window dump, the format of Xvfb's screen. An area is x, y, width and height."""
        (header, _, _, _, width, height, _, order, _, _, _, bits, stride, _, red, green, blue, _, _, colours) = (
            struct.unpack_from(">20I", dump)
        )
        if (order, bits, red, green, blue) != (0, 32, 0xFF0000, 0xFF00, 0xFF):
            raise ValueError("the screen has an unexpected arrangement of pixels")
        left, top, right, bottom = _inside(area or (0, 0, width, height), width, height)
        width, height = right - left, bottom - top
        start = header + colours * 12 + left * 4
        rows = []
        for y in range(top, bottom):
            line = dump[start + y * stride : start + y * stride + width * 4]
            row = bytearray(width * 3)
            row[0::3], row[1::3], row[2::3] = line[2::4], line[1::4], line[0::4]
            rows.append(bytes(row))
        return cls(width, height, rows)

    def __eq__(self, other):
        return isinstance(other, Picture) and self._rows == other._rows

    __hash__ = None

    def pixel(self, x, y):
        return tuple(self._rows[y][x * 3 : x * 3 + 3])

    def cut(self, x, y, width, height):
        """The part of the rectangle that lies inside the picture."""
        left, top, right, bottom = _inside((x, y, width, height), self.width, self.height)
        return Picture(right - left, bottom - top, [row[left * 3 : right * 3] for row in self._rows[top:bottom]])

    def rows(self):
        return list(self._rows)

    def colours(self):
        """The set of its colours; a blank area has one."""
        return {row[at : at + 3] for row in self._rows for at in range(0, len(row), 3)}

    def brightness(self):
        """From 0 for black to 1 for white."""
        return sum(sum(row) for row in self._rows) / (255 * 3 * self.width * self.height)

    def save(self, path):
        def chunk(kind, content):
            return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))

        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)
        # The filter subtracts the pixel to the left, which compresses the flat areas of windows well.
        lines = b"".join(b"\x01" + row[:3] + _differences(row) for row in self._rows)
        with open(path, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header))
            file.write(chunk(b"IDAT", zlib.compress(lines, 9)) + chunk(b"IEND", b""))


def _inside(area, width, height):
    x, y, wanted_width, wanted_height = area
    left, top = max(x, 0), max(y, 0)
    right, bottom = min(x + wanted_width, width), min(y + wanted_height, height)
    if left >= right or top >= bottom:
        raise ValueError(f"nothing of {wanted_width}x{wanted_height} at {x},{y} is inside {width}x{height}")
    return left, top, right, bottom


def _differences(row):
    return bytes((byte - left) & 0xFF for byte, left in zip(row[3:], row))
