"""The programs of the soak as child processes. None of them outlives this one, however it ends."""
import asyncio
import json
import os
import pathlib
import re

# The kernel ends them if this process is killed.
WITH_PARENT = ("setpriv", "--pdeathsig", "KILL")
# The allocator overwrites what it gives and takes back. So all memory that is allocated counts as resident at once (the
# stack's buffers of 64 KiB otherwise become so page by page, for a quarter of an hour), and what is used after it was
# given back, or before it was filled, is no longer right by chance. One heap for all threads, or each grows by itself; and
# no thread keeps for its next need what was given back, which would count as not given back.
ENVIRONMENT = {
    "MALLOC_PERTURB_": "165", "MALLOC_ARENA_MAX": "1", "GLIBC_TUNABLES": "glibc.malloc.tcache_count=0"}


class Child:
    def __init__(self, name, process):
        self.name, self.process, self.pid = name, process, process.pid
        self._asking = asyncio.Lock()

    @classmethod
    async def start(cls, name, *command, meter=None, errors=None):
        """`meter`: the library that is preloaded and tells what the heap holds, and the file to which it does."""
        environment = {**os.environ, **ENVIRONMENT}
        if meter:
            environment |= {"LD_PRELOAD": str(meter[0]), "SOAK_HEAP": str(meter[1])}
        process = await asyncio.create_subprocess_exec(
            *WITH_PARENT, *map(str, command), stdin=asyncio.subprocess.PIPE, stdout=asyncio.subprocess.PIPE,
            stderr=errors, env=environment, limit=2**22, start_new_session=True)
        child = cls(name, process)
        child.heap_file = meter[1] if meter else None
        return child

    async def ask(self, order):
        """The answer to one line, JSON."""
        async with self._asking:
            self.process.stdin.write(f"{order}\n".encode())
            line = await self.process.stdout.readline()
        if not line:
            raise RuntimeError(f"{self.name} has ended")
        return json.loads(line)

    async def end(self, seconds=30):
        """Asks it to end, then makes it. True when it ended by itself, with 0."""
        if self.process.returncode is None:
            self.process.stdin.close()
            if self.name == "serve":
                self.process.terminate()
            try:
                await asyncio.wait_for(self.process.wait(), seconds)
            except asyncio.TimeoutError:
                self.process.kill()
                await self.process.wait()
        return self.process.returncode == 0 or (self.name == "serve" and self.process.returncode == 128 + 15)

    # What the kernel knows of it.
    def _status(self, field):
        text = pathlib.Path(f"/proc/{self.pid}/status").read_text()
        return int(re.search(rf"^{field}:\s+(\d+)", text, re.MULTILINE)[1])

    def resident(self):
        """KiB, without mapped files."""
        return self._status("RssAnon")

    def heap(self):
        """KiB that the allocator has given out and not got back."""
        return int(self.heap_file.read_text()) / 1024

    def threads(self):
        return self._status("Threads")

    def files(self):
        return len(os.listdir(f"/proc/{self.pid}/fd"))


class Serve(Child):
    """`opcua-probe serve`; its log goes to a file."""

    def __init__(self, name, process):
        super().__init__(name, process)
        self.port = 0

    @classmethod
    async def open(cls, program, configuration, folder, meter):
        child_log = folder / "serve.log"
        with child_log.open("wb") as errors:
            child = await cls.start(
                "serve", program, "serve", "--config", configuration, meter=(meter, folder / "serve.heap"), errors=errors)
        child.log = child_log
        for _ in range(600):  # the key pair may have to be made first
            await asyncio.sleep(0.1)
            if found := re.search(r"Serving http://127\.0\.0\.1:(\d+)/", child.log.read_text()):
                child.port = int(found[1])
                return child
            if child.process.returncode is not None:
                break
        raise RuntimeError(f"opcua-probe does not serve: {child.log.read_text()}")

    def lines(self):
        return self.log.read_bytes().count(b"\n")

    async def state(self):
        reader, writer = await asyncio.open_connection("127.0.0.1", self.port, limit=2**22)
        writer.write(b"GET /api/state HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n")
        answer = await reader.read()
        writer.close()
        head, _, body = answer.partition(b"\r\n\r\n")
        if b" 200 " not in head.split(b"\r\n")[0]:
            raise RuntimeError(f"serve answers {head[:80]!r}")
        return json.loads(body)
