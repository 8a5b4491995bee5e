"""Files come in as the command reads them, and what is wrong with them is said in its words."""
import re

import pytest
from command import DATA, inversion, near, run, sentence

INSTRUMENTS = DATA.parent / "instrument_files"
DECAY = [(0.001 * i, 100 * 0.98**i + 0.2 * (-1) ** (i * i // 3)) for i in range(1, 400)]


def rows_of(separator, decimal=".", scale=1.0, head=()):
    lines = [separator.join(f"{value:.6f}".replace(".", decimal) for value in (scale * t, y)) for t, y in DECAY]
    return "\n".join([*head, *lines]) + "\n"


# Name, content, and what a person has to correct by hand: the control, its value, the option.
READABLE = {
    "decimal commas.txt": (rows_of(";", ","), []),
    "header in ms.csv": (rows_of(",", scale=1e3, head=["time (ms),signal (mV)"]), []),
    "units below.tsv": (rows_of("\t", scale=1e6, head=["t\tS", "us\tV"]), []),
    "no header.dat": (rows_of(" "), []),
    "unit by hand.csv": (rows_of(",", scale=1e3), [("#time_unit", "ms", "--time-unit")]),
    "numbered.csv": ("".join(f"{i};{1e-3 * i:.4f};{y:.4f}\n" for i, (_, y) in enumerate(DECAY, 1)),
                     [("#columns", "2,3", "--columns")]),
    "no times.txt": ("".join(f"{y:.4f}\n" for _, y in DECAY), [("#spacing", "1ms", "--spacing")]),
}


@pytest.mark.parametrize("name", READABLE)
def test_layouts_are_read_as_by_the_command(page, folder, name):
    text, controls = READABLE[name]
    path = folder / name
    path.write_text(text)
    options = [word for _, value, option in controls for word in (option, value)]
    wanted = inversion(path, *options)
    page.drop(path)
    page.until(lambda: page.decays() or page.message(), "an answer to the file")
    for selector, value, _ in controls:
        page.set(selector, value)
    page.arrived(1)
    page.until(lambda: page.one("#run").is_enabled(), "the decay can be inverted")
    page.invert()
    row = page.results()[0]
    for field in ("noise", "weight", "log_mean", "total"):
        assert near(row[field], wanted[field]), field


def test_the_preview_shows_the_first_rows_and_follows_corrections(page, folder):
    path = folder / "three.csv"
    path.write_text("n;t (ms);a\n" + "".join(f"{i};{2 * i};{900 - i}\n" for i in range(1, 60)))
    page.drop(path)
    page.until(lambda: page.message() or page.decays(), "an answer to the file")
    page.set("#columns", "2,3")
    page.arrived(1)
    page.until(lambda: "899" in (page.text("#preview tbody") or ""), "the preview shows the first amplitude")
    curve = page.run("return document.querySelector('#plot-decay svg').outerHTML")
    page.set("#skip", "3")
    page.until(lambda: page.run("return document.querySelector('#plot-decay svg').outerHTML") != curve,
               "the plot follows")


REFUSED = {
    "empty.csv": "",
    "prose.csv": "hello world\nthis is prose\n",
    "three columns.csv": "a,b,c\n1,2,3\n2,3,4\n",
    "commas.csv": "0,001,3\n0,002,2\n",
    "letter.csv": "1 2\n2 x\n3 4\n",
    "one row.csv": "1,2\n",
    "nothing but nan.csv": "1,nan\n2,nan\n3,nan\n",
    "negative time.csv": "-1,2\n2,3\n3,4\n",
    "binary.csv": "\x00\x01\x02\x7f" * 50,
    "huge numbers.csv": "1,1e999\n2,3\n",
}


@pytest.mark.parametrize("name", REFUSED)
def test_bad_files_are_refused_in_the_commands_words(page, folder, name):
    path = folder / name
    path.write_text(REFUSED[name])
    wanted = sentence(path)
    page.drop(path)
    page.until(lambda: page.message(), "the file is refused")
    assert in_words(wanted, page.message())
    assert page.results() == [] and page.state() == "ready"


def in_words(wanted, found):
    """The same sentence, where options are settings: columns for --columns."""
    return re.sub(r"--([a-z-]+)", lambda match: match[1].replace("-", "_"), wanted) in found


def test_a_bad_file_among_good_ones_costs_only_itself(page, folder):
    good = [folder / f"good {i}.csv" for i in range(3)]
    for path in good:
        path.write_text(rows_of(","))
    bad = folder / "bad.csv"
    bad.write_text("nothing here\n")
    page.drop(good[0], bad, *good[1:])
    page.until(lambda: page.message(), "the bad file is told")
    assert "bad.csv" in page.message()
    page.click("#run")
    page.finished("the good ones are inverted")
    assert [row["total"] > 0 for row in page.results() if isinstance(row.get("total"), float)] == [True] * 3


@pytest.mark.skipif(not INSTRUMENTS.is_dir(), reason="there is no folder instrument_files beside the measured data")
def test_files_of_instruments_are_read_as_by_the_command(page):
    paths = [path for path in sorted(INSTRUMENTS.rglob("*")) if path.suffix in (".tnt", ".dps", ".txt") and
             run("read", path).returncode == 0]
    assert paths
    for path in paths:
        before = len(page.decays())
        page.drop(path)
        page.until(lambda: len(page.decays()) > before or page.message(), f"an answer to {path.name}")
        assert len(page.decays()) > before, (path.name, page.message())
        shown = page.all("#decays .samples")[-1].text
        wanted = re.search(r"(\d+) samples", run("read", path).stdout).group(1)
        assert shown.split()[0] == wanted, path.name
