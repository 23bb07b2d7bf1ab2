"""Stands between clients and one server, and does to their connections what networks do."""
import asyncio
import socket
import struct

PIECE = 65536


def abort(writer):
    """Ends a connection by a reset."""
    end = writer.get_extra_info("socket")
    if end is not None and not writer.transport.is_closing():
        end.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    writer.transport.abort()


class Connection:
    def __init__(self, client, server):
        self.client, self.server = client, server  # writers
        self.passed = 0  # bytes, both directions

    def end(self, by_reset):
        for writer in (self.client, self.server):
            if by_reset:
                abort(writer)
            else:
                writer.close()


class Proxy:
    """The members without underscore are the faults; they take effect at the next byte."""

    def __init__(self, port):
        self.upstream = port
        self.delay = 0.0  # seconds for each piece
        self.drip = 0.0  # seconds for each byte
        self.refusing = False
        self.end_after = None  # (bytes, by_reset): each connection ends when it has carried so many
        self._flowing = asyncio.Event()
        self._flowing.set()
        self._connections = set()

    async def listen(self):
        self._server = await asyncio.start_server(self._carry, "127.0.0.1", 0)
        return self._server.sockets[0].getsockname()[1]

    def freeze(self):
        self._flowing.clear()

    def thaw(self):
        self._flowing.set()

    def end_connections(self, by_reset):
        for connection in list(self._connections):
            connection.end(by_reset)

    def half_close(self, towards_client):
        for connection in list(self._connections):
            writer = connection.client if towards_client else connection.server
            if writer.can_write_eof() and not writer.is_closing():
                writer.write_eof()

    def close(self):
        self._server.close()
        self.thaw()
        self.end_connections(by_reset=True)

    async def _carry(self, from_client, to_client):
        if self.refusing:
            abort(to_client)
            return
        try:
            from_server, to_server = await asyncio.open_connection("127.0.0.1", self.upstream)
        except OSError:
            abort(to_client)
            return
        connection = Connection(to_client, to_server)
        self._connections.add(connection)
        try:
            await asyncio.gather(
                self._pump(from_client, to_server, connection), self._pump(from_server, to_client, connection))
        except (OSError, RuntimeError):  # reset by either side; written to after an end
            connection.end(by_reset=True)
        finally:
            connection.end(by_reset=False)
            self._connections.discard(connection)

    async def _pump(self, reader, writer, connection):
        while data := await reader.read(PIECE):
            await self._flowing.wait()
            if self.delay:
                await asyncio.sleep(self.delay)
            if self.end_after is not None:
                left, by_reset = max(0, self.end_after[0] - connection.passed), self.end_after[1]
                if len(data) >= left:
                    writer.write(data[:left])
                    connection.end(by_reset)
                    return
            connection.passed += len(data)
            await self._write(writer, data)
        await self._flowing.wait()
        if writer.can_write_eof() and not writer.is_closing():
            writer.write_eof()

    async def _write(self, writer, data):
        while self.drip and data:
            writer.write(data[:1])
            data = data[1:]
            await writer.drain()
            await asyncio.sleep(self.drip)
        if data:
            writer.write(data)
            await writer.drain()
