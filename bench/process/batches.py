#!/usr/bin/env python3
"""Batches by one process of the command: many small files stamped over a slow road by one connection
and by eight, and many stored stamps verified by one thread.

    batches.py BIN [--files N] [--stamps N] [--delay MILLISECONDS]

BIN is the folder of the built programs. The authority is chronoseal-tsa on loopback, behind a relay
that holds everything back for half of the delay in each direction.
"""

import argparse
import asyncio
import os
import pathlib
import resource
import subprocess
import tempfile
import threading
import time


class Relay:
    """Passes connections on to `port`, late by `seconds` each way, from a thread of its own."""

    def __init__(self, port, seconds):
        self.target, self.seconds = port, seconds
        self.loop = asyncio.new_event_loop()
        started = threading.Event()
        threading.Thread(target=self.run, args=(started,), daemon=True).start()
        started.wait()

    def run(self, started):
        asyncio.set_event_loop(self.loop)
        server = self.loop.run_until_complete(
            asyncio.start_server(self.serve, "127.0.0.1", 0))
        self.port = server.sockets[0].getsockname()[1]
        started.set()
        self.loop.run_forever()

    async def serve(self, reader, writer):
        far_reader, far_writer = await asyncio.open_connection("127.0.0.1", self.target)
        await asyncio.gather(self.pass_on(reader, far_writer), self.pass_on(far_reader, writer))

    async def pass_on(self, reader, writer):
        try:
            while data := await reader.read(65536):
                await asyncio.sleep(self.seconds)
                writer.write(data)
        except ConnectionError:
            pass
        writer.close()


def timed(command, environment):
    """Seconds, processor seconds, and most memory in MB of a run that has to succeed."""
    begin = time.perf_counter()
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(command, env=environment, check=True, stdout=subprocess.DEVNULL)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    processor = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return time.perf_counter() - begin, processor, after.ru_maxrss / 1024


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("bin", type=pathlib.Path)
    parser.add_argument("--files", type=int, default=2000)
    parser.add_argument("--stamps", type=int, default=10000)
    parser.add_argument("--delay", type=float, default=50)
    arguments = parser.parse_args()
    programs = arguments.bin.resolve()
    with tempfile.TemporaryDirectory(prefix="bench-batches-") as folder:
        os.chdir(folder)
        pathlib.Path("config.toml").write_text("")
        environment = dict(
            os.environ, HOME=folder, XDG_CACHE_HOME=f"{folder}/cache",
            BASALT_CONFIG=f"{folder}/config.toml", BASALT_USER_STORES=f"{folder}/stores",
            BASALT_MACHINE_STORES=f"{folder}/machine", BASALT_SYSTEM_ROOTS=f"{folder}/none.pem")
        subprocess.run([programs / "chronoseal-tsa", "--init", "tsa"], check=True,
                       capture_output=True)
        authority = subprocess.Popen([programs / "chronoseal-tsa", "--dir", "tsa"], text=True,
                                     stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        try:
            port = int(authority.stdout.readline().split()[-1].rstrip("/").rsplit(":", 1)[1])
            relay = Relay(port, arguments.delay / 2000)
            trust = ["--roots", "tsa/root.pem", "--revocation", "off", "-q"]
            names = [f"{i}.txt" for i in range(arguments.files)]
            for name in names:
                pathlib.Path(name).write_text(f"The content of {name}\n")
            alone = None
            for jobs in (1, 8):
                wall, processor, memory = timed(
                    [programs / "chronoseal", "stamp", *names, "--force", "--jobs", str(jobs),
                     "--url", f"http://127.0.0.1:{relay.port}/", *trust], environment)
                alone = alone or wall
                print(f"stamp {len(names)} files, {jobs} connection(s), {arguments.delay:g} ms: "
                      f"{wall:.2f} s, x{alone / wall:.1f}, processor {processor:.2f} s, "
                      f"{memory:.1f} MB", flush=True)
            stored = []
            for i in range(arguments.stamps):
                source = names[i % len(names)]
                name = f"stored-{i}.txt"
                os.link(source, name)
                os.link(f"{source}.tsr", f"{name}.tsr")
                stored.append(f"{name}.tsr")
            wall, processor, memory = timed(
                [programs / "chronoseal", "verify", *stored, "--jobs", "1", *trust], environment)
            print(f"verify {len(stored)} stamps: {wall:.2f} s, processor {processor:.2f} s, "
                  f"{len(stored) / processor:,.0f} a second a core, {memory:.1f} MB")
        finally:
            authority.terminate()
            authority.wait()


if __name__ == "__main__":
    main()
