"""What the soak tells people: a line a minute, each failure at once, tables at the end."""
import settings

# KiB of resident memory, in runs that are long enough for it to take its final shape. What the heap holds is judged always.
GROWTH_OF_A_RUN, GROWTH_OF_A_MINUTE = 3072, 64
LONG_RUN = 600  # seconds
THREADS_BESIDE_WORKERS = 24  # of serve: for HTTP
LINES_OF_A_FAULT = 2  # its begin and its end
LINES_BESIDE = 10


class Report:
    def __init__(self, soak, seed):
        self.soak, self.seed, self.told = soak, seed, 0

    def begin(self):
        self.lines_before = self.soak.serve.lines()
        longest = max((fault.end - fault.begin for fault in self.soak.schedule), default=0)
        print(f"soak: seed {self.seed}, {self.soak.seconds / 60:g} minutes, {len(self.soak.schedule)} faults on "
              f"{self.soak.plant.servers} servers, the longest lasts {longest:.0f} s", flush=True)

    def tell(self, failure):
        self.told += 1
        print(f"FAILED  {failure} (seed {self.seed})", flush=True)

    def lines(self):
        return self.soak.serve.lines() - self.lines_before

    def minute(self, counts, restless):
        soak, judge = self.soak, self.soak.judge
        active = sum(server.active for server in judge.servers)
        begun = sum(faults for faults, _ in judge.lost.values())
        programs = ", ".join(f"{name} {one.line()}" for name, one in soak.resources.items())
        print(f"{soak.now():6.0f} s: {begun} faults ({active} now), {soak.plant.servers - restless} servers settled, "
              f"{sum(counts)} sessions; {programs}; {self.lines()} log lines of serve, {judge.episodes} times down; "
              f"{len(judge.failures)} failures", flush=True)

    def check_programs(self):
        soak, fail = self.soak, self.soak.judge.fail
        most = settings.WORKERS + THREADS_BESIDE_WORKERS
        if max(soak.resources["serve"].threads_seen) > most:
            fail("threads", None, f"serve had {max(soak.resources['serve'].threads_seen)}, at most {most} are right")
        host = soak.resources["host"]
        if host.threads_seen - {host.threads}:
            fail("threads", None, f"host had {sorted(host.threads_seen)}, {host.threads} are right")
        allowed = LINES_BESIDE + soak.judge.reasons + LINES_OF_A_FAULT * (
            soak.judge.episodes + soak.judge.sensor_episodes)
        if self.lines() > allowed:
            fail("log", None, f"serve wrote {self.lines()} lines, at most {allowed} are right")

    def check_memory(self):
        """KiB a minute of each program's resident memory after the first tenth, and how many are right in a long run."""
        begin, end = self.soak.seconds / 10, self.soak.now()
        most = GROWTH_OF_A_MINUTE + GROWTH_OF_A_RUN / ((end - begin) / 60)
        growth = {name: one.growth(begin, end) for name, one in self.soak.resources.items()}
        for name, kib in growth.items():
            if kib > most and self.soak.seconds >= LONG_RUN:
                self.soak.judge.fail("memory", None, f"{name} grows by {kib:.0f} KiB a minute, {most:.0f} are right")
        return growth, most

    def table(self):
        soak, judge = self.soak, self.soak.judge
        growth, most = self.check_memory()
        print("\nfault        faults  scans lost each    serve: value        status          host   "
              "(seconds from the end to a value: median, most)")
        print("\n".join(judge.recovery_lines()))
        for who, name in (("value", "serve, value"), ("status", "serve, status"), ("host", "host")):
            count, within, longest = judge.two_intervals(who)
            print(f"{name}: {count} recoveries, {within} within two intervals, the longest after {longest:.1f} s")
        for name, one in soak.resources.items():
            print(f"{name}: heap {one.extra_heap():+.0f} KiB, resident {growth[name]:+.0f} KiB a minute "
                  f"({most:.0f} in a long run), files {one.extra_files():+}, threads {min(one.threads_seen)} to {max(one.threads_seen)}")
        print(f"serve: {self.lines()} log lines; servers were down {judge.episodes} times, then {judge.reasons} "
              f"times for another reason, sensors alone {judge.sensor_episodes} times")
        longest = max((seconds for _, seconds in judge.standstills), default=0)
        print(f"machine: stood still for {longest:.1f} s at most; {judge.excused} failed scans excused by that")
        print(f"judged: {judge.judged['value']} values of serve, {judge.judged['host value']} scans of the host")

    def verdict(self):
        failures = self.soak.judge.failures
        for failure in failures[self.told:]:
            self.tell(failure)
        print(f"soak: {'FAILED' if failures else 'passed'}, {len(failures)} failures, seed {self.seed}", flush=True)
        return not failures
