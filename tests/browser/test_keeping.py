"""What is kept is read back and compared: tables, pictures, the report, settings."""
import csv
import io
import json
import struct
import xml.etree.ElementTree as ET
import zlib

import pytest
from command import SAMPLE, inversion, near, run


@pytest.fixture
def inverted(page):
    page.choose(SAMPLE)
    page.arrived(1)
    page.set("#cutoff", "33ms")
    page.invert()
    return page


@pytest.fixture
def short(folder):
    """The sample's first 500 echoes."""
    path = folder / "decay.csv"
    path.write_text("\n".join(SAMPLE.read_text().splitlines()[:502]) + "\n")
    return path


@pytest.fixture(scope="module")
def wanted():
    return inversion(SAMPLE, "--cutoff", "33ms")


def table(text):
    rows = [row for row in csv.reader(io.StringIO(text)) if row and not row[0].startswith("#")]
    return rows[0], rows[1:]


def test_csv_holds_the_distribution_as_the_command_writes_it(inverted, wanted, folder):
    _, content = inverted.kept("#export-csv")
    head, rows = table(content.decode("utf-8"))
    run("invert", SAMPLE, "--cutoff", "33ms", "--out", folder / "out.csv")
    other_head, other = table((folder / "out.csv").read_text())
    assert head == other_head and len(rows) == len(other) == len(wanted["grid"])
    largest = max(wanted["distribution"])
    for row, there in zip(rows, other):
        assert near(float(row[0]), float(there[0]))
        assert all(near(float(x), float(y), max(largest, wanted["total"])) for x, y in zip(row[1:], there[1:]))


def test_csv_of_the_fit_holds_samples_fit_and_residual(inverted, folder):
    _, content = inverted.kept("#export-fit")
    head, rows = table(content.decode("utf-8"))
    run("invert", SAMPLE, "--fit", folder / "fit.csv")
    other_head, other = table((folder / "fit.csv").read_text())
    assert head == other_head and len(rows) == len(other) == 3000
    for row, there in zip(rows, other):
        assert all(near(float(x), float(y), 100) for x, y in zip(row, there))


def test_the_table_has_the_commands_columns(inverted, folder):
    _, content = inverted.kept("#export-table")
    head, rows = table(content.decode("utf-8"))
    run("invert", SAMPLE, "--cutoff", "33ms", "--table", folder / "table.csv")
    other_head, other = table((folder / "table.csv").read_text())
    assert head == other_head and len(rows) == len(other) == 1
    for name, value, there in zip(head, rows[0], other[0]):
        try:
            assert near(float(value), float(there)), name
        except ValueError:
            if name != "file":
                assert len(value.split()) == len(there.split()), name


def test_svg_is_a_picture_of_its_own(inverted):
    _, content = inverted.kept("#export-svg")
    root = ET.fromstring(content)
    assert root.tag == "{http://www.w3.org/2000/svg}svg"
    assert float(root.get("width").rstrip("px")) > 100 and float(root.get("height").rstrip("px")) > 100
    assert len([e for e in root.iter() if e.tag.endswith("}path")]) >= 1
    assert not [e for e in root.iter() if e.tag.endswith("}script")]
    text = content.decode("utf-8")
    assert "var(" not in text and "currentColor" not in text  # colours do not depend on the page
    assert not [key for e in root.iter() for key in e.keys() if key.startswith("on")]


def test_png_holds_a_picture(inverted):
    _, content = inverted.kept("#export-png")
    assert content[:8] == b"\x89PNG\r\n\x1a\n"
    width, height, depth, kind = struct.unpack(">IIBB", content[16:26])
    assert width >= 600 and height >= 300 and depth == 8
    at, packed = 8, b""
    while at < len(content):
        size, name = struct.unpack(">I4s", content[at:at + 8])
        if name == b"IDAT":
            packed += content[at + 8:at + 8 + size]
        at += 12 + size
    pixels = zlib.decompress(packed)
    assert len(pixels) == height * (1 + width * {2: 3, 6: 4}[kind])
    assert len(set(pixels[::7])) > 8  # lines and letters, not one colour


def test_the_report_opens_alone_and_has_the_numbers(inverted, wanted, folder):
    _, content = inverted.kept("#export-report")
    path = folder / "report.html"
    path.write_bytes(content)
    inverted.driver.get(path.as_uri())
    text = inverted.run("return document.body.innerText")
    assert "decay.csv" in text
    assert f"{1e3 * wanted['log_mean']:.1f} ms" in text and f"{wanted['total']:.1f}" in text
    assert inverted.run("return document.querySelectorAll('svg').length") >= 1
    assert inverted.run("return document.scripts.length") == 0


SETTINGS = [("#kernel", "t2-epg"), ("#flip", "150"), ("#t1", "2s"), ("#weight", "given"), ("#weight-value", "0.3"),
            ("#noise", "given"), ("[data-value-of=noise]", "0.21"), ("#baseline", "fit"), ("#grid", "1ms:2s:50"),
            ("#prune", "linear"), ("[name=prune_points]", "120"), ("#cutoff", "33ms"), ("#percentiles", "25,75"),
            ("#replicates", "30"), ("[name=seed]", "3"), ("#calibrate", "100pu=50")]


def values(page):
    return {selector: page.one(selector).get_property("value") for selector, _ in SETTINGS}


def set_all(page):
    for selector, value in SETTINGS:
        page.set(selector, value)
    assert values(page) == dict(SETTINGS)


def test_a_settings_file_restores_everything_and_holds_no_data(page, folder, short):
    page.choose(short)
    page.arrived(1)
    set_all(page)
    page.invert()
    total = page.results()[0]["total"]
    _, content = page.kept("#export-settings")
    assert json.loads(content)
    assert b"99.31335" not in content and b"decay" not in content
    path = folder / "settings.json"
    path.write_bytes(content)
    page.open()
    page.one("#open-settings").send_keys(str(path))
    page.until(lambda: values(page) == dict(SETTINGS), "the settings are restored")
    page.choose(short)
    page.arrived(1)
    page.invert()
    assert page.results()[0]["total"] == total


def test_a_link_restores_everything_and_holds_no_data(page, short):
    page.choose(short)
    page.arrived(1)
    set_all(page)
    link = page.until(lambda: page.one("#link").get_property("href"), "a link")
    fragment = link[link.index("#"):]
    assert len(fragment) > 20 and len(link) < 4000 and "99.31335" not in link
    page.open(fragment)
    assert values(page) == dict(SETTINGS)
    assert page.decays() == []
