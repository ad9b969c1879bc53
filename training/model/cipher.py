"""Enciphers and deciphers model files: TEA with 16 rounds in a chained container (docs/model-files.md)."""
import re
import secrets
import struct

from training import ROOT

_DELTA, _ROUNDS = 0x9E3779B9, 16
_MASK = 0xFFFFFFFF


def file_key():
    text = (ROOT / "model" / "keys.h").read_text()
    return re.search(r'kFileKey = "([ -~]{20})"', text)[1].encode()


def _words(key):
    return [int.from_bytes(key[start : start + 4], "big") for start in (0, 5, 10, 15)]


def _encrypt(block, key):
    a, b = struct.unpack(">2I", block)
    total = 0
    for _ in range(_ROUNDS):
        total = (total + _DELTA) & _MASK
        a = (a + (((b << 4) + key[0]) ^ (b + total) ^ ((b >> 5) + key[1]))) & _MASK
        b = (b + (((a << 4) + key[2]) ^ (a + total) ^ ((a >> 5) + key[3]))) & _MASK
    return struct.pack(">2I", a, b)


def _decrypt(block, key):
    a, b = struct.unpack(">2I", block)
    total = (_DELTA * _ROUNDS) & _MASK
    for _ in range(_ROUNDS):
        b = (b - (((a << 4) + key[2]) ^ (a + total) ^ ((a >> 5) + key[3]))) & _MASK
        a = (a - (((b << 4) + key[0]) ^ (b + total) ^ ((b >> 5) + key[1]))) & _MASK
        total = (total - _DELTA) & _MASK
    return struct.pack(">2I", a, b)


def _xor(a, b):
    return bytes(x ^ y for x, y in zip(a, b))


def seal(content, random_bytes=secrets.token_bytes):
    """The container of `content`: its bytes differ each time unless `random_bytes` says otherwise."""
    key = _words(file_key())
    padding = -(len(content) + 10) % 8
    first = bytes([(random_bytes(1)[0] & 0xF8) | padding])
    plain = first + random_bytes(padding) + random_bytes(2) + content + bytes(7)
    sealed, chained, previous = [], bytes(8), bytes(8)
    for start in range(0, len(plain), 8):
        mixed = _xor(plain[start : start + 8], previous)
        previous = _xor(_encrypt(mixed, key), chained)
        chained = mixed
        sealed.append(previous)
    return b"".join(sealed)


def unseal(data):
    if len(data) < 16 or len(data) % 8:
        raise ValueError("not an enciphered model: its length is not a multiple of 8, or under 16")
    key = _words(file_key())
    plain, state, previous = [], bytes(8), bytes(8)
    for start in range(0, len(data), 8):
        block = data[start : start + 8]
        state = _decrypt(_xor(block, state), key)
        plain.append(_xor(state, previous))
        previous = block
    plain = b"".join(plain)
    padding = plain[0] & 7
    if any(plain[-7:]):
        raise ValueError("not an enciphered model, or a damaged one: the zeros at its end are missing")
    return plain[3 + padding : -7]
