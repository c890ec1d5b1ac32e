#!/usr/bin/python3
"""An FTP server for the download tests: serves the files of --folder on
127.0.0.1 and the port given to anonymous and to the user ann (password pw),
read-only, until it is told to stop. A file NAME.short is served as NAME with
a SIZE of twice its length: a download cut short."""
import argparse
import logging
import os

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer


class Handler(FTPHandler):
    auth_failed_timeout = 0  # a refused login answers at once

    def ftp_SIZE(self, path):
        if not os.path.exists(path) and os.path.isfile(path + ".short"):
            return self.respond("213 %d" % (2 * os.path.getsize(path + ".short")))
        return super().ftp_SIZE(path)

    def ftp_RETR(self, file):
        if not os.path.exists(file) and os.path.isfile(file + ".short"):
            file += ".short"
        return super().ftp_RETR(file)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--folder", required=True)
    parser.add_argument("--port", type=int, required=True)
    options = parser.parse_args()
    logging.basicConfig(level=logging.WARNING)
    authorizer = DummyAuthorizer()
    authorizer.add_anonymous(options.folder)
    authorizer.add_user("ann", "pw", options.folder, perm="elr")
    Handler.authorizer = authorizer
    FTPServer(("127.0.0.1", options.port), Handler).serve_forever()


if __name__ == "__main__":
    main()
