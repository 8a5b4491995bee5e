#!/usr/bin/env python3
"""stage.py TARGET [--without-notebooks]: puts the pages of the site together in the folder TARGET.
stage.py TARGET --notebooks: only runs the notebooks and puts their pages there.

The pages are those of docs/site, the Markdown of docs/ and the README, cut into its parts, the
changelog, the manual page and the notebooks. Links are followed to where the pages are then, and
headers that a page names are put beside them.
"""

import importlib.util
import os
import re
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DOCS, SITE = ROOT / "docs", ROOT / "docs" / "site"
README_PAGES = {"README.md": "index.md", "CHANGELOG.md": "changes.md"}


def main(target: Path, with_notebooks: bool) -> None:
    """Puts all pages into `target`, which is made anew."""
    shutil.rmtree(target, ignore_errors=True)
    shutil.copytree(SITE, target, ignore=shutil.ignore_patterns("*.py", "__pycache__"))
    shutil.copy(SITE / "conf.py", target)
    for page in sorted(DOCS.glob("*.md")):
        text = with_heading_anchors(page.read_text(encoding="utf-8"))
        write(target / page.name, linked(text, target, "../"))
    for picture in DOCS.glob("*.png"):
        shutil.copy(picture, target)
    write_readme(target)
    changes = (ROOT / "CHANGELOG.md").read_text(encoding="utf-8")
    write(target / "changes.md", linked(changes.replace("# Changelog", "# Changes", 1), target, ""))
    write(target / "manual.md", manual())
    write_list_of_notebooks(target, run_notebooks(target) if with_notebooks else [])
    name_links(target)


def name_links(target: Path) -> None:
    """Links that show a file's name show the title of its page: a site has no files."""
    pages = sorted(target.rglob("*.md")) + [target / "start.part"]
    titles = {page.name: page.read_text(encoding="utf-8").split("\n", 1)[0].lstrip("# ")
              for page in pages if page.parent == target}

    def named(match: "re.Match[str]") -> str:
        title = titles.get(Path(match.group(2)).name)
        return match.group(0) if title is None else f"[{title}]({match.group(2)}{match.group(3)})"

    for page in pages:
        text = page.read_text(encoding="utf-8")
        for notebook in DOCS.glob("*.ipynb"):  # where it was not run, its place is the list
            name = notebook.stem if f"{notebook.stem}.md" in titles else "notebooks"
            text = text.replace(f"[{notebook.name}]({notebook.name})", f"[{name}.md]({name}.md)")
        write(page, re.sub(r"\[((?:docs/)?\w+\.md)\]\(([\w./]+\.md)((?:#[^)]*)?)\)", named, text))


def write(path: Path, text: str) -> None:
    """A page."""
    path.write_text(text, encoding="utf-8")


def linked(text: str, target: Path, up: str) -> str:
    """`text` with its links to the files of the source tree, which begin with `up`, as of here."""

    def place(match: "re.Match[str]") -> str:
        file, anchor = match.group(1), match.group(2) or ""
        if file.startswith("docs/"):
            return f"]({file[5:]}{anchor})"
        if file in README_PAGES:
            return f"]({README_PAGES[file]}{anchor})"
        if not (ROOT / file).is_file():
            return match.group(0)
        (target / "files").mkdir(exist_ok=True)
        shutil.copy(ROOT / file, target / "files")
        return f"](files/{Path(file).name}{anchor})"

    return re.sub(r"\]\(" + re.escape(up) + r"([\w./-]+)(#[^)]*)?\)", place, text)


def with_heading_anchors(text: str) -> str:
    """Links to a name below a heading of several names, as links to the heading."""
    for heading, anchors in re.findall(r"^#+ (.*)\n((?:<a id=\"\w+\"></a>)+)$", text, flags=re.M):
        slug = re.sub(r"[^\w -]", "", heading).lower().replace(" ", "-")
        for name in re.findall(r'"(\w+)"', anchors):
            text = text.replace(f"](#{name})", f"](#{slug})")
    return text


def write_readme(target: Path) -> None:
    """The README in three parts: what the start page begins with, first steps, and building."""
    text = linked((ROOT / "README.md").read_text(encoding="utf-8"), target, "")
    before, use = text.split("\n## See it work\n", 1)
    use, build = use.split("\n## Build by hand\n", 1)
    write(target / "start.part", before.split("\n", 1)[1])
    write(target / "first_steps.md", "# First steps\n\n## See it work\n" + use)
    write(target / "building.md", "# Build, install, find your way\n\n## Build by hand\n" + build)


def manual() -> str:
    """The manual page as `man` shows it."""
    run = subprocess.run(["groff", "-man", "-Tutf8", "-P-cbou", "-rLL=96n",
                          ROOT / "hosts/vorin/vorin.1"],
                         capture_output=True, text=True, check=True, encoding="utf-8")
    lines = run.stdout.strip("\n").split("\n")
    return "# The manual page\n\nAs `man vorin` shows it.\n\n```text\n" + "\n".join(
        line.rstrip() for line in lines) + "\n```\n"


def run_notebooks(target: Path) -> "list[str]":
    """The notebooks, run, as pages with their pictures; none where Jupyter is not installed."""
    if not (importlib.util.find_spec("nbconvert") and importlib.util.find_spec("ipykernel")):
        return []
    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor() as pool:
        return list(pool.map(lambda notebook: run_notebook(notebook, Path(folder), target),
                             sorted(DOCS.glob("*.ipynb"))))


def write_list_of_notebooks(target: Path, names: "list[str]") -> None:
    """The page that lists the notebooks."""
    listed = "\n".join(names)
    write(target / "notebooks.md", "# Notebooks\n\nEach can be opened in Jupyter: they are the "
          f"`.ipynb` files in `docs/`.\n\n```{{toctree}}\n:maxdepth: 1\n\n{listed}\n```\n"
          if names else "# Notebooks\n\nThey are the `.ipynb` files in `docs/`, for Jupyter.\n")


def run_notebook(notebook: Path, folder: Path, target: Path) -> str:
    """Runs a notebook in a copy of its surroundings, where it may leave files; its page's name."""
    folder = folder / notebook.stem
    (folder / "docs").mkdir(parents=True)
    shutil.copytree(ROOT / "hosts" / "sample", folder / "hosts" / "sample")
    copy = shutil.copy(notebook, folder / "docs")
    # The notebook's own setting of pictures inside the page holds, not that of the caller.
    environment = {name: value for name, value in os.environ.items() if name != "MPLBACKEND"}
    run = subprocess.run([sys.executable, "-m", "nbconvert", "--to", "markdown", "--execute",
                          "--output-dir", target, copy], capture_output=True, text=True,
                         check=False, env=environment)
    if run.returncode != 0:
        raise SystemExit(f"{notebook.name} does not run:\n{run.stderr}")
    page = target / f"{notebook.stem}.md"
    write(page, page.read_text(encoding="utf-8").replace("![png](", "![picture]("))
    return notebook.stem


if __name__ == "__main__":
    if sys.argv[2:] == ["--notebooks"]:
        Path(sys.argv[1]).mkdir(parents=True, exist_ok=True)
        sys.exit(0 if run_notebooks(Path(sys.argv[1])) else 77)
    main(Path(sys.argv[1]), sys.argv[2:] != ["--without-notebooks"])
