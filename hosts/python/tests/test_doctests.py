"""The examples in the docstrings give what they show, and their sections are those of numpydoc."""

import doctest
import importlib
import inspect
import pkgutil
import re

import numpy as np
import pytest

import vorin

MODULES = [name for _, name, _ in pkgutil.iter_modules(vorin.__path__, "vorin.")
           if not name.endswith("__main__")]
FUNCTIONS = [name for name in vorin.__all__ if inspect.isfunction(getattr(vorin, name))]


@pytest.mark.parametrize("name", ["vorin", *MODULES])
def test_the_examples_of_a_module_give_what_they_show(name):
    module = importlib.import_module(name)
    failed, _ = doctest.testmod(module, extraglobs={"vorin": vorin, "np": np})
    assert failed == 0


def test_there_are_examples_to_run():
    finder = doctest.DocTestFinder()
    with_examples = {test.name for name in ["vorin", *MODULES]
                     for test in finder.find(importlib.import_module(name)) if test.examples}
    assert len(with_examples) >= 10


@pytest.mark.parametrize("name", FUNCTIONS)
def test_every_parameter_is_documented(name):
    function = getattr(vorin, name)
    text = inspect.getdoc(function)
    assert text and text.split("\n")[0].endswith(".")
    parameters = [one for one in inspect.signature(function).parameters]
    if "Parameters\n---" not in text:
        # The first lines say it, or another function does.
        assert len(parameters) <= 3 or "; see :func:`" in text
        return
    section = text.split("Parameters\n----------\n")[1].split("\n\n")[0]
    named = set(re.findall(r"\w+", " ".join(
        line.split(" :")[0] for line in section.split("\n") if not line.startswith(" "))))
    assert set(parameters) <= named
