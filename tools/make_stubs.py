"""Writes the type stubs of the package from the table of classes: python make_stubs.py varnex3/__init__.pyi"""

import inspect
import keyword
import sys

import varnex3
from varnex3 import _varnex3

HEADER = '''"""Types of varnex3; made from the table of its classes."""

from typing import Any, Iterator, Optional, Protocol, Sequence, Union
from os import PathLike

import numpy
from numpy.typing import NDArray

'''

NAMES = {
    "None": "None",
    "Double": "float",
    "Long": "int",
    "Integer": "int",
    "Boolean": "bool",
    "Text": "str",
    "Variant": "Any",
    "Doubles": "NDArray[numpy.float64]",
    "Ranges": "Sequence[Range]",
    "Texts": "Sequence[Sequence[str]]",
}


def type_of(row, taken=False):
    if row["type"] == "Object":
        name = row["class"] or "Object"
        return f'Union["{name}", Any, None]' if taken else f'"{name}"'
    if taken and row["type"] == "Doubles":
        return "Sequence[float]"
    return NAMES[row["type"]]


def parameters(member):
    texts = []
    for argument in member["arguments"]:
        name = argument["name"] + ("_" if keyword.iskeyword(argument["name"]) else "")
        kind = type_of(argument, taken=True)
        if argument["changed"]:
            kind = f"Union[{kind}, ByRef]"
        texts.append(f"{name}: {kind}" + (" = ..." if argument["optional"] else ""))
    return texts


def indexed(cls, member, out):
    """A property with indexes: a class of its own, to be called or subscripted."""
    name = f"_{cls['name']}_{member['name']}"
    kinds = [type_of(a) for a in member["arguments"]]
    index = kinds[0] if len(kinds) == 1 else f"tuple[{', '.join(kinds)}]"
    lines = [f"class {name}(Protocol):"]
    if member["read"]:
        lines.append(f"    def __call__({', '.join(['self'] + parameters(member))}) -> {type_of(member)}: ...")
        lines.append(f"    def __getitem__(self, index: {index}) -> {type_of(member)}: ...")
    if member["write"]:
        lines.append(f"    def __setitem__(self, index: {index}, value: {type_of(member, taken=True)}) -> None: ...")
    out.append("\n".join(lines))
    return name


def class_text(cls, out):
    lines = [f"class {cls['name']}(Object):", f'    """{cls["summary"]}"""']
    for member in cls["members"]:
        if member["method"]:
            lines.append(f"    def {member['name']}({', '.join(['self'] + parameters(member))}) -> {type_of(member)}:")
            lines.append(f'        """{member["summary"]}"""')
        elif member["arguments"]:
            helper = indexed(cls, member, out)
            lines += ["    @property", f"    def {member['name']}(self) -> {helper}:", f'        """{member["summary"]}"""']
        else:
            kind = type_of(member) if member["read"] else "Any"
            lines += ["    @property", f"    def {member['name']}(self) -> {kind}:", f'        """{member["summary"]}"""']
            if member["write"]:
                lines.append(f"    @{member['name']}.setter")
                lines.append(f"    def {member['name']}(self, value: {type_of(member, taken=True)}) -> None: ...")
    if cls["default"]:
        lines.append("    def __call__(self, *index: Any) -> Any: ...")
        lines.append("    def __getitem__(self, index: Any) -> Any: ...")
        lines.append("    def __len__(self) -> int: ...")
        lines.append("    def __iter__(self) -> Iterator[Any]: ...")
    out.append("\n".join(lines))


def python_text(cls, out):
    """A class written in Python: names and documentation, methods untyped."""
    base = f"({cls.__base__.__name__})" if cls.__base__ is not object else ""
    lines = [f"class {cls.__name__}{base}:", f'    """{cls.__doc__}"""']
    for name in getattr(cls, "__slots__", ()):
        lines.append(f"    {name}: Any")
    for name, member in vars(cls).items():
        if isinstance(member, property):
            lines += ["    @property", f"    def {name}(self) -> Any: ..."]
        elif inspect.isfunction(member) and (not name.startswith("__") or name in ("__init__", "__getitem__")):
            lines.append(f"    def {name}{inspect.signature(member)}: ...")
    out.append("\n".join(lines))


def main(path):
    out = [HEADER, "class Object:\n    \"\"\"An object of the library.\"\"\""]
    for cls in (varnex3.Error, varnex3.CellError, varnex3.ByRef, varnex3.UserInterface, varnex3.Book):
        python_text(cls, out)
    seen = set()
    for cls in _varnex3.table():
        if cls["name"] not in seen:
            class_text(cls, out)
        seen.add(cls["name"])
    out.append("def open_workbook(path: Union[str, PathLike[str]]) -> Book: ...")
    out.append("def set_user_interface(interface: Optional[UserInterface]) -> None: ...")
    out.append("def set_seed(seed: int) -> None: ...")
    with open(path, "w", encoding="utf-8") as stubs:
        stubs.write("\n\n".join(out) + "\n")


main(sys.argv[1])
