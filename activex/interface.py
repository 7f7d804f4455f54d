"""Reads the control's interface out of its type library's source, Cronvel.idl.

What is made from the interface asks `read` for it and writes it in its own way; nothing here knows
what that is. The reader knows as much of the language as the file uses, and says where it stops.
"""

import dataclasses
import pathlib
import re


class IdlError(Exception):
    """What cannot be read, with the file and the line."""


@dataclasses.dataclass(frozen=True)
class Parameter:
    name: str
    type: str  # as the file has it, without the reference: "short", "SAFEARRAY(unsigned char)"
    direction: str  # "in", "in, out" or "out, retval"
    by_reference: bool


@dataclasses.dataclass(frozen=True)
class Member:
    kind: str  # "propget", "propput", "method" or "event"
    name: str
    id: int
    help: str  # empty where the file says nothing
    parameters: tuple  # of Parameter, in order, without the returned one
    result: Parameter | None  # what the call returns to its caller


@dataclasses.dataclass(frozen=True)
class Interface:
    members: tuple  # of Member: the default interface, in the order of its table
    events: tuple  # of Member: the default source interface

    def properties(self):
        """The name and the getter of each property."""
        return {member.name: member for member in self.members if member.kind == "propget"}


TOKEN = re.compile(r'"(?:[^"\\]|\\.)*"|[A-Za-z_]\w*|-?\d+|\S')
SPACE = re.compile(r"(?:\s|//[^\n]*|/\*.*?\*/)*", re.DOTALL)


class _Reader:
    """Walks over the words of the file; `position` is where the next one starts."""

    def __init__(self, path):
        self.path = path
        self.text = path.read_text(encoding="utf-8")
        self.position = SPACE.match(self.text).end()

    def fail(self, what):
        line = self.text.count("\n", 0, self.position) + 1
        raise IdlError(f"{self.path}:{line}: {what}")

    def go_to(self, pattern):
        found = re.search(pattern, self.text)
        if not found:
            self.fail(f"there is nothing like {pattern}")
        self.position = SPACE.match(self.text, found.end()).end()

    def peek(self):
        token = TOKEN.match(self.text, self.position)
        return token[0] if token else ""

    def take(self, wanted=None):
        token = self.peek()
        if not token or wanted not in (None, token):
            self.fail(f"{wanted or 'something'} is expected, not {token or 'the end'}")
        self.position = SPACE.match(self.text, self.position + len(token)).end()
        return token

    def attributes(self):
        """What stands in brackets: {"id": "20", "helpstring": "...", "propget": ""}."""
        found = {}
        self.take("[")
        while self.peek() != "]":
            name = self.take()
            found[name] = ""
            if self.peek() == "(":
                self.take("(")
                found[name] = self.take().strip('"')
                self.take(")")
            if self.peek() != "]":
                self.take(",")
        self.take("]")
        return found

    def type(self):
        name = self.take()
        if name == "unsigned":
            name += " " + self.take()
        if name == "SAFEARRAY":
            self.take("(")
            name += f"({self.type()})"
            self.take(")")
        return name

    def parameter(self):
        direction = ", ".join(self.attributes())
        type_name = self.type()
        by_reference = self.peek() == "*"
        if by_reference:
            self.take("*")
        return Parameter(self.take(), type_name, direction, by_reference)

    def member(self, returned, plain_kind):
        attributes = self.attributes()
        if "id" not in attributes:
            self.fail("the member has no id")
        kind = next((kind for kind in ("propget", "propput") if kind in attributes), plain_kind)
        self.take(returned)
        name = self.take()
        parameters = []
        self.take("(")
        while self.peek() != ")":
            parameters.append(self.parameter())
            if self.peek() != ")":
                self.take(",")
        self.take(")")
        self.take(";")
        result = parameters.pop() if parameters and "retval" in parameters[-1].direction else None
        return Member(kind, name, int(attributes["id"]), attributes.get("helpstring", ""),
                      tuple(parameters), result)

    def members(self, start, returned, plain_kind):
        """All up to the closing brace."""
        self.go_to(start)
        found = []
        while self.peek() != "}":
            found.append(self.member(returned, plain_kind))
        return tuple(found)


def read(path):
    """The interface in the file; raises IdlError for what is not understood."""
    reader = _Reader(pathlib.Path(path))
    members = reader.members(r"interface\s+_Cronvel\s*:\s*IDispatch\s*\{", "HRESULT", "method")
    events = reader.members(r"dispinterface\s+__Cronvel\s*\{\s*properties:\s*methods:", "void", "event")
    return Interface(members, events)
