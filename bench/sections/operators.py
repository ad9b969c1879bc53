"""The bare operators, compiled in several ways."""
from driver.network import Size
from driver.report import Table
from driver.session import Session
from driver.statistics import median, minimum
from driver.turns import Side, compare, frames_of_turn, take_turns
from sections.parts import NETWORK, sizes

# What the command "variant" is given: layout (1: NHWC), DML_EXECUTION_FLAGS, whether DirectML owns the weights, and
# whether the activation is a clip.
VARIANTS = {
    "NCHW": "0 0 0 0",
    "NCHW, clip": "0 0 0 1",
    "NCHW, owned": "0 0 1 0",
    "NCHW, half precision": "0 1 0 0",
    "NCHW, no metacommands": "0 2 0 0",
    "NCHW, volatile descriptors": "0 4 0 0",
    "NHWC": "1 0 0 0",
    "NHWC, clip": "1 0 0 1",
    "NHWC, owned": "1 0 1 0",
    "NHWC, half precision": "1 1 0 0",
    "NHWC, half precision, owned": "1 1 1 0",
}
NOTE = f"""\
{NETWORK}, one submission of all layers. The variants take turns; ratios are to the first. Clip: the fused activation \
is a clip to 0..1, as in ONNX Runtime's network, instead of the hard sigmoid that gives the same. Owned are weights \
that DirectML takes over when the operators are initialized. The library compiles the first, or on NVIDIA's adapters \
"NHWC, half precision"."""


def run(session: Session) -> None:
    table = session.table("The bare operators, by how they are compiled", NOTE)
    for size in sizes(session) if session.options.card else [Size(64, 36)]:
        with session.part(f"operators at {size}"):
            compare_variants(session, size, table)


def compare_variants(session: Session, size: Size, table: Table) -> None:
    sides = {}
    with session.start_parts() as parts:
        for name, setting in VARIANTS.items():
            with session.part(f"operators compiled as {name}"):
                number = parts.ask_one(f"variant {setting} {session.opened(NETWORK, size)}")
                command = f"convolutions {number:.0f}"
                parts.ask(f"{command} 1")
                frames = frames_of_turn(parts, command, session.patience(200))
                sides[name] = Side(parts, f"{command} {frames}")
        take_turns(list(sides.values()), session.patience(40_000), session.times(4))
    for name, side in sides.items():
        table.add(**{"size": str(size), "variant": name, "frames": len(side.frames), "min, ms": minimum(side.frames),
                     "median, ms": median(side.frames), **compare(side, next(iter(sides.values()))).columns()})
