"""The single file and the folder for a server: what is in them. No browser is needed."""
import base64
import hashlib
import shutil
import subprocess
import sys
import zlib
from html.parser import HTMLParser

import pytest
from command import ROOT
from page import PAGE

MODULE = ROOT / "build/web/hosts/web"
SOURCES = ROOT / "hosts/web/page"
needs_module = pytest.mark.skipif(not (MODULE / "vorin_web.wasm").exists(),
                                  reason="the module is not built; run script/web")


class Elements(HTMLParser):
    """Scripts and styles with their texts, and the attributes of all elements."""

    def __init__(self, text):
        super().__init__(convert_charrefs=False)
        self.inner = []
        self.elements = []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.elements.append((tag, dict(attrs)))
        if tag in ("script", "style"):
            self.inner.append([tag, dict(attrs), ""])

    def handle_data(self, data):
        if self.lasttag in ("script", "style") and self.inner:
            self.inner[-1][2] += data

    def handle_endtag(self, tag):
        self.lasttag = ""

    def policy(self):
        content = next(a["content"] for t, a in self.elements
                       if t == "meta" and a.get("http-equiv") == "Content-Security-Policy")
        return dict(part.strip().split(" ", 1) for part in content.split(";"))


def bundle(page, module, out):
    return subprocess.run([sys.executable, ROOT / "hosts/web/bundle.py", page, module, out],
                          capture_output=True, text=True, check=False)


@pytest.fixture(scope="module")
def built(tmp_path_factory):
    out = tmp_path_factory.mktemp("bundle")
    assert bundle(SOURCES, MODULE, out).returncode == 0
    return out


@pytest.fixture
def sources(tmp_path):
    shutil.copytree(SOURCES, tmp_path / "page")
    return tmp_path / "page"


def hash_of(text):
    return f"'sha256-{base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()}'"


@needs_module
def test_the_same_inputs_give_the_same_bytes(built, tmp_path):
    assert bundle(SOURCES, MODULE, tmp_path).returncode == 0
    names = sorted(str(path.relative_to(built)) for path in built.rglob("*"))
    assert names == sorted(str(path.relative_to(tmp_path)) for path in tmp_path.rglob("*"))
    for name in names:
        if (built / name).is_file():
            assert (built / name).read_bytes() == (tmp_path / name).read_bytes(), name


@needs_module
def test_one_file_holds_all_and_only_what_the_policy_allows(built):
    text = (built / "vorin.html").read_text(encoding="utf-8")
    page = Elements(text)
    policy = page.policy()
    run = [inner for tag, attributes, inner in page.inner if tag == "script" and "type" not in attributes]
    styles = [inner for tag, _, inner in page.inner if tag == "style"]
    assert len(run) > 5 and styles
    assert policy["script-src"].split() == [*(hash_of(inner) for inner in run), "'wasm-unsafe-eval'"]
    assert policy["style-src"].split() == [hash_of(inner) for inner in styles]
    assert policy["default-src"] == policy["connect-src"] == policy["form-action"] == "'none'"
    assert policy["worker-src"] == "blob:" and policy["require-trusted-types-for"] == "'script'"
    for tag, attributes in page.elements:
        assert not any(name.startswith("on") or name == "style" for name in attributes), (tag, attributes)
        for name in ("src", "href", "action", "srcset"):
            assert attributes.get(name, "#").startswith(("#", "data:")), (tag, attributes)
    # The charset has to be among the first 1024 bytes.
    assert b'<meta charset="utf-8">' in text.encode()[:1024]
    assert len(text.encode()) < 4_000_000


@needs_module
def test_the_module_is_packed_whole(built):
    page = Elements((built / "vorin.html").read_text(encoding="utf-8"))
    blocks = {attributes["id"]: inner for _, attributes, inner in page.inner if "id" in attributes}
    wasm = (MODULE / "vorin_web.wasm").read_bytes()
    assert zlib.decompress(base64.b64decode(blocks["vorin-module"]), -15) == wasm
    worker = blocks["vorin-worker"]
    at = [worker.index((folder / name).read_text().rstrip()) for folder, name in (
        (MODULE, "vorin_web.js"), (ROOT / "hosts/web", "vorin.js"), (SOURCES, "worker.js"))]
    assert at == sorted(at)
    for work in ("Emscripten", "musl", "Eigen", "Mozilla Public License", "JSON for Modern C++"):
        assert work in blocks["vorin-licences"]


@needs_module
def test_the_folder_for_a_server_holds_what_its_page_names(built):
    site = built / "site"
    page = Elements((site / "index.html").read_text(encoding="utf-8"))
    named = [attributes.get("src") or attributes["href"] for tag, attributes in page.elements
             if tag in ("script", "link") and (attributes.get("src") or attributes["href"]) != "data:,"]
    assert len(named) > 5 and not any("/" in name for name in named)
    for name in [*named, "worker.js", "vorin.js", "vorin_web.js", "vorin_web.wasm", "LICENCES.txt"]:
        assert (site / name).is_file(), name
    policy = page.policy()
    assert policy["default-src"] == "'none'" and policy["script-src"] == "'self' 'wasm-unsafe-eval'"


@needs_module
@pytest.mark.parametrize("change, sentence", [
    (("index.html", '<link rel="stylesheet" href="page.css">', '<link rel="stylesheet" href="gone.css">'),
     "gone.css is in none of"),
    (("index.html", "</main>", '<img src="far.png"></main>'), "is not understood"),
    (("page.js", '"use strict"', '"use strict"; "</script>"'), "would end the script"),
    (("worker.js", 'importScripts("vorin_web.js"', 'importScripts("other.js"'), "does not load vorin_web.js"),
])
def test_a_page_that_would_not_be_whole_is_not_built(sources, tmp_path, change, sentence):
    name, old, new = change
    text = (sources / name).read_text()
    assert old in text
    (sources / name).write_text(text.replace(old, new))
    answer = bundle(sources, MODULE, tmp_path / "out")
    assert answer.returncode == 1 and sentence in answer.stderr, answer.stderr
    assert not (tmp_path / "out/vorin.html").exists()


@needs_module
def test_a_file_of_four_megabytes_is_not_built(sources, tmp_path):
    script = sources / "page.js"
    script.write_text(script.read_text() + "\n// " + "x" * 4_000_000 + "\n")
    answer = bundle(sources, MODULE, tmp_path / "out")
    assert answer.returncode == 1 and "more than 4000000" in answer.stderr
    assert not (tmp_path / "out/vorin.html").exists()


@needs_module
def test_the_tested_page_is_that_of_the_sources(built):
    assert PAGE.read_bytes() == (built / "vorin.html").read_bytes()
