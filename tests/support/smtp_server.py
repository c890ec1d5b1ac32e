#!/usr/bin/python3
"""A real SMTP server for the tests, on 127.0.0.1 and a free port.

aiosmtpd does the SMTP; a small relay in front of it records every byte each
client sends (conn-N.in) and every byte the server answers (conn-N.out) in the
record folder. Each delivered message is saved as msg-N.eml with its envelope
in msg-N.env. The port is printed as "PORT n"; the server ends when its
standard input closes, so it never outlives the test that started it.
"""

import argparse
import asyncio
import os
import ssl
import sys

from aiosmtpd.smtp import SMTP, AuthResult, LoginPassword


class Recorder:
    def __init__(self, folder):
        self.folder = folder
        self.connections = 0
        self.messages = 0

    async def handle_DATA(self, server, session, envelope):
        self.messages += 1
        base = os.path.join(self.folder, "msg-%d" % self.messages)
        with open(base + ".eml", "wb") as f:
            f.write(envelope.original_content or envelope.content)
        with open(base + ".env", "w") as f:
            f.write(envelope.mail_from + "\n")
            for rcpt in envelope.rcpt_tos:
                f.write(rcpt + "\n")
        return "250 OK message accepted"


class UsualLoginSMTP(SMTP):
    # The challenges most servers send, rather than aiosmtpd's own.
    AuthLoginUsernameChallenge = "Username:"
    AuthLoginPasswordChallenge = "Password:"


def make_authenticator(folder, user, password):
    def authenticate(server, session, envelope, mechanism, auth_data):
        ok = False
        if isinstance(auth_data, LoginPassword):
            got_user = auth_data.login.decode("latin-1")
            got_pass = auth_data.password.decode("latin-1")
            ok = got_user == user and got_pass == password
            with open(os.path.join(folder, "auth.log"), "a") as f:
                f.write("%s %r %r %s\n" % (mechanism, got_user, got_pass, "ok" if ok else "refused"))
        # Not "handled": aiosmtpd then answers a refusal with 535, as real
        # servers do, instead of leaving the client waiting for a reply.
        return AuthResult(success=ok, handled=False)

    return authenticate


async def relay(src, dst, record):
    try:
        while True:
            data = await src.read(65536)
            if not data:
                break
            record.write(data)
            record.flush()
            dst.write(data)
            await dst.drain()
    except (ConnectionError, asyncio.CancelledError):
        pass
    finally:
        try:
            dst.close()
        except Exception:
            pass


async def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--folder", required=True)
    parser.add_argument("--user")
    parser.add_argument("--password", default="")
    parser.add_argument("--tls", choices=["implicit", "starttls"])
    parser.add_argument("--cert")
    parser.add_argument("--key")
    args = parser.parse_args()

    context = None
    if args.tls:
        context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
        context.load_cert_chain(args.cert, args.key)
    # STARTTLS is done by aiosmtpd itself and required before anything else;
    # implicit TLS ends at the recording relay, so aiosmtpd speaks plain.
    starttls = {"tls_context": context, "require_starttls": True} if args.tls == "starttls" else {}

    loop = asyncio.get_running_loop()
    recorder = Recorder(args.folder)

    def factory():
        if args.user:
            return UsualLoginSMTP(
                recorder,
                authenticator=make_authenticator(args.folder, args.user, args.password),
                auth_require_tls=False,
                auth_required=False,
                data_size_limit=None,
                **starttls,
            )
        return SMTP(recorder, data_size_limit=None, **starttls)

    inner = await loop.create_server(factory, "127.0.0.1", 0)
    inner_port = inner.sockets[0].getsockname()[1]

    async def on_client(reader, writer):
        recorder.connections += 1
        n = recorder.connections
        up_reader, up_writer = await asyncio.open_connection("127.0.0.1", inner_port)
        with open(os.path.join(args.folder, "conn-%d.in" % n), "wb") as sent, open(
            os.path.join(args.folder, "conn-%d.out" % n), "wb"
        ) as answered:
            await asyncio.gather(relay(reader, up_writer, sent), relay(up_reader, writer, answered))

    outer = await asyncio.start_server(
        on_client, "127.0.0.1", 0, ssl=context if args.tls == "implicit" else None
    )
    print("PORT %d" % outer.sockets[0].getsockname()[1], flush=True)

    # Standard input closing is the signal to stop.
    stdin_closed = loop.create_future()

    def watch_stdin():
        try:
            while sys.stdin.buffer.read(4096):
                pass
        finally:
            loop.call_soon_threadsafe(lambda: stdin_closed.done() or stdin_closed.set_result(None))

    loop.run_in_executor(None, watch_stdin)
    await stdin_closed
    outer.close()
    inner.close()


if __name__ == "__main__":
    try:
        asyncio.run(main())
    except KeyboardInterrupt:
        pass
    os._exit(0)
