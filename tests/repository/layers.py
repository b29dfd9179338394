#!/usr/bin/env python3
"""The folders below src/ are layers: each includes only what src/CMakeLists.txt adds before it, backends know nothing
of the core but the interfaces of platform/, and the core (every folder but backends/ and cli/) knows no platform.

  layers.py SOURCES     tests the test, then the sources
"""

import pathlib
import re
import sys
import unittest

FOREIGN = re.compile(r"Q[A-Z]|Qt|q[a-z]+\.h$|X11/|xcb/|xkbcommon/|systemd/|dbus/|gio/|glib|gtk/|atspi|linux/")
CONDITION = re.compile(
    r"\s*#\s*(if|ifdef|ifndef|elif)\b.*(__linux|__unix|__APPLE__|__FreeBSD|WIN32|Q_OS|Q_WS|X11|WAYLAND)")
INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^>"]+)')


def added(root, folder=""):
    """The folders that the CMake files add, in their order, what a folder adds itself before it."""
    for name in re.findall(r"add_subdirectory\(([^)\s]+)\)", (root / folder / "CMakeLists.txt").read_text()):
        below = f"{folder}/{name}".lstrip("/")
        yield from added(root, below)
        yield below


def offences(path, text, order):
    """What is wrong with a file, a sentence each, with path and line."""

    def folder_of(name):
        return max((folder for folder in order if name.startswith(folder + "/")), key=len, default=None)

    own = folder_of(path)
    if own is None:
        yield f"{path}:0 lies in no folder that src/CMakeLists.txt adds"
        return
    is_backend = own.startswith("backends/")
    is_core = not is_backend and own != "cli"
    for number, line in enumerate(text.splitlines(), 1):
        include = INCLUDE.match(line)
        header = include and include[2]
        wrong = None
        if include and include[1] == '"':
            target = folder_of(header)
            if target is None:
                wrong = f'includes "{header}", which names no folder below src/'
            elif order.index(target) > order.index(own):
                wrong = f'includes "{header}" from a layer below its own'
            elif is_backend and not target.startswith("backends/") and target != "platform":
                wrong = f'includes "{header}"; a backend knows platform/ only'
        elif is_core and include and FOREIGN.match(header):
            wrong = f"includes <{header}>; the core knows no platform"
        elif is_core and CONDITION.match(line):
            wrong = "asks for a platform; the core knows none"
        if wrong:
            yield f"{path}:{number} {wrong}"


class Layers(unittest.TestCase):
    def test_refuse_every_way_out(self):
        order = ["platform", "query/text", "tree", "backends/recorded", "backends/linux/x11", "cli"]
        for path, text, wrong in (
                ("platform/A.h", '\n#include "tree/T.h"', ':2 includes "tree/T.h" from a layer below its own'),
                ("tree/A.h", '#include "cli/C.h"', ':1 includes "cli/C.h" from a layer below its own'),
                ("tree/A.h", '#include "B.h"', ':1 includes "B.h", which names no folder below src/'),
                ("tree/A.h", "#include <QString>", ":1 includes <QString>; the core knows no platform"),
                ("tree/A.h", "# include <Qt/q.h>", ":1 includes <Qt/q.h>; the core knows no platform"),
                ("tree/A.h", "#include <X11/X.h>", ":1 includes <X11/X.h>; the core knows no platform"),
                ("tree/A.h", "#include <systemd/s.h>", ":1 includes <systemd/s.h>; the core knows no platform"),
                ("tree/A.cpp", "#ifdef __linux__", ":1 asks for a platform; the core knows none"),
                ("tree/A.cpp", "#if defined(_WIN32)", ":1 asks for a platform; the core knows none"),
                ("backends/recorded/R.h", '#include "tree/T.h"',
                 ':1 includes "tree/T.h"; a backend knows platform/ only'),
                ("elsewhere/A.h", "", ":0 lies in no folder that src/CMakeLists.txt adds")):
            self.assertEqual(list(offences(path, text, order)), [path + wrong])

    def test_hold_in_this_repository(self):
        root = pathlib.Path(sys.argv[1])
        order = list(added(root))
        sources = [path for path in root.rglob("*") if path.suffix in (".h", ".cpp")]
        self.assertTrue(len(order) > 10 and len(sources) > 20)
        for path in sources:
            self.assertEqual(list(offences(path.relative_to(root).as_posix(), path.read_text(), order)), [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
