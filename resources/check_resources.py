#!/usr/bin/env python3
"""check_resources.py FILE.res: checks a compiled resource file (windres -O res) of VEXORA.DLL:
string table entries 1-14, the four dialog templates (caption; controls in template order as
id, window class, text) and the version information. Exit status 0 when all match, 1 otherwise."""
import struct
import sys

RT_STRING, RT_DIALOG, RT_VERSION = 6, 5, 16
BUTTON, EDIT, STATIC, LISTBOX, COMBOBOX = 0x80, 0x81, 0x82, 0x83, 0x85

STRINGS = {
    1: "Vexora SDK",
    2: "PrintDlg function failed -- can't find/load/lock resources",
    3: "PrintDlg function failed -- Low Memory",
    4: "Printer Device Driver failed to initialize",
    5: "PrintDlg -- no printer device-drivers were found",
    6: "PrintDlg failed -- loading printer device driver",
    7: "PrintDlg failed -- parsing the strings in the [devices] section of the file WIN.INI",
    8: "PrintDlg failed -- a default printer does not exist",
    9: "PrintDlg failed -- Setup Resources",
    10: "PrintDlg function failed during initialization",
    11: "Not enough disk space is available for spooling",
    12: "Not enough memory is available for spooling",
    13: "Printer general error",
    14: "There is no active printer device.",
}

DIALOGS = {
    "PRINTPAGE": ("Print", [
        (1000, COMBOBOX, ""), (116, EDIT, ""),
        (117, BUTTON, "&Scale to Fit Page Proportionaly"), (118, BUTTON, "S&tretch to Fit Page"),
        (500, BUTTON, "&Use Image DPI"), (119, BUTTON, "Center the image &horizontally"),
        (120, BUTTON, "Center the image &vertically"), (122, BUTTON, "Print &all page"),
        (1, BUTTON, "OK"), (2, BUTTON, "Cancel"), (121, STATIC, ""),
        (901, STATIC, ""), (902, STATIC, ""), (903, STATIC, ""), (-1, STATIC, "&Copies:")]),
    "PRINTERSETUP": ("Printer setup", [
        (-1, STATIC, "&Printer:"), (122, LISTBOX, ""), (1, BUTTON, "&Ok"),
        (2, BUTTON, "&Cancel"), (115, BUTTON, "&Setup...")]),
    "PRINTCANCELDLGBOX": ("Cancel Printing", [
        (-1, STATIC, "Printing:"), (121, STATIC, ""), (2, BUTTON, "Cancel")]),
    "PRINTDLGSETUP": ("Printer Setup", [
        (123, LISTBOX, ""), (100, STATIC, "Printer Setup"), (1, BUTTON, "OK"),
        (2, BUTTON, "Cancel"), (115, BUTTON, "Setup")]),
}


def sz_or_ord(buf, pos):
    if struct.unpack_from("<H", buf, pos)[0] == 0xFFFF:
        return struct.unpack_from("<H", buf, pos + 2)[0], pos + 4
    end = pos
    while struct.unpack_from("<H", buf, end)[0] != 0:
        end += 2
    return buf[pos:end].decode("utf-16-le"), end + 2


def read_res(data):
    """Yields (type, name, language, payload) for every entry of a .res file."""
    pos = 0
    while pos + 8 <= len(data):
        size, header = struct.unpack_from("<II", data, pos)
        rtype, p = sz_or_ord(data, pos + 8)
        name, p = sz_or_ord(data, p)
        p = (p + 3) & ~3
        language = struct.unpack_from("<IHHII", data, p)[2]
        body = pos + header
        if size or rtype != 0:
            yield rtype, name, language, data[body:body + size]
        pos = (body + size + 3) & ~3


def parse_dialog(buf):
    """Returns (caption, [(id, class, text), ...]) of a DLGTEMPLATE or DLGTEMPLATEEX."""
    ex = struct.unpack_from("<HH", buf, 0) == (1, 0xFFFF)
    style, count = struct.unpack_from("<IH", buf, 12) if ex else struct.unpack_from("<I4xH", buf, 0)
    pos = 26 if ex else 18
    for _ in range(2):                     # menu, window class
        _, pos = sz_or_ord(buf, pos)
    caption, pos = sz_or_ord(buf, pos)
    if style & 0x40:                       # DS_SETFONT: point size, [weight, italic, charset], face
        pos += 6 if ex else 2
        _, pos = sz_or_ord(buf, pos)       # typeface
    controls = []
    for _ in range(count):
        pos = (pos + 3) & ~3
        if ex:
            cid = struct.unpack_from("<i", buf, pos + 20)[0]
            pos += 24
        else:
            cid = struct.unpack_from("<h", buf, pos + 16)[0]
            pos += 18
        cls, pos = sz_or_ord(buf, pos)
        text, pos = sz_or_ord(buf, pos)
        pos += 2 + struct.unpack_from("<H", buf, pos)[0]   # creation data
        controls.append((cid, cls, text if isinstance(text, str) else ""))
    return caption, controls


def main(path):
    entries, errors, strings = list(read_res(open(path, "rb").read())), [], {}
    for rtype, name, _, body in entries:
        if rtype == RT_STRING:
            pos = 0
            for i in range(16):
                n = struct.unpack_from("<H", body, pos)[0]
                strings[(name - 1) * 16 + i] = body[pos + 2:pos + 2 + 2 * n].decode("utf-16-le")
                pos += 2 + 2 * n
    for sid, text in STRINGS.items():
        if strings.get(sid) != text:
            errors.append(f"string {sid}: {strings.get(sid)!r}, expected {text!r}")
    dialogs = {name: parse_dialog(body) for rtype, name, _, body in entries if rtype == RT_DIALOG}
    for name, expected in DIALOGS.items():
        if dialogs.get(name) != expected:
            errors.append(f"dialog {name}: {dialogs.get(name)!r}\n  expected {expected!r}")
    versions = [body for rtype, _, _, body in entries if rtype == RT_VERSION]
    fixed = versions[0].find(struct.pack("<I", 0xFEEF04BD)) if versions else -1
    if fixed < 0 or struct.unpack_from("<II", versions[0], fixed + 8) != (5 << 16 | 56, 0):
        errors.append("version information missing or not 5.56.0.0")
    print("\n".join("FAIL: " + e for e in errors) if errors else
          f"OK: {len(STRINGS)} strings, {len(DIALOGS)} dialogs, version 5.56.0.0")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]) if len(sys.argv) == 2 else 2)
