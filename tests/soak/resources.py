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
        self.memory = []  # (seconds since the start, KiB)
        self.threads_seen = set()

    async def baseline(self):
        self.files = 0
        for _ in range(5):  # while a host makes a sensor anew, its connection is missing
            self.files = max(self.files, self.child.files())
            await asyncio.sleep(0.2)
        self.threads = self.child.threads()

    def sample(self, seconds):
        self.memory.append((seconds, self.child.memory()))
        self.threads_seen.add(self.child.threads())

    def keep(self, folder):
        """The last sample, for those who want to see the curve."""
        with (folder / f"{self.child.name}-memory.txt").open("a") as file:
            file.write("{:.1f} s {} KiB\n".format(*self.memory[-1]))

    def growth(self, begin, end):
        """KiB a minute, of the samples between two times."""
        return 60 * slope([point for point in self.memory if begin <= point[0] <= end])

    def extra_files(self):
        return self.child.files() - self.files

    def line(self):
        memory = self.memory[-1][1] / 1024
        return f"{memory:.1f} MiB {self.child.files()} files {self.child.threads()} threads"
