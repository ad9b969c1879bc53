"""A host in Python: upscales one frame on 64-bit Windows and writes the result as a PPM file. Needs only ctypes.

    python upscale.py ..\\..\\bin\\liborvane.dll ..\\..\\bin\\weights\\default.en 32 2 upscaled.ppm

The records and function types match orvane.h. This program has not been run yet.
"""
import ctypes
import sys
from ctypes import POINTER, Structure, byref, c_char, c_char_p, c_int, c_int32, c_uint8, c_uint32, c_uint64, c_void_p


class OpenParam(Structure):
    """orvane_open_param: the parameters of an instance. 1060 bytes."""

    _fields_ = [
        ("inputWidth", c_uint32),
        ("inputHeight", c_uint32),
        ("outputWidth", c_uint32),
        ("outputHeight", c_uint32),
        ("pixelFormat", c_uint32),
        ("reserved0", c_uint32),
        ("modelChannels", c_int32),
        ("modelDepth", c_int32),
        ("reserved1", c_uint32),
        ("modelPath", c_char * 1024),
    ]


class Frame(Structure):
    """orvane_frame: an image of 4-byte pixels (R, G, B, A). 48 bytes."""

    _fields_ = [
        ("userValue", c_uint64),
        ("width", c_int32),
        ("height", c_int32),
        ("format", c_uint32),
        ("stride", c_int32),
        ("reserved", c_uint8 * 16),
        ("data", c_void_p),
    ]


class CheckResult(Structure):
    """orvane_check_result: the result of the support check. 172 bytes."""

    _fields_ = [
        ("supported", c_uint32),
        ("status", c_uint32),
        ("adapterCount", c_uint32),
        ("osVersion", c_char * 32),
        ("adapterName", c_char * 128),
    ]


def load(path: str) -> ctypes.CDLL:
    library = ctypes.CDLL(path)
    library.orvane_get_version.restype = c_char_p
    library.orvane_check_supported.argtypes = [POINTER(CheckResult), c_void_p]
    library.orvane_open.argtypes = [POINTER(OpenParam)]
    library.orvane_open.restype = c_void_p
    library.orvane_process.argtypes = [c_void_p, POINTER(Frame), POINTER(Frame)]
    library.orvane_process.restype = c_int
    library.orvane_close.argtypes = [c_void_p]
    return library


def upscale(library: ctypes.CDLL, handle: int, pixels: bytes, width: int, height: int) -> bytes:
    """Upscales `pixels` (width x height x 4 bytes) by 2x. Blocks, but ctypes releases the interpreter's lock.

    For many frames allocate the target once. After a lost device close every instance before opening again.
    """
    source = (c_uint8 * len(pixels)).from_buffer_copy(pixels)
    target = (c_uint8 * (4 * len(pixels)))()
    frame = Frame(width=width, height=height, stride=4 * width, data=ctypes.addressof(source))
    output = Frame(stride=8 * width, data=ctypes.addressof(target))
    result = library.orvane_process(handle, byref(output), byref(frame))
    if result != 0:
        raise RuntimeError(f"orvane_process returned {result}")
    return bytes(target)


def main(dll: str, model: str, channels: str, depth: str, result_path: str) -> None:
    library = load(dll)
    support = CheckResult()
    if library.orvane_check_supported(byref(support), None) != 0:
        raise SystemExit(f"this machine cannot run the library: status {support.status}")

    width, height = 64, 36
    pixels = bytearray()
    for y in range(height):
        for x in range(width):
            pixels += bytes((x * 255 // width, y * 255 // height, 128, 255))
    param = OpenParam(inputWidth=width, inputHeight=height, modelChannels=int(channels), modelDepth=int(depth),
                      modelPath=model.encode("mbcs"))
    handle = library.orvane_open(byref(param))
    if not handle:
        raise SystemExit(f"{model} cannot be opened")
    try:
        upscaled = upscale(library, handle, bytes(pixels), width, height)
    finally:
        library.orvane_close(handle)

    with open(result_path, "wb") as file:
        file.write(b"P6 %d %d 255\n" % (2 * width, 2 * height))
        file.write(b"".join(upscaled[i : i + 3] for i in range(0, len(upscaled), 4)))
    print(f"Orvane {library.orvane_get_version().decode()} on {support.adapterName.decode('mbcs')}: {result_path}")


if __name__ == "__main__":
    if len(sys.argv) != 6:
        raise SystemExit("usage: python upscale.py LIBORVANE.DLL MODEL CHANNELS DEPTH RESULT.ppm")
    main(*sys.argv[1:])
