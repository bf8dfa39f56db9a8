"""A client of a Wayland compositor, without any library: just enough of the protocol to photograph
a screen, and to be its hands.

What is asked and answered is named in the protocols' own descriptions; the numbers here are the
places of the requests and events in them.
"""

import mmap
import os
import select
import socket
import struct
import time

from surroundings.surrounding import CannotStart, Surrounding

DISPLAY = 1
DISPLAY_SYNC, DISPLAY_GET_REGISTRY = 0, 1
DISPLAY_ERROR, DISPLAY_DELETE_ID = 0, 1
REGISTRY_BIND = 0
REGISTRY_GLOBAL, REGISTRY_GLOBAL_REMOVE = 0, 1
SHM_CREATE_POOL = 0
POOL_CREATE_BUFFER, POOL_DESTROY = 0, 1
BUFFER_DESTROY = 0

ANSWERS_WITHIN_S = 10
NOBODY = 0  # An object that is none.


def encoded(argument):
    if isinstance(argument, str):
        text = argument.encode() + b"\0"
        return struct.pack("=I", len(text)) + text + b"\0" * (-len(text) % 4)
    return struct.pack("=I", argument & 0xffffffff)


def numbers(payload):
    return struct.unpack(f"={len(payload) // 4}I", payload)


def text_at(payload, start):
    """A text, and where it ends."""
    length, = struct.unpack_from("=I", payload, start)
    return (payload[start + 4:start + 3 + length].decode(errors="replace"),
            start + 4 + length + -length % 4)


class Client(Surrounding):
    """A connection. Not for two threads."""

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        try:
            self.socket.connect(path)
        except OSError as failure:
            self.socket.close()
            raise CannotStart(f"the compositor does not take a client: {failure}") from failure
        self.received = b""
        self.handlers = {DISPLAY: self.on_display}
        self.last_id = DISPLAY
        self.globals = {}  # The names by interface, with the versions.
        self.registry = self.new(self.on_registry)
        self.request(DISPLAY, DISPLAY_GET_REGISTRY, self.registry)
        self.round_trip()

    def on_display(self, event, payload):
        if event == DISPLAY_ERROR:
            raise CannotStart(f"the compositor refused: {text_at(payload, 8)[0]}")

    def on_registry(self, event, payload):
        name, = struct.unpack_from("=I", payload)
        if event == REGISTRY_GLOBAL:
            interface, end = text_at(payload, 4)
            version, = struct.unpack_from("=I", payload, end)
            self.globals.setdefault(interface, []).append((name, version))
        else:
            for known in self.globals.values():
                known[:] = [one for one in known if one[0] != name]

    def new(self, handler=lambda event, payload: None):
        """The number of an object that a request is about to make, and who hears its events."""
        self.last_id += 1
        self.handlers[self.last_id] = handler
        return self.last_id

    def request(self, sender, opcode, *arguments, file=None):
        body = b"".join(map(encoded, arguments))
        message = struct.pack("=IHH", sender, opcode, 8 + len(body)) + body
        if file is None:
            self.socket.sendall(message)
        else:
            socket.send_fds(self.socket, [message], [file])

    def offers(self, interface):
        return bool(self.globals.get(interface))

    def bind(self, interface, version, handler=lambda event, payload: None, which=0):
        """The compositor's object of this interface, in this version or what it has of it."""
        if len(self.globals.get(interface, [])) <= which:
            raise CannotStart(f"the compositor offers no {interface}")
        name, offered = self.globals[interface][which]
        made = self.new(handler)
        self.request(self.registry, REGISTRY_BIND, name, interface, min(version, offered), made)
        return made

    def dispatch(self, limit_s):
        """Hears what has come within so many seconds: false where nothing has."""
        if not select.select([self.socket], [], [], max(limit_s, 0))[0]:
            return False
        more = self.socket.recv(65536)
        if not more:
            raise CannotStart("the compositor has ended")
        self.received += more
        while len(self.received) >= 8:
            sender, opcode, size = struct.unpack_from("=IHH", self.received)
            if len(self.received) < size:
                break
            payload, self.received = self.received[8:size], self.received[size:]
            handler = self.handlers.get(sender)
            if handler:
                handler(opcode, payload)
        return True

    def dispatch_until(self, condition, limit_s=ANSWERS_WITHIN_S):
        deadline = time.monotonic() + limit_s
        while not condition():
            if not self.dispatch(deadline - time.monotonic()):
                return False
        return True

    def round_trip(self):
        done = []
        self.request(DISPLAY, DISPLAY_SYNC, self.new(lambda *_: done.append(True)))
        if not self.dispatch_until(lambda: done):
            raise CannotStart("the compositor does not answer")

    def end(self):
        self.socket.close()


class SharedPicture:
    """A buffer that the compositor writes a picture into."""

    def __init__(self, client, shm, layout):
        pixels_format, self.width, self.height, self.stride = self.layout = layout
        self.client = client
        size = self.stride * self.height
        file = os.memfd_create("picture")
        os.ftruncate(file, size)
        self.memory = mmap.mmap(file, size)
        pool = client.new()
        client.request(shm, SHM_CREATE_POOL, pool, size, file=file)
        self.buffer = client.new()
        client.request(pool, POOL_CREATE_BUFFER, self.buffer, 0, self.width, self.height,
                       self.stride, pixels_format)
        client.request(pool, POOL_DESTROY)
        os.close(file)

    def destroy(self):
        self.client.request(self.buffer, BUFFER_DESTROY)
        self.memory.close()
