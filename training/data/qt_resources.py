"""Reads Qt's binary resource files (.rcc), in which some packages keep their images."""
import struct
import zlib
from collections.abc import Iterator

_DIRECTORY, _COMPRESSED, _COMPRESSED_ZSTD = 2, 1, 4


def read(data: bytes) -> Iterator[tuple[str, bytes]]:
    """Yields the path and the content of each file inside. Files compressed with Zstandard are skipped."""
    magic, version, tree, contents, names = struct.unpack_from(">4s4I", data)
    if magic != b"qres" or version not in (1, 2, 3):
        raise ValueError("not a Qt resource file of version 1 to 3")
    node_size = 14 if version == 1 else 22

    def name_at(offset: int) -> str:
        (length,) = struct.unpack_from(">H", data, names + offset)
        start = names + offset + 6
        return data[start : start + 2 * length].decode("utf-16-be")

    def walk(index: int, path: str) -> Iterator[tuple[str, bytes]]:
        name, flags, first, second = struct.unpack_from(">IHII", data, tree + index * node_size)
        here = f"{path}/{name_at(name)}" if index else ""
        if flags & _DIRECTORY:
            for child in range(second, second + first):
                yield from walk(child, here)
            return
        if flags & _COMPRESSED_ZSTD:
            return
        (size,) = struct.unpack_from(">I", data, contents + second)
        content = data[contents + second + 4 : contents + second + 4 + size]
        yield here, zlib.decompress(content[4:]) if flags & _COMPRESSED else content

    yield from walk(0, "")
