"""The driver's side of a worker process. bench/workers/worker.h describes the other side."""
import os
import subprocess
import threading
from pathlib import Path
from typing import List, Mapping, Sequence


class WorkerError(Exception):
    """A command failed, took too long, or the worker has ended."""


class Worker:
    """A process that answers commands. Leaving the `with` block ends it."""

    def __init__(self, command: Sequence[str], folder: Path, environment: Mapping[str, str], seconds: float) -> None:
        """Starts the command in the folder. An answer that takes longer than so many seconds ends the process."""
        self.name = command[-1]
        self.seconds = seconds
        self.process = subprocess.Popen(command, cwd=folder, env={**os.environ, **environment}, encoding="utf-8",
                                        errors="replace", stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def __enter__(self) -> "Worker":
        return self

    def __exit__(self, *_: object) -> None:
        for close in (self.process.stdin.close, lambda: self.process.wait(20)):  # it ends with its input
            try:
                close()
            except OSError:
                pass
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.process.stdout.close()

    def ask(self, command: str) -> List[float]:
        """Blocks until the answer is there."""
        answer = ""
        timer = threading.Timer(self.seconds, self.process.terminate)
        timer.start()
        try:
            self.process.stdin.write(command + "\n")
            self.process.stdin.flush()
            answer = self.process.stdout.readline()
        except OSError:
            pass  # as without an answer
        finally:
            timer.cancel()
        if not answer.startswith("="):
            reason = answer.strip() or "the worker has ended or did not answer in time"
            raise WorkerError(f"{self.name}, {command}: {reason}")
        return [float(number) for number in answer[1:].split()]

    def ask_one(self, command: str) -> float:
        """For commands whose answer is one number."""
        return self.ask(command)[0]
