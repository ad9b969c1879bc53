"""What instances hold, and what frames call."""
from driver.network import Network, Size
from driver.report import Table
from driver.session import Session

MEBIBYTE = 2**20
# What bench/workers/call_counter.cpp counts, in its order.
CALLS = ["allocations on the heap", "ID3D12Device", "ID3D12CommandQueue", "ID3D12CommandAllocator", "ID3D12Fence",
         "ID3D12GraphicsCommandList", "ID3D12Resource", "DirectML", "Direct3D calls of DirectML's own"]


def run(session: Session) -> None:
    memory = session.table(
        "Memory, MiB",
        "Private bytes are those of the whole process; on a software adapter the tensors are among them.")
    calls = session.table("Calls of one frame, four layers", "Of 32 frames, each counted by itself.")
    with session.part("memory"):
        measure_memory(session, memory)
    with session.part("calls"):
        count_calls(session, calls)


def measure_memory(session: Session, table: Table) -> None:
    network, size = Network(8, 1), Size(1280, 720) if session.options.card else Size(64, 36)
    with session.start_library() as library:
        library.ask("open " + session.opened(network, size))
        row = table.add(network=str(network), size=str(size))
        for column, command in (("tensors as planned", "planned"), ("as the library logs", "logged"),
                                ("private, open", "memory")):
            row[column] = library.ask_one(command) / MEBIBYTE
        frames = 0
        for more in (session.times(count, short=5) for count in (10, 490, 500)):
            library.ask(f"frames {more}")
            frames += more
            row[f"after {frames}"] = library.ask_one("memory") / MEBIBYTE


def count_calls(session: Session, table: Table) -> None:
    """Over several frames, because the list of frame times grows now and then."""
    with session.start_library() as library:
        library.ask("open " + session.opened(Network(8, 2), Size(64, 36)))
        library.ask("frames 2")
        library.ask("watch")
        frames = [library.ask("count") for _ in range(32)]
    for name, counts in zip(CALLS, zip(*frames), strict=True):
        table.add(to=name, min=min(counts), max=max(counts))
