#!/usr/bin/env python3
"""TCP listeners for the discovery test: listeners.py ADDR:PORT[:hang] ...

Each plain listener accepts and closes at once (a port that answers); a ":hang" listener accepts and never
says anything (a server that takes the connection and then stays silent). Runs until killed; prints
"ready" once every socket listens."""
import selectors
import socket
import sys

sel = selectors.DefaultSelector()
held = []
for spec in sys.argv[1:]:
    parts = spec.split(":")
    addr, port, hang = parts[0], int(parts[1]), len(parts) > 2 and parts[2] == "hang"
    s = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    s.bind((addr, port))
    s.listen(64)
    sel.register(s, selectors.EVENT_READ, hang)
print("ready", flush=True)
while True:
    for key, _ in sel.select():
        conn, _ = key.fileobj.accept()
        if key.data:
            held.append(conn)  # keep it open, answer nothing
        else:
            conn.close()
