#!/usr/bin/env python3
"""SMTP server for the mail tests: smtpserver.py MODES RECORD. Prints its port, then serves
one connection after another until killed. RECORD gets OPEN, CMD <command>, MSG <n> (the DATA
bytes are in RECORD.<n>), EARLY (sent before a reply was complete), CLOSED.
MODES (comma-separated): see ALIASES, reply() and run(); reject-STEP, stall-STEP (never answer)
and hangup-STEP (close instead) for STEP in GREETING EHLO HELO MAIL RCPT DATA BODY QUIT."""
import select
import socket
import sys
import time

ALIASES = {"ehlo-5xx": {"reject-EHLO"}, "ehlo-and-helo-5xx": {"reject-EHLO", "reject-HELO"},
           "no-greeting": {"stall-GREETING"}}
REPLIES = {  # step: (positive, negative)
    "GREETING": (b"220 pinboard ESMTP ready\r\n", b"554 5.3.2 no service\r\n"),
    "EHLO": (b"250-localhost\r\n250-SIZE 1000000\r\n250 HELP\r\n", b"502 5.5.1 no EHLO\r\n"),
    "HELO": (b"250 localhost\r\n", b"501 5.5.2 HELO refused\r\n"),
    "MAIL": (b"250 2.1.0 Ok\r\n", b"550 5.1.0 sender refused\r\n"),
    "RCPT": (b"250 2.1.5 Ok\r\n", b"550 5.1.1 no such user\r\n"),
    "DATA": (b"354 End data with <CR><LF>.<CR><LF>\r\n", b"554 5.5.1 no recipients\r\n"),
    "BODY": (b"250 2.0.0 queued\r\n", b"554 5.6.0 message refused\r\n"),
    "QUIT": (b"221 2.0.0 Bye\r\n", b"500 5.5.2 not now\r\n"),
}
PAUSE = 0.3


class Closed(Exception):
    pass


class Session:
    def __init__(self, conn, modes, record, path, messages):
        self.conn, self.modes, self.record, self.path = conn, modes, record, path
        self.messages, self.buf, self.recipients = messages, b"", 0

    def log(self, line):
        self.record.write(line + b"\n")

    def fill(self):
        data = self.conn.recv(65536)
        if not data:
            raise Closed()
        self.buf += data

    def drain(self):
        while True:
            self.buf = b""
            self.fill()

    def send_split(self, text, at):
        self.conn.sendall(text[:at])
        time.sleep(PAUSE)
        if select.select([self.conn], [], [], 0)[0] and self.conn.recv(1, socket.MSG_PEEK):
            self.log(b"EARLY")
        self.conn.sendall(text[at:])

    def reply(self, step):
        if "stall-" + step in self.modes:
            self.drain()
        if "hangup-" + step in self.modes:
            raise Closed()
        positive, negative = REPLIES[step]
        refused = "reject-" + step in self.modes
        if step == "RCPT" and "rcpt-4xx" in self.modes and self.recipients == 2:
            negative, refused = b"450 4.2.0 mailbox busy\r\n", True
        text = negative if refused else positive
        if "slow" in self.modes:
            time.sleep(PAUSE)
        if step == "GREETING" and "midline-split" in self.modes:
            self.send_split(text, 15)
        elif step == "EHLO" and "multiline-split" in self.modes and not refused:
            self.send_split(text, 33)  # between the second and third line
        else:
            self.conn.sendall(text)
        return not refused

    def until(self, end):
        while end not in self.buf:
            self.fill()
        i = self.buf.index(end) + len(end)
        part, self.buf = self.buf[:i], self.buf[i:]
        return part

    def run(self):
        self.log(b"OPEN")
        try:
            self.reply("GREETING")
            while True:
                line = self.until(b"\n").rstrip(b"\n").removesuffix(b"\r")
                self.log(b"CMD " + line)
                verb = line[:4].upper().decode("latin-1")
                self.recipients += verb == "RCPT"
                if verb == "DATA":
                    if self.reply(verb):
                        self.messages += 1
                        with open("%s.%d" % (self.path, self.messages), "wb") as f:
                            f.write(self.until(b"\r\n.\r\n"))
                        self.log(b"MSG %d" % self.messages)
                        self.reply("BODY")
                elif verb in REPLIES:
                    if self.reply(verb) and verb == "QUIT":
                        self.drain()
                else:
                    self.conn.sendall(b"500 5.5.2 unknown command\r\n")
        except (Closed, OSError):
            pass
        self.log(b"CLOSED")
        self.conn.close()
        return self.messages


def main():
    modes = set(sys.argv[1].split(","))
    for mode in list(modes):
        modes |= ALIASES.get(mode, set())
    record = open(sys.argv[2], "ab", buffering=0)
    server = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    server.bind(("127.0.0.1", 0))
    server.listen(8)
    print(server.getsockname()[1], flush=True)
    messages = 0
    while True:
        conn, _ = server.accept()
        messages = Session(conn, modes, record, sys.argv[2], messages).run()


if __name__ == "__main__":
    main()
