#!/usr/bin/env python3
"""Checks of the house itself. Each prints what is wrong, a line a case, and exits with 1.

    house.py includes ROOT            include directions between the rooms
    house.py sources ROOT             every source is built, every folder of sources has a README
    house.py exports PLUGIN           symbols and needed libraries of the plug-in
    house.py format ROOT              clang-format, where it is installed (else exits with 77)
"""

import os
import re
import shutil
import subprocess
import sys

SKIPPED = 77

# Room -> rooms it may include, besides itself. Rooms that are not named may include anything. Each
# library is a room of its own; what lies directly in libraries/ is shared by them.
ROOMS = {
    "base": set(),
    "vocabulary": {"base"},
    "contracts": {"base", "vocabulary"},
    "database": {"base", "contracts"},
    "platform": {"base", "contracts", "vocabulary"},
    "tarnis": {"base", "contracts", "vocabulary", "database", "platform"},
    "libraries": {"base", "contracts", "database", "platform", "vocabulary", "libraries"},
    "host": {"base", "contracts", "vocabulary"},
}
INCLUDE = re.compile(r'^\s*#\s*include\s*["<]([^">]+)[">]', re.MULTILINE)
NEEDED = re.compile(
    r"(libboost_\w+|libzel(Plug|Store|Kit|KitEx)|libstdc\+\+|libm|libgcc_s|libc|libpthread"
    r"|libasan|libubsan|libtsan|ld-linux[-\w]*)\.so[.\d]*"
)


def walk(root, endings):
    """Files below root as paths relative to it. Hidden and build folders are not the house's."""
    for folder, folders, files in os.walk(root):
        folders[:] = sorted(n for n in folders if not n.startswith(".") and n != "build")
        for name in sorted(files):
            if name.endswith(endings):
                yield os.path.relpath(os.path.join(folder, name), root)


def read(root, path):
    with open(os.path.join(root, path), encoding="utf-8", errors="replace") as file:
        return file.read()


def room_of(path):
    """libraries/zelKit/Mutex.cpp -> libraries/zelKit; elsewhere the first folder is the room."""
    parts = path.split("/")
    return "/".join(parts[: 2 if parts[0] == "libraries" and len(parts) > 2 else 1])


def check_includes(root):
    for path in walk(root, (".h", ".cpp", ".inc")):
        room = room_of(path)
        if room.split("/")[0] not in ROOMS:
            continue
        allowed = ROOMS[room.split("/")[0]] | {room}
        text = read(root, path)
        for match in INCLUDE.finditer(text):
            target = match.group(1)
            beside = os.path.normpath(os.path.join(os.path.dirname(path), target))
            found = [p for p in (beside, os.path.normpath(target)) if os.path.isfile(f"{root}/{p}")]
            place = f"{path}:{text.count(chr(10), 0, match.start()) + 1}"
            if found and room_of(found[0]) not in allowed:
                yield f"{place}: {room} must not include {found[0]}"
            if not found and '"' in match.group(0):
                yield f"{place}: there is no {target}"


def check_sources(root):
    named = set()
    for path in walk(root, ("CMakeLists.txt", ".cmake")):
        here = os.path.dirname(path)
        text = re.sub(r"#.*", "", read(root, path))
        for word in re.findall(r'[^\s()";]+\.cpp\b', text):
            for variable in ("PROJECT_SOURCE_DIR", "CMAKE_SOURCE_DIR"):
                word = word.replace("${%s}" % variable, os.path.relpath(".", here or "."))
            word = word.replace("${CMAKE_CURRENT_SOURCE_DIR}", ".")
            named.add(os.path.normpath(os.path.join(here, word)))
    folders = set()
    for path in walk(root, ".cpp"):
        folders.add(os.path.dirname(path))
        if path not in named:
            yield f"{path}: no CMakeLists.txt names it"
    for folder in sorted(folders):
        if not os.path.isfile(os.path.join(root, folder, "README.md")):
            yield f"{folder}: holds sources and has no README.md"


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def check_exports(plugin):
    symbols = {line.split()[-1] for line in output_of("nm", "-D", "--defined-only", plugin).splitlines()}
    if symbols != {"createIf", "releaseIf"}:
        yield f"{plugin} exports {', '.join(sorted(symbols)) or 'nothing'}"
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "-dW", plugin))
    if not needed:
        yield f"{plugin} tells no needed library"
    for library in needed:
        if not NEEDED.fullmatch(library):
            yield f"{plugin} needs {library}"


def check_format(root):
    tool = shutil.which("clang-format-14")
    if not tool:
        print("skipped: clang-format-14 is not installed")
        sys.exit(SKIPPED)
    files = list(walk(root, (".h", ".cpp")))
    result = subprocess.run(
        [tool, "--dry-run", "-Werror", *files], cwd=root, stderr=subprocess.PIPE, text=True
    )
    for line in result.stderr.splitlines():
        if "error:" in line:
            yield line


CHECKS = {
    "includes": check_includes,
    "sources": check_sources,
    "exports": check_exports,
    "format": check_format,
}


def main(arguments):
    if len(arguments) != 2 or arguments[0] not in CHECKS:
        sys.exit(__doc__)
    wrong = list(CHECKS[arguments[0]](arguments[1]))
    for line in wrong:
        print(line)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
