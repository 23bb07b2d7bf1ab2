"""What the programs take of the machine, second by second, and whether that stays as it was."""
import asyncio
import statistics


def slope(points):
    """Least squares: the growth of the second numbers for one of the first."""
    if len(points) < 3:
        return 0.0
    x_mean, y_mean = (statistics.fmean(column) for column in zip(*points))
    spread = sum((x - x_mean) ** 2 for x, _ in points)
    return sum((x - x_mean) * (y - y_mean) for x, y in points) / spread if spread else 0.0


class Resources:
    """Of one program. `warm_up` is over when baseline() is called, in a moment without faults."""

    def __init__(self, child):
        self.child = child
        self.memory = []  # (seconds since the start, KiB resident, KiB of the heap)
        self.threads_seen = set()

    async def baseline(self):
        self.files, heap = 0, []
        for _ in range(10):  # while a host makes a sensor anew, its connection is missing
            self.files = max(self.files, self.child.files())
            heap.append(self.child.heap())
            await asyncio.sleep(0.1)
        self.heap = statistics.median(heap)
        self.threads = self.child.threads()

    def sample(self, seconds):
        self.memory.append((seconds, self.child.resident(), self.child.heap()))
        self.threads_seen.add(self.child.threads())

    def keep(self, folder):
        """The last sample, for those who want to see the curve."""
        with (folder / f"{self.child.name}-memory.txt").open("a") as file:
            file.write("{:.1f} s {} KiB resident, heap {:.0f} KiB\n".format(*self.memory[-1]))

    def growth(self, begin, end):
        """KiB a minute, of the samples between two times."""
        return 60 * slope([point[:2] for point in self.memory if begin <= point[0] <= end])

    def extra_files(self):
        return self.child.files() - self.files

    def extra_heap(self):
        return self.child.heap() - self.heap

    def line(self):
        resident, heap = (kib / 1024 for kib in self.memory[-1][1:])
        return f"{resident:.1f} MiB (heap {heap:.2f}) {self.child.files()} files {self.child.threads()} threads"
