"""One browser for all tests; each starts with the page opened anew, and ends with a look at what
must never happen: a request, a dialog, an error in the console, a breach of the policy."""
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parent))
from page import PAGE, Page, tools  # noqa: E402


@pytest.fixture(scope="session")
def browser():
    if not tools():
        pytest.skip("chromium or chromedriver is not installed; run script/bootstrap web")
    if not PAGE.exists():
        pytest.skip(f"{PAGE} is missing; run script/web")
    browser = Page()
    yield browser
    browser.close()


@pytest.fixture
def page(browser):
    browser.open()
    yield browser
    browser.look_at_log()
    assert browser.recorded() == {"violations": [], "errors": []}
    assert browser.console_errors() == []
    assert browser.dialogs == []
    assert browser.witness.hosts() == []
    assert [url for url in browser.requests if not url.startswith(("file:", "blob:", "data:", "chrome:"))] == []


@pytest.fixture
def folder(tmp_path):
    return tmp_path
