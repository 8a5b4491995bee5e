"""A proxy that records who asks: every request that leaves the browser.

The browser is told to use it for all hosts, those of this machine too, so that a request of the
page, of its workers or of a navigation arrives here, whatever other means miss. It answers only
where a test serves a folder, as http://vorin.test/."""
import re
import socket
import threading
from pathlib import Path

# The browser asks its maker for the time and for updates, and Debian's for its page of a new tab,
# whatever page is open. (Requests of a page to these hosts are in the log that page.py reads.)
OF_THE_BROWSER = re.compile(r"(^|\.)(google|googleapis|gvt1|gstatic|duckduckgo)\.com$")
REQUEST = re.compile(r"([A-Z]+) (?:[a-z]+://)?([^/:\s]+)[^/\s]*(/[^\s?]*)?")
SITE = "vorin.test"
KINDS = {".html": "text/html; charset=utf-8", ".js": "text/javascript; charset=utf-8", ".txt": "text/plain",
         ".css": "text/css", ".wasm": "application/wasm", ".csv": "text/csv"}


class Witness:
    def __init__(self):
        self.lines = []
        self.folder = None  # what http://vorin.test/ holds
        self.headers = []
        self._socket = socket.create_server(("127.0.0.1", 0), backlog=50)
        self.address = f"127.0.0.1:{self._socket.getsockname()[1]}"
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            try:
                connection, _ = self._socket.accept()
            except OSError:
                return
            threading.Thread(target=self._answer, args=(connection,), daemon=True).start()

    def _answer(self, connection):
        with connection:
            try:
                line = connection.recv(65536).split(b"\r\n")[0].decode("latin-1")
                if line:
                    self.lines.append(line)
                    connection.sendall(self._answer_to(line))
            except OSError:
                pass

    def _answer_to(self, line):
        match = REQUEST.match(line)
        if not self.folder or not match or match.group(2) != SITE:
            return b""
        path = Path(self.folder) / ((match.group(3) or "/")[1:] or "index.html")
        if not path.is_file():
            return b"HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"
        content = path.read_bytes()
        head = ["HTTP/1.1 200 OK", f"Content-Type: {KINDS[path.suffix]}", f"Content-Length: {len(content)}",
                "Connection: close", *self.headers]
        return "\r\n".join(head).encode() + b"\r\n\r\n" + content

    def asked(self):
        """Hosts and paths that something other than the browser itself asked for."""
        found = []
        for line in list(self.lines):
            match = REQUEST.match(line)
            host, path = (match.group(2), match.group(3) or "/") if match else (line, "")
            if not OF_THE_BROWSER.search(host):
                found.append((host, path))
        return found

    def hosts(self):
        return [host for host, _ in self.asked()]

    def close(self):
        self._socket.close()
