"""Model files: how fast they are decrypted and loaded, against what one core's arithmetic allows."""
import math

from driver.network import Network
from driver.report import Table
from driver.session import Session

# The chain of one decrypted block. Each of the 32 half rounds waits for the one before: shift, add, two times
# exclusive-or, subtract. One more exclusive-or joins the blocks.
BLOCK_BYTES, BLOCK_STEPS = 8, 32 * 5 + 1
ENCRYPTIONS = {0: ".bin", 1: ".en", 2: ".en2"}  # extensions by how often a file is encrypted


def run(session: Session) -> None:
    table = session.table(
        "Model files",
        f"Megabytes of the plain file a second on one core. The limit is the serial chain of one core: {BLOCK_STEPS} "
        f"operations that wait for each other for every {BLOCK_BYTES} bytes, once or twice. Loaded is everything from "
        "the file to the weights by name.")
    networks = [Network(32, 2), Network(128, 3), Network(528, 4)]
    for network in session.choose(networks[:1], networks, networks):
        with session.part(f"model files of {network}"):
            time_network(session, network, table)


def time_network(session: Session, network: Network, table: Table) -> None:
    plain = session.model(network)
    megabytes = plain.stat().st_size / 1e6
    patience = session.patience(500)
    with session.start_parts() as parts:
        for count, extension in ENCRYPTIONS.items():
            file = session.seen(plain.with_suffix(extension))

            def speed(command: str) -> float:
                return megabytes * 1e3 / parts.ask_one(f"{command} {file}")

            decrypted = limit = read = math.nan
            if count > 0:
                parts.ask("encrypt " + session.seen(plain.with_suffix(ENCRYPTIONS[count - 1])))
                decrypted = speed(f"decrypt {patience}") / count
                limit = BLOCK_BYTES * 1e3 / (BLOCK_STEPS * parts.ask_one("chain")) / count
                read = speed(f"read {patience}")
            table.add(**{"bytes": plain.stat().st_size, "encrypted": count, "decrypted, MB/s": decrypted,
                         "limit, MB/s": limit, "share": decrypted / limit, "read and decrypted, MB/s": read,
                         "share of both": read / limit,
                         "loaded, MB/s": speed(f"load {patience} {network.channels} {network.depth}")})
