"""The table of inputs in docs/python.md says what happens."""

import importlib.util

import pytest
from conftest import PACKAGE

pytest.importorskip("pandas", reason="skipped: pandas is not installed")
pytest.importorskip("xarray", reason="skipped: xarray is not installed")


def test_the_table_of_inputs_is_what_happens():
    spec = importlib.util.spec_from_file_location("input_kinds", PACKAGE / "tools/input_kinds.py")
    kinds = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(kinds)
    assert len(kinds.KINDS) >= 30
    page = kinds.PAGE.read_text(encoding="utf-8")
    assert page == kinds.with_table(page), "run hosts/python/tools/input_kinds.py --write"
