"""Encrypts and decrypts model files: TEA with 16 rounds in a chained container (docs/model-files.md)."""
import re
import secrets
import struct
from collections.abc import Callable

from training import ROOT

_DELTA, _ROUNDS = 0x9E3779B9, 16
_MASK = 0xFFFFFFFF


def file_key() -> bytes:
    """The key of `.en` files, from model/keys.h."""
    text = (ROOT / "model" / "keys.h").read_text()
    return re.search(r'kFileKey = "([ -~]{20})"', text)[1].encode()


def _words(key: bytes) -> list[int]:
    return [int.from_bytes(key[start : start + 4], "big") for start in (0, 5, 10, 15)]


def _encrypt_block(block: bytes, key: list[int]) -> bytes:
    a, b = struct.unpack(">2I", block)
    total = 0
    for _ in range(_ROUNDS):
        total = (total + _DELTA) & _MASK
        a = (a + (((b << 4) + key[0]) ^ (b + total) ^ ((b >> 5) + key[1]))) & _MASK
        b = (b + (((a << 4) + key[2]) ^ (a + total) ^ ((a >> 5) + key[3]))) & _MASK
    return struct.pack(">2I", a, b)


def _decrypt_block(block: bytes, key: list[int]) -> bytes:
    a, b = struct.unpack(">2I", block)
    total = (_DELTA * _ROUNDS) & _MASK
    for _ in range(_ROUNDS):
        b = (b - (((a << 4) + key[2]) ^ (a + total) ^ ((a >> 5) + key[3]))) & _MASK
        a = (a - (((b << 4) + key[0]) ^ (b + total) ^ ((b >> 5) + key[1]))) & _MASK
        total = (total - _DELTA) & _MASK
    return struct.pack(">2I", a, b)


def _xor(a: bytes, b: bytes) -> bytes:
    return bytes(x ^ y for x, y in zip(a, b))


def encrypt(content: bytes, random_bytes: Callable[[int], bytes] = secrets.token_bytes) -> bytes:
    """Encrypts `content`. The result differs each time, unless `random_bytes` always returns the same bytes."""
    key = _words(file_key())
    padding = -(len(content) + 10) % 8
    first = bytes([(random_bytes(1)[0] & 0xF8) | padding])
    plain = first + random_bytes(padding) + random_bytes(2) + content + bytes(7)
    encrypted, chained, previous = [], bytes(8), bytes(8)
    for start in range(0, len(plain), 8):
        mixed = _xor(plain[start : start + 8], previous)
        previous = _xor(_encrypt_block(mixed, key), chained)
        chained = mixed
        encrypted.append(previous)
    return b"".join(encrypted)


def decrypt(data: bytes) -> bytes:
    """The content of an encrypted file. Raises ValueError if it is damaged or something else."""
    if len(data) < 16 or len(data) % 8:
        raise ValueError("not an encrypted model: the length is below 16 or not a multiple of 8")
    key = _words(file_key())
    plain, state, previous = [], bytes(8), bytes(8)
    for start in range(0, len(data), 8):
        block = data[start : start + 8]
        state = _decrypt_block(_xor(block, state), key)
        plain.append(_xor(state, previous))
        previous = block
    plain = b"".join(plain)
    padding = plain[0] & 7
    if any(plain[-7:]):
        raise ValueError("not an encrypted model, or a damaged one: the zeros at its end are missing")
    return plain[3 + padding : -7]
