#!/usr/bin/env python3
"""Answers whoever connects to a port of 127.0.0.1, one after the other, with whatever bytes. Prints the port, and head
and body of each request as a list.

  test_server.py ANSWER THEN [CERTIFICATE]

THEN is "end", "stall" (until the client has gone), or what is said again and again until then. With a file that holds a
certificate and its key it is encrypted.
"""

import json
import socket
import ssl
import sys

answer, then, *certificate = sys.argv[1:]


def receive(client):
    part = client.recv(65536)
    if not part:
        raise ConnectionError
    return part


def talk(client):
    request = b""
    while b"\r\n\r\n" not in request:
        request += receive(client)
    head, _, body = request.partition(b"\r\n\r\n")
    length = next((int(line[16:]) for line in head.split(b"\r\n") if line.startswith(b"Content-Length: ")), 0)
    while len(body) < length:
        body += receive(client)
    print(json.dumps([head.decode(), body.decode()]), flush=True)
    client.sendall(answer.encode())
    while then == "stall":
        receive(client)
    while then != "end":
        client.sendall(then.encode())


listener = socket.create_server(("127.0.0.1", 0))
print(listener.getsockname()[1], flush=True)
if certificate:
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate[0])
while True:
    client = listener.accept()[0]
    try:
        if certificate:
            client = context.wrap_socket(client, server_side=True)
        talk(client)
    except OSError:
        pass  # it has gone, or does not trust this one
    client.close()
