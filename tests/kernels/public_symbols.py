"""Fails if a shared library exports what no public header of it declares.

    public_symbols.py NM LIBRARY FOLDER;FOLDER...      (the folders of the headers)

An exported symbol must be of one of our namespaces, and each part of its name (class, function, member) must stand in a
header. Templates of the standard library are passed over: its own headers make their instances visible.
"""

import pathlib
import re
import subprocess
import sys

# What a demangled name may have before and within it that no header says.
OF_A_CLASS = re.compile(r"^(vtable for|typeinfo for|typeinfo name for|non-virtual thunk to|VTT for|guard variable for) ")
OUR_NAMESPACES = {"gdi", "shr", "zpixf", "zcdl", "zbm"}


def exported(nm, library):
    """The demangled names of what the library defines for others, without versions."""
    lines = subprocess.run([nm, "-D", "-C", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    return [re.match(r"^[0-9a-f]* *\w (.*)$", line).group(1) for line in lines.splitlines()]


def parts(name):
    """The names that make up a symbol, without arguments and template arguments."""
    name = OF_A_CLASS.sub("", name)
    name = re.sub(r"\[abi:\w+\]", "", name)
    if "operator" not in name:
        while re.search(r"<[^<>]*>", name):
            name = re.sub(r"<[^<>]*>", "", name)
    name = re.sub(r"(?<!operator)\(.*$", "", name)
    name = name.split(" ")[-1] if "operator" not in name else name
    return name.split("::")


def is_public(name, words):
    of = parts(name)
    if of[0] == "std" or " std::" in name.split("(")[0] or name.startswith("__gnu_cxx"):
        return True
    if of[0] not in OUR_NAMESPACES or len(of) < 2:
        return False
    return all(re.match(r"operator\W", part) or part.lstrip("~") in words for part in of)


def main():
    nm, library, folders = sys.argv[1:]
    words = set()
    for folder in folders.split(";"):
        for header in pathlib.Path(folder).glob("**/*.h"):
            words.update(re.findall(r"\w+", re.sub(r"//.*", "", header.read_text(encoding="utf-8"))))
    names = exported(nm, library)
    private = [name for name in names if not is_public(name, words)]
    if private:
        sys.exit("\n".join([f"{library} exports what is not in its public headers:", *private]))
    if len(names) < 5:
        sys.exit(f"{library} exports next to nothing")
    print(f"{library}: {len(names)} symbols, all public")


main()
