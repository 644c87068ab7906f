#!/usr/bin/python3
"""Prints what users of the host kit are compiled with, as text to be compared.

    abi_layout.py FILE

FILE is what `abidw` says of a library that uses the kit's public headers. Printed are
the classes of the namespace rtu with size, bases, members and virtual functions, and
the values of its enumerations. Sizes and offsets are in bits.
"""

import sys
import xml.etree.ElementTree


def scoped_types(element, scope=""):
    """All types with an id below `element`: id and full name."""
    for child in element:
        name = child.get("name", "")
        if child.get("id"):
            yield child.get("id"), child, scope + name
        if child.tag in ("abi-instr", "namespace-decl", "class-decl", "member-type"):
            inner = scope + name + "::" if name and child.tag != "abi-instr" else scope
            yield from scoped_types(child, inner)


class Layout:

    def __init__(self, root):
        self.elements = {}
        self.names = {}
        for number, element, name in scoped_types(root):
            self.elements[number] = element
            self.names[number] = name

    def type_name(self, number):
        element = self.elements.get(number)
        if element is None:
            return "?"
        inner = self.type_name(element.get("type-id")) if element.get("type-id") else ""
        if element.tag == "pointer-type-def":
            return inner + "*"
        if element.tag == "reference-type-def":
            return inner + ("&" if element.get("kind") == "lvalue" else "&&")
        if element.tag == "qualified-type-def":
            return inner + " const" * (element.get("const") == "yes")
        return self.names[number]

    def function_text(self, function):
        parameters = [self.type_name(parameter.get("type-id")) for parameter in function.findall("parameter")
                      if parameter.get("is-artificial") != "yes"]
        result = function.find("return")
        kind = self.type_name(result.get("type-id")) if result is not None else ""
        return f"{kind} {function.get('name')}({', '.join(parameters)})".strip()

    def class_lines(self, element, name):
        yield f"class {name} {element.get('size-in-bits')}"
        for base in element.findall("base-class"):
            yield f"    base {base.get('layout-offset-in-bits')} {self.type_name(base.get('type-id'))}"
        for member in element.findall("data-member"):
            variable = member.find("var-decl")
            offset = member.get("layout-offset-in-bits", "static")
            yield f"    {offset} {self.type_name(variable.get('type-id'))} {variable.get('name')}"
        for member in element.findall("member-function"):
            if member.get("vtable-offset"):
                yield f"    virtual {member.get('vtable-offset')} {self.function_text(member.find('function-decl'))}"

    @staticmethod
    def enumeration_lines(element, name):
        yield f"enum {name}"
        for value in element.findall("enumerator"):
            yield f"    {value.get('value')} {value.get('name')}"

    def text(self):
        blocks = set()
        for number, element in self.elements.items():
            name = self.names[number]
            if not name.startswith("rtu::") or element.get("is-declaration-only") == "yes":
                continue
            if element.tag == "class-decl":
                blocks.add("\n".join(self.class_lines(element, name)))
            elif element.tag == "enum-decl":
                blocks.add("\n".join(self.enumeration_lines(element, name)))
        return "\n".join(sorted(blocks))


if __name__ == "__main__":
    print(Layout(xml.etree.ElementTree.parse(sys.argv[1]).getroot()).text())
