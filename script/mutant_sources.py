"""Single-token changes of C++ sources, for script/mutants: which there are, where the expression of
each begins and ends, and how a file that holds them as alternatives is written."""
import json
import os
import re

import clang.cindex
from clang.cindex import CursorKind as Kind

# Operators have blanks on both sides, and what declares pointers, references and templates has not.
OPERATORS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "+": "-",
             "-": "+", "*": "/", "/": "*", "&&": "||", "||": "&&", "+=": "-=", "-=": "+=",
             "*=": "/=", "/=": "*="}
CALLS = {"min": "max", "max": "min", "upper_bound": "lower_bound", "lower_bound": "upper_bound"}
OTHERS = {"true": "false", "false": "true", "break": "continue"}
PATTERNS = [
    (re.compile(r"(?<= )(" + "|".join(sorted(map(re.escape, OPERATORS), key=len, reverse=True)) +
                r")(?=\s)"), OPERATORS.get),
    (re.compile(r"\b(" + "|".join([*CALLS, *OTHERS]) + r")\b"), {**CALLS, **OTHERS}.get),
    (re.compile(r"(?<![\w.])(\d+)(?![\w.'])"), lambda text: str(int(text) + 1)),
    (re.compile(r"(?<=[ (])!(?=[a-z(])"), lambda text: "!!"),
]

# What each changed file begins with. A constant expression can not read a variable: functions that
# may be part of one decide by vorinChangeOutsideConstants.
PRELUDE = """#ifndef VORIN_MUTANTS
#define VORIN_MUTANTS
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <type_traits>
inline const int vorinChosen =
    std::getenv("VORIN_MUTANT") == nullptr ? 0 : std::atoi(std::getenv("VORIN_MUTANT"));
inline unsigned char* const vorinSeen = [] {
  const char* const path = std::getenv("VORIN_MUTANTS_SEEN");
  const int file = path == nullptr ? -1 : open(path, O_RDWR);
  void* const bytes =
      file < 0 ? MAP_FAILED : mmap(nullptr, 65536, PROT_WRITE, MAP_SHARED, file, 0);
  return bytes == MAP_FAILED ? nullptr : static_cast<unsigned char*>(bytes);
}();
inline bool vorinChange(int number) {
  if (vorinSeen != nullptr) vorinSeen[number] = 1;
  return vorinChosen == number;
}
constexpr bool vorinChangeOutsideConstants(int number) {
  return !std::is_constant_evaluated() && vorinChange(number);
}
#endif
"""
# Alternatives of constants narrow and compare as the constants did not.
PRELUDE += "".join(f'#pragma GCC diagnostic ignored "-W{name}"\n' for name in """
narrowing conversion sign-conversion float-conversion parentheses shadow double-promotion sign-compare
array-bounds stringop-overflow stringop-overread maybe-uninitialized uninitialized bool-operation
int-in-bool-context tautological-compare aggressive-loop-optimizations div-by-zero overflow type-limits
unused-variable unused-but-set-variable dangling-else bool-compare free-nonheap-object restrict
nonnull sequence-point implicit-fallthrough unused-value shift-count-overflow""".split())


def without_texts(line):
    """The line with texts and comments blanked, of the same length."""
    line = re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])\'', lambda m: "_" * len(m.group()), line)
    return re.sub(r"//.*", lambda m: " " * len(m.group()), line)


def key_of(change):
    """Names a change as long as its line stays as it is, wherever the line goes."""
    return "\t".join(map(str, (change["file"], change["text"], change["copy"], change["column"],
                               change["what"])))


def changes_of(path, content):
    found, copies, start = [], {}, 0
    for number, line in enumerate(content.splitlines(keepends=True), 1):
        code, text = without_texts(line), line.strip()
        copies[text] = copies.get(text, 0) + 1
        if not re.match(r"\s*(#|static_assert|template|using|namespace|\*|/\*)", code):
            for pattern, replaced in PATTERNS:
                for match in pattern.finditer(code):
                    old, new = match.group(), replaced(match.group())
                    found.append({"file": path, "line": number, "text": text, "old": old,
                                  "new": new, "what": f"{old} -> {new}", "copy": copies[text],
                                  "column": match.start(), "start": start + match.start()})
        start += len(line)
    return found


def included_as(path):
    return path.removeprefix("src/").removeprefix("toolkit/")


HEADERS = ("algorithm array charconv cmath complex cstring filesystem fstream functional map memory "
           "numeric optional random set span sstream string thread variant vector fmt/format.h "
           "nlohmann/json.hpp").split()
PLACE = ("begin", "end", "decide", "constant")


class Extents:
    """Where a change's expression begins and ends, by the compiler's tree."""

    EXPRESSIONS = {Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR, Kind.CALL_EXPR,
                   Kind.UNEXPOSED_EXPR, Kind.UNARY_OPERATOR}
    FUNCTIONS = {Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.FUNCTION_TEMPLATE,
                 Kind.CONVERSION_FUNCTION}

    def __init__(self, contents, tree, build):
        self.contents, self.tree = contents, tree
        with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
            self.commands = {os.path.relpath(one["file"], tree): one["command"].split()
                             for one in json.load(file)}
        self.path = self.unit = None  # the last file that was parsed: a tree takes 40 MB
        self.index = clang.cindex.Index.create(excludeDecls=True)
        self.headers = self.precompile()

    def parsed(self, path, fresh):
        """The compiler's tree of the source that a file is, or that first includes it."""
        if path != self.path:
            unit = path
            if not path.endswith(".cpp"):
                unit = next((one for one in sorted(self.contents) if one in self.commands and
                             f'"{included_as(path)}"' in self.contents[one]), None)
            self.path, self.unit = path, None
            if unit in self.commands:
                main, flags = os.path.join(fresh, unit), self.flags(unit, fresh)
                if not any(flag.startswith("-m") for flag in flags):
                    flags += ["-include-pch", self.headers]
                self.unit = main, self.index.parse(main, flags)
        return self.unit

    def precompile(self):
        """What most files include, since reading it is most of the time."""
        path = os.path.join(os.path.dirname(self.tree), "headers.hpp")
        with open(path, "w", encoding="utf-8") as file:
            file.writelines(f"#include <{name}>\n" for name in HEADERS)
        flags = ["-xc++-header", "-std=c++20"]
        clang.cindex.Index.create().parse(path, flags).save(path + ".pch")
        return path + ".pch"

    def flags(self, unit, fresh):
        """The files in `fresh` are as committed; those of the build contain changes already."""
        words = self.commands[unit]
        flags = [word if f"{self.tree}/build" in word else
                 re.sub(f"^-I{self.tree}(?=/|$)", f"-I{fresh}", word)
                 for word in words if re.match(r"-(D|I|std|m)", word)]
        return flags + [flag for at, word in enumerate(words) if word == "-isystem"
                        for flag in words[at:at + 2]]

    def around(self, change, fresh):
        """(begin, end, cursor, parent's position in the list) of each cursor around a change."""
        parsed = self.parsed(change["file"], fresh)
        if parsed is None:
            return []
        main, tree = parsed
        wanted = os.path.join(fresh, change["file"])
        nodes = []

        def walk(cursor, parent):
            for child in cursor.get_children():
                file = child.location.file
                if not file or file.name not in (main, wanted):
                    continue
                extent = child.extent
                if file.name == wanted:
                    begin, end = extent.start.offset, extent.end.offset
                    if begin <= change["start"] < end:
                        nodes.append((begin, end, child, parent))
                        walk(child, len(nodes) - 1)

        walk(tree.cursor, -1)
        return nodes

    def complete(self, change, fresh):
        """Adds begin, end and how to decide to a change; False where there is no such expression."""
        nodes = self.around(change, fresh)
        content = self.contents[change["file"]]
        start, end = change["start"], change["start"] + len(change["old"])
        at = self.smallest(nodes, change["old"], start, end)
        if at is None:
            return False
        change["begin"], change["end"] = nodes[at][:2]
        change["decide"] = "vorinChange"
        change["constant"] = None
        while at >= 0:
            begin, _, cursor, parent = nodes[at]
            before = content[begin:max(begin, cursor.location.offset)]
            if cursor.kind == Kind.IF_STMT and content[begin:].startswith("if constexpr"):
                condition = next(cursor.get_children()).extent
                if condition.start.offset <= start < condition.end.offset:
                    return False
            constant = re.search(r"\bconstexpr\b", before)
            if constant and cursor.kind == Kind.VAR_DECL:
                member = parent >= 0 and nodes[parent][2].kind in (Kind.CLASS_DECL,
                                                                   Kind.STRUCT_DECL)
                change["constant"] = [begin + constant.start(),
                                      "inline const" if member else "const"]
                return True
            if cursor.kind in self.FUNCTIONS:
                if constant:
                    change["decide"] = "vorinChangeOutsideConstants"
                return True
            at = parent
        return True

    def smallest(self, nodes, old, start, end):
        best = None
        for at, (begin, stop, cursor, _) in enumerate(nodes):
            if not (begin <= start and end <= stop):
                continue
            if old.isdigit():
                fits = cursor.kind == Kind.INTEGER_LITERAL and (begin, stop) == (start, end)
            elif old in OTHERS:
                fits = (begin, stop) == (start, end) and cursor.kind in (
                    Kind.CXX_BOOL_LITERAL_EXPR, Kind.BREAK_STMT)
            elif old in CALLS:
                callee = next(cursor.get_children(), None)
                fits = (cursor.kind == Kind.CALL_EXPR and callee is not None and
                        callee.extent.start.offset <= start < callee.extent.end.offset)
            else:
                fits = (cursor.kind in self.EXPRESSIONS and end < stop and
                        (begin < start or old == "!" and begin == start))
            if fits and (best is None or stop - begin < nodes[best][1] - nodes[best][0]):
                best = at
        return best


def rendered(content, changes):
    """The file with its changes as alternatives. Lines keep their numbers for the compiler."""
    texts = {}
    for change in changes:
        if change["constant"]:
            texts[change["constant"][0]] = change["constant"][1]
    changes = sorted(changes, key=lambda one: (one["begin"], -one["end"]))

    def part(begin, end, inside):
        out, at = "", begin
        for change in inside:
            if change["begin"] >= at and begin <= change["begin"] and change["end"] <= end:
                out += plain(at, change["begin"]) + alternatives(change, inside)
                at = change["end"]
        return out + plain(at, end)

    def plain(begin, end):
        out = content[begin:end]
        for place, new in sorted(texts.items(), reverse=True):
            if begin <= place < end:
                out = out[:place - begin] + new + out[place - begin + len("constexpr"):]
        return out

    def alternatives(change, inside):
        inside = [one for one in inside if one is not change]
        begin, end, start = change["begin"], change["end"], change["start"]
        after = start + len(change["old"])
        decide = f'{change["decide"]}({change["id"]})'
        if change["old"] == "break":
            return f"if ({decide}) continue; else break"
        before, behind = part(begin, start, inside), part(after, end, inside)
        lines = [content.count("\n", 0, place) + 1 for place in (begin, end)]
        restart, resume = (f"\n#line {line}\n" if lines[0] != lines[1] else "" for line in lines)
        if change["old"] in OPERATORS:
            before, behind = f"({before})", f"({behind})"
        elif change["old"] == "!":
            behind = f"({behind})"
        changed, same = (f"({before}{token}{behind})" for token in (change["new"], change["old"]))
        return f"({decide} ? {changed} : {restart}{same}){resume}"

    return PRELUDE + "#line 1\n" + part(0, len(content), changes)
