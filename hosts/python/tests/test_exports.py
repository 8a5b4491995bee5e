"""The table of exports against the header, the store's keys against their page."""

import inspect
import re

import pytest
from conftest import PACKAGE, ROOT

import vorin
from vorin.exports import EXPORTS
from vorin.library import TEXT_KEYS

HEADER = (ROOT / "include" / "vorin.h").read_text(encoding="utf-8")
C_NAMES = {"int32_t": "i", "float": "f", "double": "d", "char": "c", "void": "v"}


def declarations():
    """(name, returned type, [(type, is an address, is const, name)]) of each export."""
    text = re.sub(r"/\*.*?\*/", " ", HEADER, flags=re.S)
    pattern = r"VORIN_API\s+(\w+)\s+VORIN_(?:CALL|CDECL)\s+(\w+)\(([^)]*)\)"
    for returned, name, body in re.findall(pattern, text):
        arguments = []
        for part in body.split(","):
            match = re.match(r"(const\s+)?(\w+)\s*(\*?)\s*(\w+)$", part.strip())
            const, kind, star, argument = match.groups()
            arguments.append((C_NAMES[kind], bool(star), bool(const), argument))
        yield name, returned, arguments


DECLARED = list(declarations())


def test_the_header_declares_51_exports():
    assert len(DECLARED) == len({name for name, *_ in DECLARED}) == 51


def test_every_export_is_in_the_table_and_nothing_else_is():
    assert set(EXPORTS) == {name for name, *_ in DECLARED}


@pytest.mark.parametrize("name, returned, arguments", DECLARED, ids=[d[0] for d in DECLARED])
def test_table_and_header_agree(name, returned, arguments):
    export = EXPORTS[name]
    assert [a.name for a in export.arguments] == [a[3] for a in arguments]
    assert export.returns == {"void": None, "int32_t": "i", "float": "f"}[returned]
    for mine, (kind, address, const, _) in zip(export.arguments, arguments):
        assert mine.type == kind, mine
        assert address == bool(mine.by_address or mine.shape or mine.type in "cv"), mine
        if address and mine.type != "v":
            assert mine.written != const, mine


@pytest.mark.parametrize("name", EXPORTS)
def test_every_export_is_a_method_with_the_arguments_of_the_header(name):
    method = getattr(vorin.Library, name)
    names = [argument.name for argument in EXPORTS[name].arguments]
    expected = ["self"] + ["lambda_" if argument == "lambda" else argument for argument in names]
    assert list(inspect.signature(method).parameters) == expected
    assert method.__name__ == name and name in method.__doc__


def test_the_shapes_use_arguments_that_exist():
    for export in EXPORTS.values():
        names = {argument.name for argument in export.arguments}
        for argument in export.arguments:
            for term in "+".join(argument.shape).split("+") if argument.shape else ():
                assert term.isdigit() or term in names, (export.name, argument)


def test_the_stub_is_what_its_tool_writes():
    scope = {"__name__": "tool", "__file__": str(PACKAGE / "tools" / "write_stub.py")}
    exec((PACKAGE / "tools" / "write_stub.py").read_text(encoding="utf-8"), scope)
    assert (PACKAGE / "vorin" / "library.pyi").read_text(encoding="utf-8") == scope["stub"]()


def test_the_keys_that_hold_texts_are_those_of_their_page():
    page = (ROOT / "docs" / "keys.md").read_text(encoding="utf-8")
    kinds = dict(re.findall(r"^\| `(\w+)` \| ([^|]+?) \|", page, flags=re.M))
    texts = {key for key, kind in kinds.items() if kind == "choice" or kind.startswith("text")}
    assert set(TEXT_KEYS) == texts
