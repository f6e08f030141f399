#!/usr/bin/env python3
"""A printer that throws away what it gets, as fast as it can.

    sink.py ADDRESS

Listens on ADDRESS, ports 9100 (raw) and 515 (LPR and XLPR, RFC 1179), until its standard input ends.
Reads every connection to its end and closes it at once. Says "ready" when it listens.
"""
import socket
import sys
import threading

READ_SIZE = 1 << 20


def drain(connection, buffer):
    while connection.recv_into(buffer) > 0:
        pass


def read_line(connection):
    line = b""
    while not line.endswith(b"\n"):
        byte = connection.recv(1)
        if not byte:
            return None
        line += byte
    return line


def skip(connection, buffer, count):
    while count > 0:
        taken = connection.recv_into(buffer, min(count, len(buffer)))
        if taken == 0:
            return False
        count -= taken
    return True


def serve_raw(connection):
    with connection:
        drain(connection, bytearray(READ_SIZE))


def serve_lpd(connection):
    """The receive-job command, then files: each announced by a command, ended by a zero octet."""
    buffer = bytearray(READ_SIZE)
    with connection:
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        if read_line(connection) is None:
            return
        connection.sendall(b"\0")
        while (line := read_line(connection)) is not None:
            connection.sendall(b"\0")
            if not skip(connection, buffer, int(line[1:].split(b" ")[0]) + 1):
                return
            connection.sendall(b"\0")


def listen(address, port, serve):
    listener = socket.socket()
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    listener.bind((address, port))
    listener.listen(16)

    def accept():
        while True:
            connection, _ = listener.accept()
            threading.Thread(target=serve, args=(connection,), daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()


def main():
    address = sys.argv[1]
    listen(address, 9100, serve_raw)
    listen(address, 515, serve_lpd)
    print("ready", flush=True)
    sys.stdin.read()


main()
