#!/usr/bin/env python3
"""How soon /metrics answers while clients are slow: half of them send a byte of a request now and then, half send a
request and read a byte of the answer now and then.

usage: bench/slow_clients.py PROGRAM [CLIENTS [SECONDS]]    PROGRAM: opcua-probe; 300 clients, 20 seconds
Prints the latency of /metrics alone and beside the slow clients, in milliseconds, and how many requests failed.
"""
import select
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time


def scrape(port):
    """Seconds until the whole answer is there; None when there was none in 5 s."""
    begin = time.monotonic()
    try:
        with socket.create_connection(("127.0.0.1", port), timeout=5) as client:
            client.sendall(b"GET /metrics HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n")
            answer = b""
            while block := client.recv(65536):
                answer += block
        return time.monotonic() - begin if answer.startswith(b"HTTP/1.1 200") else None
    except OSError:
        return None


class slow_clients:
    """Keeps so many slow clients connected: whoever was sent away comes again."""

    def __init__(self, port, count):
        self.port, self.count, self.ended = port, count, threading.Event()
        self.returned = -count
        self.thread = threading.Thread(target=self.run)
        self.thread.start()

    def connect(self, number):
        client = socket.create_connection(("127.0.0.1", self.port), timeout=5)
        client.sendall(b"GET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n" if number % 2 else b"GET /metr")
        client.setblocking(False)
        self.returned += 1
        return client

    def run(self):
        clients = [None] * self.count
        while not self.ended.is_set():
            for number, client in enumerate(clients):
                try:
                    if client is None:
                        clients[number] = self.connect(number)
                    elif number % 2:
                        if select.select([client], [], [], 0)[0] and not client.recv(1):
                            clients[number] = None
                    else:
                        client.send(b"a")
                        if select.select([client], [], [], 0)[0]:
                            clients[number] = None
                except OSError:
                    clients[number] = None
            self.ended.wait(0.5)

    def stop(self):
        self.ended.set()
        self.thread.join()


def report(what, port, seconds):
    end, times, failed = time.monotonic() + seconds, [], 0
    while time.monotonic() < end:
        took = scrape(port)
        if took is None:
            failed += 1
        else:
            times.append(took * 1000)
        time.sleep(0.05)
    times.sort()
    shown = "no answers"
    if times:
        shown = f"median {statistics.median(times):.1f} ms, 99 %: {times[int(len(times) * 0.99)]:.1f} ms, most {times[-1]:.1f} ms"
    print(f"{what}: {shown}, {len(times)} answers, {failed} failed", flush=True)


def main(program, clients=300, seconds=20):
    with tempfile.NamedTemporaryFile("w", suffix=".yaml") as configuration:
        configuration.write("listen: {port: 0}\n")
        configuration.flush()
        probe = subprocess.Popen(
            [program, "serve", "--config", configuration.name], stderr=subprocess.PIPE, text=True
        )
        try:
            port = int(probe.stderr.readline().rsplit(":", 1)[1].strip("/\n"))
            report("alone", port, seconds / 4)
            slow = slow_clients(port, clients)
            time.sleep(2)
            report(f"beside {clients} slow clients", port, seconds)
            slow.stop()
            print(f"slow clients that were sent away and came again: {max(slow.returned, 0)}")
        finally:
            probe.terminate()
            probe.wait()


if __name__ == "__main__":
    main(sys.argv[1], *map(int, sys.argv[2:]))
