"""A proxy that answers nothing and records who asks: every request that leaves the browser.

The browser is told to use it for all hosts, those of this machine too, so that a request of the
page, of its workers or of a navigation arrives here, whatever other means miss."""
import re
import socket
import threading

# The browser asks its maker for the time and for updates, whatever page is open.
OF_THE_BROWSER = re.compile(r"(^|\.)(google|googleapis|gvt1|gstatic)\.com$")


class Witness:
    def __init__(self):
        self.lines = []
        self._socket = socket.socket()
        self._socket.bind(("127.0.0.1", 0))
        self._socket.listen(50)
        self.address = f"127.0.0.1:{self._socket.getsockname()[1]}"
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            try:
                connection, _ = self._socket.accept()
            except OSError:
                return
            with connection:
                connection.settimeout(5)
                try:
                    self.lines.append(connection.recv(4096).split(b"\r\n")[0].decode("latin-1"))
                except OSError:
                    self.lines.append("nothing")

    def hosts(self):
        """The hosts that something other than the browser itself asked for."""
        found = []
        for line in list(self.lines):
            match = re.match(r"[A-Z]+ (?:[a-z]+://)?([^/:\s]+)", line)
            host = match.group(1) if match else line
            if not OF_THE_BROWSER.search(host):
                found.append(host)
        return found

    def close(self):
        self._socket.close()
