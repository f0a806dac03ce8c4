#!/usr/bin/env python3
"""Turns the dialog templates of vexora.rc into the table the Linux dialog manager reads.

    dialog_templates.py vexora.rc resource_ids.h OUTPUT.cpp

VEXORA.DLL carries the templates as resources compiled from vexora.rc; libvexora.so has no
resource section, so the build runs this script and compiles its output instead. The .rc file
stays the one source: a control added there appears on both platforms.

Each DIALOGEX block gives its name, frame (dialog units), STYLE, CAPTION and FONT, then one
statement per control. The short statements (LTEXT, PUSHBUTTON, EDITTEXT, ...) carry the
default styles the resource compiler gives them, plus WS_CHILD | WS_VISIBLE; a style written
after the rectangle is added to those ("NOT X" takes X away). Identifiers come from
resource_ids.h; style names from the table below, and an unknown name stops the build rather
than becoming 0.
"""
import re
import sys

STYLES = {
    "WS_POPUP": 0x80000000, "WS_CHILD": 0x40000000, "WS_VISIBLE": 0x10000000,
    "WS_DISABLED": 0x08000000, "WS_CAPTION": 0x00C00000, "WS_BORDER": 0x00800000,
    "WS_VSCROLL": 0x00200000, "WS_HSCROLL": 0x00100000, "WS_SYSMENU": 0x00080000,
    "WS_GROUP": 0x00020000, "WS_TABSTOP": 0x00010000,
    "DS_MODALFRAME": 0x80, "DS_SETFONT": 0x40, "DS_CENTER": 0x800, "DS_NOIDLEMSG": 0x100,
    "SS_LEFT": 0, "SS_CENTER": 1, "SS_RIGHT": 2, "SS_NOPREFIX": 0x80, "SS_ENDELLIPSIS": 0x4000,
    "BS_PUSHBUTTON": 0, "BS_DEFPUSHBUTTON": 1, "BS_CHECKBOX": 2, "BS_AUTOCHECKBOX": 3,
    "BS_GROUPBOX": 7,
    "ES_LEFT": 0, "ES_NUMBER": 0x2000, "ES_AUTOHSCROLL": 0x80,
    "CBS_SIMPLE": 1, "CBS_DROPDOWN": 2, "CBS_DROPDOWNLIST": 3, "CBS_SORT": 0x100,
    "LBS_NOTIFY": 1, "LBS_SORT": 2, "LBS_USETABSTOPS": 0x80, "LBS_NOINTEGRALHEIGHT": 0x100,
}

CHILD = STYLES["WS_CHILD"] | STYLES["WS_VISIBLE"]
# statement: (control class, has a text, default style)
STATEMENTS = {
    "LTEXT": ("Static", True, STYLES["SS_LEFT"] | STYLES["WS_GROUP"]),
    "CTEXT": ("Static", True, STYLES["SS_CENTER"] | STYLES["WS_GROUP"]),
    "RTEXT": ("Static", True, STYLES["SS_RIGHT"] | STYLES["WS_GROUP"]),
    "PUSHBUTTON": ("Button", True, STYLES["BS_PUSHBUTTON"] | STYLES["WS_TABSTOP"]),
    "DEFPUSHBUTTON": ("Button", True, STYLES["BS_DEFPUSHBUTTON"] | STYLES["WS_TABSTOP"]),
    "CHECKBOX": ("Button", True, STYLES["BS_CHECKBOX"] | STYLES["WS_TABSTOP"]),
    "AUTOCHECKBOX": ("Button", True, STYLES["BS_AUTOCHECKBOX"] | STYLES["WS_TABSTOP"]),
    "GROUPBOX": ("Button", True, STYLES["BS_GROUPBOX"]),
    "EDITTEXT": ("Edit", False, STYLES["ES_LEFT"] | STYLES["WS_BORDER"] | STYLES["WS_TABSTOP"]),
    "COMBOBOX": ("ComboBox", False, STYLES["CBS_SIMPLE"] | STYLES["WS_TABSTOP"]),
    "LISTBOX": ("ListBox", False, STYLES["LBS_NOTIFY"] | STYLES["WS_BORDER"]),
}


def fail(message):
    sys.exit(f"dialog_templates.py: {message}")


def read_defines(path):
    defines = {}
    with open(path, encoding="latin-1") as f:
        for line in f:
            m = re.match(r"\s*#define\s+(\w+)\s+(.+?)\s*(/\*.*)?$", line)
            if m:
                defines[m.group(1)] = m.group(2).strip()
    return defines


def strip_comments(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    return re.sub(r"//[^\n]*", " ", text)


def tokens(text):
    return re.findall(r'"(?:[^"]|"")*"|,|\||\w+|-?\d+|\(|\)|-', text)


def number(token, defines):
    seen = set()
    while token in defines and token not in seen:
        seen.add(token)
        token = defines[token].strip("()")
    try:
        return int(token, 0)
    except ValueError:
        fail(f"not a number: {token}")


def style(parts, base):
    value, negate = base, False
    for part in parts:
        if part == "|":
            continue
        if part == "NOT":
            negate = True
            continue
        if part not in STYLES:
            fail(f"unknown style {part}")
        value = value & ~STYLES[part] if negate else value | STYLES[part]
        negate = False
    return value & 0xFFFFFFFF


def split_arguments(toks):
    arguments, current = [], []
    for t in toks:
        if t == ",":
            arguments.append(current)
            current = []
        else:
            current.append(t)
    arguments.append(current)
    return arguments


def text_of(token):
    if not token.startswith('"'):
        fail(f"expected a string, found {token}")
    return token[1:-1].replace('""', '"')


def parse(rc_text, defines):
    dialogs = []
    text = strip_comments(rc_text)
    for m in re.finditer(r"^(\w+)\s+DIALOGEX\s+([^\n]+)\n(.*?)^BEGIN\s*\n(.*?)^END", text, flags=re.M | re.S):
        name, frame, header, body = m.groups()
        x, y, cx, cy = (number(a[0], defines) for a in split_arguments(tokens(frame))[:4])
        dialog = {"name": name, "frame": (x, y, cx, cy), "style": 0, "caption": "", "font": (8, "")}
        for line in re.split(r"\n(?=\w)", header):
            words = tokens(line)
            if not words:
                continue
            if words[0] == "STYLE":
                dialog["style"] = style(words[1:], 0)
            elif words[0] == "CAPTION":
                dialog["caption"] = text_of(words[1])
            elif words[0] == "FONT":
                dialog["font"] = (number(words[1], defines), text_of(words[3]))
        controls = []
        for statement in re.split(r"\n(?=\s*[A-Z]+\s)", body):
            words = tokens(statement)
            if not words:
                continue
            if words[0] not in STATEMENTS:
                fail(f"{name}: unknown control statement {words[0]}")
            kind, has_text, base = STATEMENTS[words[0]]
            arguments = split_arguments(words[1:])
            label = ""
            if has_text:
                label = text_of(arguments.pop(0)[0])
            ident = number("".join(arguments[0]), defines)
            rect = [number("".join(a), defines) for a in arguments[1:5]]
            bits = style(arguments[5] if len(arguments) > 5 else [], base | CHILD)
            controls.append((kind, label, ident, rect, bits))
        dialog["controls"] = controls
        dialogs.append(dialog)
    if not dialogs:
        fail("no DIALOGEX template found")
    return dialogs


def c_string(value):
    return '"' + value.replace("\\", "\\\\").replace('"', '\\"') + '"'


def emit(dialogs):
    out = ["// Generated from resources/vexora.rc by resources/dialog_templates.py: do not edit.",
           '#include "platform/posix/dialog_templates.hpp"', "",
           "namespace vx::posix::user {", "namespace {", ""]
    for d in dialogs:
        out.append(f"constexpr ControlTemplate k{d['name']}Controls[] = {{")
        for kind, label, ident, (x, y, cx, cy), bits in d["controls"]:
            out.append(f"    {{ControlClass::{kind}, {c_string(label)}, {ident}, {x}, {y}, {cx}, {cy}, 0x{bits:08X}u}},")
        out.append("};")
    out += ["", "constexpr DialogTemplate kTemplates[] = {"]
    for d in dialogs:
        x, y, cx, cy = d["frame"]
        size, face = d["font"]
        out.append(f"    {{{c_string(d['name'])}, {c_string(d['caption'])}, {x}, {y}, {cx}, {cy}, 0x{d['style']:08X}u, "
                   f"{size}, {c_string(face)}, k{d['name']}Controls}},")
    out += ["};", "", "}  // namespace", "",
            "std::span<const DialogTemplate> DialogTemplates() { return kTemplates; }", "",
            "}  // namespace vx::posix::user", ""]
    return "\n".join(out)


def main():
    if len(sys.argv) != 4:
        fail("usage: dialog_templates.py vexora.rc resource_ids.h OUTPUT.cpp")
    defines = read_defines(sys.argv[2])
    with open(sys.argv[1], encoding="latin-1") as f:
        dialogs = parse(f.read(), defines)
    output = emit(dialogs)
    try:
        with open(sys.argv[3], encoding="latin-1") as f:
            if f.read() == output:
                return
    except OSError:
        pass
    with open(sys.argv[3], "w", encoding="latin-1") as f:
        f.write(output)


if __name__ == "__main__":
    main()
