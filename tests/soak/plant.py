"""The servers with their proxies, and how each kind of fault is made and ended."""
import hashlib

from children import Child
from proxy import Proxy

EXPECTED_SESSIONS = 2  # of serve and of the host: each shares one among its sensors of a server


class Plant:
    """`servers` simulated servers, of which the last `secured` have certificates; one more stands by with another."""

    @classmethod
    async def open(cls, program, servers, secured):
        self = cls()
        self.servers, self.secured = servers, secured
        self.child = await Child.start("plants", program, servers + 1, secured + 1)
        self.known = await self.child.ask("describe")
        self.proxies = [Proxy(one["port"]) for one in self.known[:servers]]
        self.addresses = [f"127.0.0.1:{await proxy.listen()}" for proxy in self.proxies]
        return self

    def is_secured(self, server):
        return server >= self.servers - self.secured

    def fingerprint(self, server):
        return hashlib.sha256(bytes.fromhex(self.known[server]["certificate"])).hexdigest()

    async def sessions(self):
        """Of each server, and those that somebody has opened at the one with the wrong certificate."""
        counts = await self.child.ask("sessions")
        return counts[:-1], counts[-1]

    async def begin(self, fault):
        proxy, server = self.proxies[fault.server], fault.server
        by_amount = {"cutting": False, "resetting": True}
        match fault.kind.name:
            case "delay":
                proxy.delay = 0.01 + 0.1 * fault.amount
            case "drip":
                proxy.drip = 0.0005 + 0.002 * fault.amount
            case "cut" | "reset" as name:
                proxy.end_connections(by_reset=name == "reset")
            case "cutting" | "resetting" as name:
                proxy.end_after = (int(3000 * fault.amount**2), by_amount[name])
            case "refuse":
                proxy.refusing = True
                proxy.end_connections(by_reset=True)
            case "freeze":
                proxy.freeze()
            case "half-close":
                proxy.half_close(towards_client=fault.amount < 0.5)
            case "restart":
                await self.child.ask(f"stop {server}")
                await self.child.ask(f"start {server}")
            case "down":
                await self.child.ask(f"stop {server}")
            case "hang":
                await self.child.ask(f"freeze {server}")
            case "close":
                await self.child.ask(f"close {server}")
            case "fill":
                await self.child.ask(f"fill {server}")
            case "certificate":
                proxy.upstream = self.known[-1]["port"]
                proxy.end_connections(by_reset=False)
            case "clock":
                await self.child.ask(f"step {server} {int((fault.amount - 0.5) * 10_000_000)}")

    async def end(self, fault):
        proxy, server = self.proxies[fault.server], fault.server
        match fault.kind.name:
            case "delay":
                proxy.delay = 0.0
            case "drip":
                proxy.drip = 0.0
            case "cutting" | "resetting":
                proxy.end_after = None
            case "refuse":
                proxy.refusing = False
            case "freeze":
                if fault.amount < 0.5:  # what was swallowed is lost; else it arrives late
                    proxy.end_connections(by_reset=True)
                proxy.thaw()
            case "down":
                await self.child.ask(f"start {server}")
            case "hang":
                await self.child.ask(f"thaw {server}")
            case "fill":
                await self.child.ask(f"release {server}")
            case "certificate":
                proxy.upstream = self.known[server]["port"]
                proxy.end_connections(by_reset=False)

    def close(self):
        for proxy in self.proxies:
            proxy.close()
