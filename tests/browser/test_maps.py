"""Two-dimensional data: the map of the page is the command's."""
import json

import pytest
from command import near, run

# Rows and columns are compressed by singular value decompositions, which are another library's in
# the page than in the command. Both round in double precision, far below this.
RELATIVE = 1e-6


@pytest.fixture
def data(folder):
    path = folder / "t1t2.csv"
    answer = run("simulate2d", "--out", path, "--times1", "1ms:5s:16", "--times2", "1ms:1s:300:linear", "--seed", "3")
    assert answer.returncode == 0, answer.stderr
    return path


def test_a_map_has_the_commands_numbers(page, data):
    answer = run("invert2d", data, "--json", "-")
    assert answer.returncode == 0, answer.stderr
    wanted = json.loads(answer.stdout)
    page.click("#as-map")
    page.choose(data)
    page.until(lambda: page.one("#map-run").is_displayed() and page.state() == "ready", "the data are read")
    page.click("#map-run")
    page.until(lambda: page.one("#map-export-json").is_enabled() and page.state() == "ready", "the map is inverted")
    assert not page.message(), page.message()
    found = page.kept_json("#map-export-json")
    for field in ("noise", "weight", "total", "log_mean1", "log_mean2", "standard_error"):
        assert near(found[field], wanted[field], None, RELATIVE), (field, found[field], wanted[field])
    for field in ("grid1", "grid2"):
        assert all(near(one, other) for one, other in zip(found[field], wanted[field], strict=True)), field
    largest = max(max(row) for row in wanted["distribution"])
    assert largest > 0 and len(found["distribution"]) == len(wanted["distribution"])
    for row, there in zip(found["distribution"], wanted["distribution"]):
        assert all(near(one, other, largest, RELATIVE) for one, other in zip(row, there, strict=True))
    assert len(found["peaks"]) == len(wanted["peaks"]) == 2
    shown = page.run("return document.querySelector('#map-results [data-field=total]').dataset.value")
    assert near(float(shown), wanted["total"], None, RELATIVE)
    _, picture = page.kept("#map-export-svg")
    assert b"<svg" in picture


def test_what_is_no_map_is_told(page, folder):
    path = folder / "prose.csv"
    path.write_text("hello\nworld\n")
    wanted = run("invert2d", path.name, "--json", "-", folder=folder)
    assert wanted.returncode == 2
    page.click("#as-map")
    page.choose(path)
    page.until(page.message, "the file is refused")
    assert page.message().split(";")[0] in wanted.stderr
