"""Runs Linux programs for the programs of ffmpeg_relay.cpp, as long as a command runs.

usage: ffmpeg_relay.py COMMAND [ARGUMENT...]

The command's environment names the port. Only connections of this machine are taken. The program that a request
names is looked for in PATH.
"""
import os
import re
import socketserver
import struct
import subprocess
import sys
import threading
from pathlib import Path

PREFIX = Path(os.environ.get("WINEPREFIX", Path(__file__).resolve().parents[2] / "build/wine"))
PROGRAMS = ("ffmpeg", "ffprobe")


def unix_path(match):
    start, drive, rest = match.groups()
    return start + str(PREFIX / "dosdevices" / f"{drive.lower()}:" / rest.replace("\\", "/").lstrip("/"))


# Windows paths stand alone or behind "file:".
def unix_argument(argument):
    return re.sub(r"^(file:|)([A-Za-z]):(?=[\\/])(.*)$", unix_path, argument)


class Relay(socketserver.StreamRequestHandler):
    def receive(self, count):
        data = self.rfile.read(count)
        if len(data) < count:
            raise ConnectionError("the program at the other end is gone")
        return data

    def block(self):
        return self.receive(struct.unpack("<I", self.receive(4))[0])

    def send(self, stream, value, data=b""):
        with self.sending:
            self.wfile.write(struct.pack("<II", stream, value) + data)

    def pass_input(self, process):
        try:
            while data := self.block():
                process.stdin.write(data)
                process.stdin.flush()
        except BrokenPipeError:
            return  # the program takes no more
        except OSError:
            process.kill()
            return
        process.stdin.close()
        if not self.rfile.read(1):  # nothing comes until the other end has gone
            process.kill()

    def pass_output(self, process, stream, source):
        try:
            while data := source.read1(1 << 16):
                self.send(stream, len(data), data)
        except OSError:
            process.kill()

    def handle(self):
        name, folder, *arguments = self.block().decode().split("\0")[:-1]
        if name not in PROGRAMS:
            return
        self.sending = threading.Lock()
        process = subprocess.Popen([name, *map(unix_argument, arguments)], cwd=unix_argument(folder),
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        threading.Thread(target=self.pass_input, args=(process,), daemon=True).start()
        outputs = [threading.Thread(target=self.pass_output, args=(process, number, source))
                   for number, source in ((1, process.stdout), (2, process.stderr))]
        for thread in outputs:
            thread.start()
        for thread in outputs:
            thread.join()
        code = process.wait()
        try:
            self.send(0, code & 0xFF)
        except OSError:
            pass


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True


def main():
    with Server(("127.0.0.1", 0), Relay) as server:
        threading.Thread(target=server.serve_forever, daemon=True).start()
        environment = {**os.environ, "ORVANE_RELAY_PORT": str(server.server_address[1])}
        return subprocess.run(sys.argv[1:], env=environment, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
