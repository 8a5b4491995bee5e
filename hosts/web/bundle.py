#!/usr/bin/env python3
"""Makes what is given to users out of the page's files and the WebAssembly module.

    bundle.py PAGE MODULE OUT

PAGE is the folder of index.html, its scripts and styles; MODULE holds vorin_web.js and
vorin_web.wasm. OUT receives

    vorin.html   the whole program in one file, which needs no server and no network
    site/        the same as separate files, for a web server

The same inputs give the same bytes. A content security policy in each page forbids all requests,
scripts and styles but those of the bundle. What goes in is read by these rules:

  - index.html names its styles by <link rel="stylesheet" href="..."> and its scripts by
    <script src="..."></script>; both become part of vorin.html where they are named.
  - The elements #vorin-worker, #vorin-module and #vorin-licences come ahead of the first script of
    vorin.html: the worker with what it loads by importScripts as one text, the module packed and in
    base64, and the licences of what is bundled.
"""
import base64
import hashlib
import re
import shutil
import sys
import zlib
from pathlib import Path

HERE = Path(__file__).resolve().parent
LARGEST = 4_000_000  # bytes of vorin.html
LONG_LICENCE = Path("/usr/share/common-licenses/MPL-2.0")  # in each Debian system

STYLE = re.compile(r'<link\s+rel="stylesheet"\s+href="([^"]+)"\s*/?>')
SCRIPT = re.compile(r'<script\s+src="([^"]+)"(?:\s+defer)?\s*></script>')
IMPORTS = re.compile(r"importScripts\(([^)]*)\)")


class BundleError(Exception):
    """What is wrong with the inputs, in a sentence."""


def text_of(path):
    try:
        text = path.read_text(encoding="utf-8")
    except OSError as error:
        raise BundleError(f"{path}: {error.strerror}") from None
    # A browser counts line ends as LF before it compares a hash.
    return text.replace("\r\n", "\n")


def inside_script(text, path):
    """A script's text as it may stand in HTML."""
    if re.search(r"</script|<!--", text, re.IGNORECASE):
        raise BundleError(f"{path}: the text </script or <!-- would end the script inside a page; "
                          "write it in two parts")
    return text


def source_hash(text):
    digest = hashlib.sha256(text.encode("utf-8")).digest()
    return f"'sha256-{base64.b64encode(digest).decode('ascii')}'"


def policy(scripts, styles, workers, connections):
    """The content security policy as the content of a meta element."""
    return "; ".join([
        "default-src 'none'",
        f"script-src {' '.join(scripts)} 'wasm-unsafe-eval'",
        f"style-src {' '.join(styles) or chr(39) + 'none' + chr(39)}",
        "img-src data: blob:",
        f"worker-src {workers}",
        f"connect-src {connections}",
        "form-action 'none'",
        "base-uri 'none'",
        # No text becomes markup or code, whatever a script does.
        "require-trusted-types-for 'script'",
        "trusted-types vorin",
    ])


def with_policy(page, content):
    """The page with the policy ahead of everything that it governs."""
    if re.search(r"http-equiv=.?Content-Security-Policy", page, re.IGNORECASE):
        raise BundleError("index.html has a content security policy already; the bundle makes it")
    mark = re.search(r'<meta charset="utf-8"\s*/?>', page, re.IGNORECASE)
    if not mark:
        raise BundleError('index.html has no <meta charset="utf-8">, after which the policy goes')
    meta = f'\n<meta http-equiv="Content-Security-Policy" content="{content}">'
    return page[:mark.end()] + meta + page[mark.end():]


def licences():
    return text_of(HERE / "licences.txt") + "\n" + text_of(LONG_LICENCE)


class Inputs:
    """The files of the page and of the module."""

    def __init__(self, page, module):
        self.folders = (page, HERE, module)
        # Without comments: they would move the charset behind the bytes where browsers look for it.
        self.index = re.sub(r"<!--.*?-->\n?", "", text_of(page / "index.html"), flags=re.DOTALL)
        self.styles = STYLE.findall(self.index)
        self.scripts = SCRIPT.findall(self.index)
        self.worker = text_of(self.find("worker.js"))
        self.worker_parts = re.findall(r'"([^"]+)"', " ".join(IMPORTS.findall(self.worker)))
        for name in ("vorin_web.js", "vorin.js"):
            if name not in self.worker_parts:
                raise BundleError(f"worker.js does not load {name} by importScripts")
        if not self.scripts:
            raise BundleError('index.html names no script by <script src="..."></script>')
        self.module = self.find("vorin_web.wasm").read_bytes()

    def find(self, name):
        for folder in self.folders:
            path = folder / Path(name).name
            if path.is_file():
                return path
        raise BundleError(f"{name} is in none of {', '.join(str(f) for f in self.folders)}")

    def text(self, name):
        return text_of(self.find(name))

    def whole_worker(self):
        """The worker behind all that it loads, as one script."""
        parts = [self.text(name).rstrip("\n") for name in self.worker_parts]
        return "\n;\n".join([*parts, self.worker])


def packed(data):
    """Without a header, so that no time or name of a system is in it."""
    deflate = zlib.compressobj(9, zlib.DEFLATED, -15)
    return deflate.compress(data) + deflate.flush()


def data_blocks(inputs):
    """What is in the single file in place of files beside it. No browser runs these elements."""
    worker = inside_script(inputs.whole_worker(), "the worker")
    module = base64.b64encode(packed(inputs.module)).decode("ascii")
    texts = inside_script(licences(), "the licences")
    return (f'<script type="text/plain" id="vorin-worker">{worker}</script>\n'
            f'<script type="text/plain" id="vorin-module" data-packing="deflate-raw">{module}</script>\n'
            f'<script type="text/plain" id="vorin-licences">{texts}</script>\n')


def single_file(inputs):
    script_hashes, style_hashes = [], []

    def style(match):
        text = inputs.text(match.group(1))
        if "</style" in text.lower():
            raise BundleError(f"{match.group(1)}: the text </style would end the styles")
        style_hashes.append(source_hash(text))
        return f"<style>{text}</style>"

    def script(match):
        text = inside_script(inputs.text(match.group(1)), match.group(1))
        script_hashes.append(source_hash(text))
        return f"<script>{text}</script>"

    page = STYLE.sub(style, inputs.index)
    at = SCRIPT.search(page).start()
    page = page[:at] + data_blocks(inputs) + SCRIPT.sub(script, page[at:])
    left = re.search(r'<(?:link|script|img|iframe)[^>]*\s(?:src|href)="(?!data:)[^"]*"', page)
    if left:
        raise BundleError(f"index.html: {left.group(0)} is not understood, and its file would be missing")
    return with_policy(page, policy(script_hashes, style_hashes, "blob:", "'none'"))


def site(inputs, folder):
    """The files for a server, side by side."""
    page = STYLE.sub(lambda m: f'<link rel="stylesheet" href="{Path(m.group(1)).name}">', inputs.index)
    page = SCRIPT.sub(lambda m: f'<script src="{Path(m.group(1)).name}"></script>', page)
    page = with_policy(page, policy(["'self'"], ["'self'"], "'self'", "'self'"))
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    (folder / "index.html").write_text(page, encoding="utf-8", newline="\n")
    for name in dict.fromkeys([*inputs.styles, *inputs.scripts, *inputs.worker_parts, "worker.js"]):
        (folder / Path(name).name).write_text(inputs.text(name), encoding="utf-8", newline="\n")
    (folder / "vorin_web.wasm").write_bytes(inputs.module)
    (folder / "LICENCES.txt").write_text(licences(), encoding="utf-8", newline="\n")


def main(arguments):
    if len(arguments) != 3:
        print("usage: bundle.py PAGE MODULE OUT", file=sys.stderr)
        return 2
    page, module, out = (Path(argument) for argument in arguments)
    try:
        inputs = Inputs(page, module)
        text = single_file(inputs)
        size = len(text.encode("utf-8"))
        if size > LARGEST:
            raise BundleError(f"vorin.html would have {size} bytes, more than {LARGEST}")
        site(inputs, out / "site")
    except BundleError as error:
        print(f"bundle: {error}", file=sys.stderr)
        return 1
    (out / "vorin.html").write_text(text, encoding="utf-8", newline="\n")
    print(f"bundle: {out / 'vorin.html'}, {size} bytes, with a module of {len(inputs.module)}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
