"""Rows handed to the host: how long their copy takes by size, in the ways that there are."""
from driver.network import Size
from driver.report import Row
from driver.session import Session
from driver.statistics import median, minimum
from driver.turns import Side, take_turns

WAYS = {"memcpy": "memcpy", "movsb": "rep movsb", "stream": "streaming"}  # as a worker and as the table call them
UPSCALED = [Size(1280, 720), Size(1920, 1080), Size(2560, 1440), Size(2732, 1536), Size(3840, 2160), Size(7680, 4320)]


def run(session: Session) -> None:
    table = session.table(
        "Rows out, milliseconds",
        "Least and median of copies within host memory, of an upscaled image without padding, by memcpy of the C "
        "runtime, by one instruction that repeats, and past the caches, which is what the library does from 16 MB up. "
        "Read: and then the host reads it once.")
    for size in session.choose(UPSCALED[:1], UPSCALED, UPSCALED):
        with session.part(f"rows out of {size}"), session.start_parts() as parts:
            byte_count = size.width * size.height * 4
            row: Row = {"upscaled": str(size), "MB": byte_count / 1e6}
            for reads, suffix in ((0, ""), (1, ", read")):
                sides = {name: Side(parts, f"rows {way} {byte_count} {reads} 10") for way, name in WAYS.items()}
                take_turns(list(sides.values()), 0, session.times(10))
                for name, side in sides.items():
                    row[f"{name}{suffix}"] = f"{minimum(side.frames):.2f} / {median(side.frames):.2f}"
            table.add(**row)
