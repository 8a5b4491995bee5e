"""The examples in the docstrings give what they show, and their sections are those of numpydoc."""

import doctest
import importlib
import inspect
import pkgutil

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
def test_every_function_says_what_it_does_in_a_sentence(name):
    assert inspect.getdoc(getattr(vorin, name)).split("\n")[0].endswith(".")


def _documented():
    """Functions and methods with docstrings of their own."""
    for name in vorin.__all__:
        value = getattr(vorin, name)
        if inspect.isfunction(value):
            yield f"vorin.{name}"
        elif inspect.isclass(value) and name != "Library":  # whose methods are the exports
            yield from (f"vorin.{name}.{method}" for method, function in vars(value).items()
                        if not method.startswith("_") and inspect.isfunction(function))
    yield from ("vorin.Library.get", "vorin.Library.set")


@pytest.mark.parametrize("name", _documented())
def test_the_sections_of_a_docstring_are_those_of_numpydoc(name):
    validate = pytest.importorskip("numpydoc.validate",
                                   reason="skipped: numpydoc is not installed").validate
    # GL07, GL06: order and names of the sections; GL08: no docstring; PR01 to PR03: a parameter
    # that is missing, unknown or out of order.
    wrong = [message for code, message in validate(name)["errors"]
             if code in ("GL06", "GL07", "GL08", "PR01", "PR02", "PR03")]
    where = inspect.getdoc(eval(name)) or ""
    if "; see :func:`" in where.split("\n")[0]:
        wrong = [message for message in wrong if "not documented" not in message]
    assert not wrong
