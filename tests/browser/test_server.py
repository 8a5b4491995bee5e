"""The folder for a web server, served as docs/browser.md says."""
import pytest
from command import SAMPLE, inversion, near
from page import PAGE
from witness import SITE

FOLDER = PAGE.parent / "site"
# For the worker the page's own policy does not hold: it needs that of the server.
HEADERS = ["Content-Security-Policy: default-src 'none'; script-src 'self' 'wasm-unsafe-eval'; style-src 'self'; "
           "img-src data: blob:; worker-src 'self'; connect-src 'self'; form-action 'none'; base-uri 'none'; "
           "frame-ancestors 'none'",
           "X-Content-Type-Options: nosniff", "Referrer-Policy: no-referrer", "Cache-Control: no-store"]


@pytest.fixture
def served(browser):
    if not FOLDER.is_dir():
        pytest.skip(f"{FOLDER} is missing; run script/web")
    browser.witness.folder = FOLDER
    browser.witness.headers = HEADERS
    browser.driver.get("about:blank")
    browser.driver.get(f"http://{SITE}/")
    browser.ready("the page opens")
    yield browser
    browser.witness.folder = None
    browser.witness.lines.clear()
    browser.look_at_log()
    browser.requests.clear()


def test_the_folder_of_a_server_gives_the_commands_numbers(served):
    served.choose(SAMPLE)
    served.arrived(1)
    served.invert()
    wanted = inversion(SAMPLE)
    for field in ("noise", "weight", "log_mean", "total"):
        assert near(served.results()[0][field], wanted[field]), field
    assert served.recorded() == {"violations": [], "errors": []}
    assert served.console_errors() == []
    asked = served.witness.asked()
    files = {path.name for path in FOLDER.iterdir()}
    assert asked and all(host == SITE and (path == "/" or path[1:] in files) for host, path in asked), asked
