#!/usr/bin/env python3
"""Runs a command on a host with a journal, or a syslog daemon, of the test's own, and prints what that got.

    log-of.py {journal | syslog} [--end SIGNAL TEXT] COMMAND [ARGUMENT ...]

An entry is one line: of the journal a JSON object of its fields, of syslog the text. The command's status comes last, as
a shell tells it. With --end the command gets an input that never ends, and the signal as soon as it has printed TEXT.
"""
import json
import os
import signal
import socket
import subprocess
import sys

SECONDS = 60


def listen(kind):
    path = {"journal": "/run/systemd/journal/socket", "syslog": "/dev/log"}[kind]
    os.makedirs(os.path.dirname(path), exist_ok=True)
    log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    if os.path.exists(path):
        os.remove(path)
    log.bind(path)
    os.chmod(path, 0o666)
    log.setblocking(False)
    return log


def fields(entry):
    found = {}
    while entry:
        line, _, entry = entry.partition(b"\n")
        name, equals, value = line.partition(b"=")
        if not equals:
            length = int.from_bytes(entry[:8], "little")
            value, entry = entry[8 : 8 + length], entry[9 + length :]
        assert name.decode() not in found, "twice: %s" % name
        found[name.decode()] = value.decode()
    return found


def run(arguments):
    if arguments[0] != "--end":
        return subprocess.run(arguments, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, timeout=SECONDS).returncode
    _, name, text, *command = arguments
    process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    signal.alarm(SECONDS)  # for a text that never comes
    said = b""
    while text.encode() not in said:
        piece = os.read(process.stdout.fileno(), 4096)
        if not piece:
            sys.exit("log-of.py: it ended without saying %r" % text)
        said += piece
    process.send_signal(getattr(signal, name))
    return process.wait(SECONDS)


def main():
    kind, *arguments = sys.argv[1:]
    log = listen(kind)
    status = run(arguments)
    while True:
        try:
            entry = log.recv(1 << 20)
        except BlockingIOError:
            break
        print(json.dumps(fields(entry)) if kind == "journal" else entry.decode())
    print(status if status >= 0 else 128 - status)


main()
