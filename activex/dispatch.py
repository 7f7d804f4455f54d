#!/usr/bin/env python3
"""Writes the C++ that follows from Cronvel.idl alone.

    activex/dispatch.py IDL FOLDER

FOLDER gets DispatchMembers.h, the methods of the dual interface, and InterfaceProperties.h, what the
type library says of the properties.
"""

import json
import pathlib
import sys

import interface

# What an IDL type is called in C++.
TYPES = {"short": "SHORT", "long": "LONG", "unsigned char": "BYTE"}
SAME_TYPES = ("BSTR", "VARIANT", "VARIANT_BOOL")

HEAD = """// Made from Cronvel.idl by activex/dispatch.py.
#pragma once

#include "activex/{base}.h"

namespace cronvel::activex {{

"""
TAIL = """
}  // namespace cronvel::activex
"""


def declaration(parameter):
    """BSTR* name, SAFEARRAY** name."""
    if parameter.type.startswith("SAFEARRAY("):
        name = "SAFEARRAY*"
    elif parameter.type in SAME_TYPES:
        name = parameter.type
    elif parameter.type in TYPES:
        name = TYPES[parameter.type]
    else:
        raise interface.IdlError(f"there is no C++ type for {parameter.type}, of {parameter.name}")
    return f"{name}{'*' if parameter.by_reference else ''} {parameter.name}"


def method(member):
    """The override of one method of the interface, and which of `MemberCalls` does its work."""
    prefix = {"propget": "get_", "propput": "put_", "method": ""}[member.kind]
    helper = {"propget": "get", "propput": "action"}.get(
        member.kind, "command" if member.result else "action")
    declared = [*member.parameters, *([member.result] if member.result else [])]
    passed = [member.result.name] if member.result else []
    passed.append(f"&Cronvel::{member.name}")
    passed += [parameter.name for parameter in member.parameters]
    return (f"  STDMETHODIMP {prefix}{member.name}({', '.join(map(declaration, declared))}) override {{\n"
            f"    return {helper}({', '.join(passed)});\n"
            "  }\n")


def dispatch_members(described):
    return (HEAD.format(base="MemberCalls") +
            "/// The members of the default interface, each of which calls the control's own.\n"
            "class DispatchMembers : public MemberCalls {\n"
            " public:\n"
            "  using MemberCalls::MemberCalls;\n\n" +
            "".join(map(method, described.members)) + "};\n" + TAIL)


def interface_properties(described):
    rows = "".join(f"    {{{json.dumps(name)}, {getter.id}, L{json.dumps(getter.help)}}},\n"
                   for name, getter in described.properties().items())
    return (HEAD.format(base="InterfaceProperty") +
            "inline constexpr InterfaceProperty interfaceProperties[] = {\n" + rows + "};\n" + TAIL)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[2])
    try:
        described = interface.read(sys.argv[1])
        made = {"DispatchMembers.h": dispatch_members(described),
                "InterfaceProperties.h": interface_properties(described)}
    except interface.IdlError as error:
        sys.exit(str(error))
    for name, text in made.items():
        (folder / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
