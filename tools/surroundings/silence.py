"""Servers that take every call, and do not answer it, or do not go on answering."""

import os
import socket
import threading

from surroundings.surrounding import Surrounding


class Silence(Surrounding):
    """Sockets that take every call and never answer, in a folder of the caller's."""

    def __init__(self, folder):
        self.path = os.path.join(folder, "silent")
        self.unix = socket.socket(socket.AF_UNIX)
        self.unix.bind(self.path)
        self.unix.listen(64)
        self.tcp = socket.create_server(("127.0.0.1", 0), backlog=64)
        self.port = self.tcp.getsockname()[1]

    def end(self):
        self.unix.close()
        self.tcp.close()


class Falterer(Surrounding):
    """Stands before a server and lets its greeting through, and nothing after that."""

    def __init__(self, folder, server):
        self.path = os.path.join(folder, "faltering")
        self.server = server
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(self.path)
        self.listener.listen(16)
        self.connections = []
        threading.Thread(target=self.serve, daemon=True).start()

    def serve(self):
        while True:
            try:
                caller, _ = self.listener.accept()
            except OSError:
                return
            try:
                server = socket.socket(socket.AF_UNIX)
                self.connections += [caller, server]
                server.connect(self.server)
                server.sendall(caller.recv(65536))
                caller.sendall(server.recv(65536))
            except OSError:
                continue

    def end(self):
        # A thread that waits in accept() would not notice that the socket is closed.
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        for connection in self.connections:
            connection.close()
