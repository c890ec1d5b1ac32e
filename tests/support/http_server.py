#!/usr/bin/python3
"""A web server for the update tests: serves the files of --folder on
127.0.0.1 and the port given, until it is told to stop. A file NAME.short is served as NAME with a Content-Length of twice its
size, and the connection closes after its bytes: a download cut short."""
import argparse
import http.server
import os


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--folder", required=True)
    parser.add_argument("--port", type=int, required=True)
    options = parser.parse_args()
    folder = options.folder

    class Handler(http.server.SimpleHTTPRequestHandler):
        def __init__(self, *args, **kwargs):
            super().__init__(*args, directory=folder, **kwargs)

        def do_GET(self):
            short = os.path.join(folder, self.path.lstrip("/") + ".short")
            if not os.path.isfile(short):
                return super().do_GET()
            with open(short, "rb") as f:
                data = f.read()
            self.send_response(200)
            self.send_header("Content-Type", "application/octet-stream")
            self.send_header("Content-Length", str(2 * len(data)))
            self.end_headers()
            self.wfile.write(data)
            self.wfile.flush()
            self.close_connection = True

        def log_message(self, *args):
            pass

    http.server.ThreadingHTTPServer(("127.0.0.1", options.port), Handler).serve_forever()


if __name__ == "__main__":
    main()
