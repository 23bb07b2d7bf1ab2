"""Screenshots for documents: the PNG that the browser made, with 256 colours, which is a third of its size."""
import collections
import struct
import zlib

SIGNATURE = b"\x89PNG\r\n\x1a\n"
RGB = 3  # bytes


def chunks(png):
    place = len(SIGNATURE)
    while place < len(png):
        (length,) = struct.unpack_from(">I", png, place)
        yield png[place + 4:place + 8], png[place + 8:place + 8 + length]
        place += 12 + length


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def nearest(left, above, corner):
    """The filter of Paeth: which of three neighbours is closest to left + above - corner."""
    guess = left + above - corner
    return min((abs(guess - left), 0, left), (abs(guess - above), 1, above), (abs(guess - corner), 2, corner))[2]


FILTERS = [
    lambda left, above, corner: 0,
    lambda left, above, corner: left,
    lambda left, above, corner: above,
    lambda left, above, corner: (left + above) // 2,
    nearest,
]


def rows_of(data, width, height):
    """The rows of an RGB picture without their filters."""
    size, above = width * RGB, bytearray(width * RGB)
    for start in range(0, height * (size + 1), size + 1):
        kind, row = data[start], bytearray(data[start + 1:start + 1 + size])
        for at in range(size if kind else 0):
            left, corner = (row[at - RGB], above[at - RGB]) if at >= RGB else (0, 0)
            row[at] = (row[at] + FILTERS[kind](left, above[at], corner)) & 255
        yield row
        above = row


def small(png):
    parts = list(chunks(png))
    width, height, depth, colours = struct.unpack_from(">IIBB", parts[0][1])
    if (depth, colours) != (8, 2):
        raise ValueError("not the RGB picture that the browser makes")
    data = zlib.decompress(b"".join(part for kind, part in parts if kind == b"IDAT"))
    rows = [[bytes(row[at:at + RGB]) for at in range(0, len(row), RGB)] for row in rows_of(data, width, height)]
    counted = collections.Counter(pixel for row in rows for pixel in row)
    palette = [colour for colour, _ in counted.most_common(256)]
    index = {colour: place for place, colour in enumerate(palette)}
    for colour in counted.keys() - index.keys():
        index[colour] = min(range(len(palette)), key=lambda at: sum((a - b) ** 2 for a, b in zip(palette[at], colour)))
    packed = b"".join(b"\0" + bytes(index[pixel] for pixel in row) for row in rows)
    header = struct.pack(">IIBBBBB", width, height, 8, 3, 0, 0, 0)
    return SIGNATURE + b"".join((
        chunk(b"IHDR", header), chunk(b"PLTE", b"".join(palette)),
        chunk(b"IDAT", zlib.compress(packed, 9)), chunk(b"IEND", b"")))
