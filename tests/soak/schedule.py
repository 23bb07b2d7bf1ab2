"""Which fault befalls which server when: made wholly before the run, from the seed alone."""
import dataclasses
import random

GRACE = 40.0  # seconds; a server's next fault comes no earlier after the last one, so that each can be judged by itself
MOST_AT_ONCE = 8
MOST_BLOCKING = 3  # those that make clients wait for their time-outs: the host has eight threads


@dataclasses.dataclass(frozen=True)
class Kind:
    name: str
    weight: int
    shortest: float = 0.0  # seconds; 0 and 0: it is over at once
    longest: float = 0.0
    blocks: bool = False
    may_be_long: bool = False
    secured: bool = False  # befalls only servers with a certificate
    harmless: bool = False  # no scan may fail because of it


KINDS = (
    Kind("delay", 3, 2, 10, harmless=True),  # every piece arrives late
    Kind("drip", 2, 2, 8, blocks=True),  # bytes arrive one by one
    Kind("cut", 3),  # connections are closed
    Kind("cutting", 2, 1, 8, may_be_long=True),  # each connection is closed after some bytes
    Kind("reset", 3),  # connections are reset
    Kind("resetting", 2, 1, 8, may_be_long=True),  # each connection is reset after some bytes
    Kind("refuse", 2, 1, 10, may_be_long=True),  # new connections are reset, and the old ones are
    Kind("freeze", 3, 1, 9, blocks=True, may_be_long=True),  # the network swallows everything
    Kind("half-close", 2),  # one direction of each connection is closed
    Kind("restart", 3),  # of the server
    Kind("down", 2, 1, 10, may_be_long=True),  # the server is stopped, and comes back
    Kind("hang", 2, 1, 9, blocks=True, may_be_long=True),  # the server answers nothing
    Kind("close", 2),  # the server ends all sessions
    Kind("fill", 2, 3, 8),  # others take all places for sessions
    Kind("certificate", 3, 3, 10, may_be_long=True, secured=True),  # another server with another one
    Kind("clock", 2, harmless=True),  # of the server
)


@dataclasses.dataclass(frozen=True)
class Fault:
    number: int
    kind: Kind
    server: int
    begin: float  # seconds since the start
    end: float
    amount: float  # from 0 to 1: what the kind makes of it

    def __str__(self):
        lasting = f", {self.end - self.begin:.1f} s" if self.end > self.begin else ""
        return f"{self.kind.name} (number {self.number} at {self.begin:.1f} s{lasting}, amount {self.amount:.3f})"


def length_of(kind, seconds, dice):
    if kind.may_be_long and dice.random() < 0.1:
        return dice.uniform(kind.longest, min(120.0, max(15.0, seconds / 4)))
    return dice.uniform(kind.shortest, kind.longest)


def make_schedule(seed, seconds, servers, secured, pause):
    """`secured`: how many of the servers, the last ones, have a certificate; `pause`: mean seconds between begins."""
    dice = random.Random(seed)
    faults, now, free_from = [], 0.0, [0.0] * servers
    while True:
        now += dice.expovariate(1 / pause)
        if now >= seconds:
            return faults
        kind = dice.choices(KINDS, [kind.weight for kind in KINDS])[0]
        end, amount = min(now + length_of(kind, seconds, dice), seconds), dice.random()
        first = servers - secured if kind.secured else 0
        server = dice.randrange(first, servers)
        active = [fault for fault in faults if fault.end > now]
        blocking = sum(fault.kind.blocks for fault in active)
        if free_from[server] <= now and len(active) < MOST_AT_ONCE and not (kind.blocks and blocking >= MOST_BLOCKING):
            free_from[server] = end + GRACE
            faults.append(Fault(len(faults) + 1, kind, server, now, end, amount))
