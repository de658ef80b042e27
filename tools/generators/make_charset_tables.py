#!/usr/bin/env python3
"""Writes src/foundation/text/charset_tables.inc: the single-byte charsets that
GetCodec knows, each with its registered name, its aliases and the code unit of
every byte.

The mapping of each byte is asked of the C library's iconv(3) (through ctypes),
so the tables follow the published standards as the system's converter knows
them. A byte the converter rejects (undefined in that charset) maps to U+FFFD.

Usage: make_charset_tables.py [OUTPUT]   (default: standard output)
"""

import ctypes
import ctypes.util
import sys

# (registered name, aliases). The name is also what iconv_open is given.
# Names and aliases are those of the registry of character sets; the tests
# resolve each of them through GetCodec.
CHARSETS = [
    ("windows-1250", ["cswindows1250"]),
    ("windows-1251", ["cswindows1251"]),
    ("windows-1252", ["cswindows1252"]),
    ("windows-1253", ["cswindows1253"]),
    ("windows-1254", ["cswindows1254"]),
    ("windows-1255", ["cswindows1255"]),
    ("windows-1256", ["cswindows1256"]),
    ("windows-1257", ["cswindows1257"]),
    ("ISO-8859-1", ["ISO_8859-1:1987", "iso-ir-100", "ISO_8859-1", "latin1", "l1",
                    "IBM819", "CP819", "csISOLatin1"]),
    ("ISO-8859-2", ["ISO_8859-2:1987", "iso-ir-101", "ISO_8859-2", "latin2", "l2",
                    "csISOLatin2"]),
    ("ISO-8859-3", ["ISO_8859-3:1988", "iso-ir-109", "ISO_8859-3", "latin3", "l3",
                    "csISOLatin3"]),
    ("ISO-8859-4", ["ISO_8859-4:1988", "iso-ir-110", "ISO_8859-4", "latin4", "l4",
                    "csISOLatin4"]),
    ("ISO-8859-5", ["ISO_8859-5:1988", "iso-ir-144", "ISO_8859-5", "cyrillic",
                    "csISOLatinCyrillic"]),
    ("ISO-8859-6", ["ISO_8859-6:1987", "iso-ir-127", "ISO_8859-6", "ECMA-114",
                    "ASMO-708", "arabic", "csISOLatinArabic"]),
    ("ISO-8859-7", ["ISO_8859-7:1987", "iso-ir-126", "ISO_8859-7", "ELOT_928",
                    "ECMA-118", "greek", "greek8", "csISOLatinGreek"]),
    ("ISO-8859-8", ["ISO_8859-8:1988", "iso-ir-138", "ISO_8859-8", "hebrew",
                    "csISOLatinHebrew"]),
    ("ISO-8859-9", ["ISO_8859-9:1989", "iso-ir-148", "ISO_8859-9", "latin5", "l5",
                    "csISOLatin5"]),
    ("ISO-8859-10", ["iso-ir-157", "l6", "ISO_8859-10:1992", "csISOLatin6", "latin6"]),
    ("ISO-8859-13", ["csISO885913"]),
    ("ISO-8859-14", ["iso-ir-199", "ISO_8859-14:1998", "ISO_8859-14", "latin8",
                     "iso-celtic", "l8", "csISO885914"]),
    ("ISO-8859-15", ["ISO_8859-15", "Latin-9", "csISO885915"]),
    ("ISO-8859-16", ["iso-ir-226", "ISO_8859-16:2001", "ISO_8859-16", "latin10", "l10",
                     "csISO885916"]),
    ("KOI8-R", ["csKOI8R"]),
    ("KOI8-U", ["csKOI8U"]),
    ("IBM437", ["cp437", "437", "csPC8CodePage437"]),
    ("IBM850", ["cp850", "850", "csPC850Multilingual"]),
    ("IBM866", ["cp866", "866", "csIBM866"]),
    ("macintosh", ["mac", "csMacintosh"]),
]

REPLACEMENT = 0xFFFD


class Iconv:
    def __init__(self):
        self.libc = ctypes.CDLL(ctypes.util.find_library("c"), use_errno=True)
        self.libc.iconv_open.restype = ctypes.c_void_p
        self.libc.iconv_open.argtypes = [ctypes.c_char_p, ctypes.c_char_p]
        self.libc.iconv.restype = ctypes.c_size_t
        self.libc.iconv.argtypes = [ctypes.c_void_p,
                                    ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(ctypes.c_size_t),
                                    ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(ctypes.c_size_t)]
        self.libc.iconv_close.argtypes = [ctypes.c_void_p]

    def table(self, charset):
        """The code unit of each of the 256 bytes, REPLACEMENT where iconv refuses."""
        cd = self.libc.iconv_open(b"UTF-32LE", charset.encode("ascii"))
        if cd is None or cd == ctypes.c_void_p(-1).value:
            raise SystemExit(f"iconv does not know the charset {charset}")
        units = []
        try:
            for byte in range(256):
                units.append(self._convert(cd, byte, charset))
        finally:
            self.libc.iconv_close(cd)
        return units

    def _convert(self, cd, byte, charset):
        source = ctypes.create_string_buffer(bytes([byte]), 1)
        target = ctypes.create_string_buffer(16)
        in_ptr = ctypes.c_void_p(ctypes.addressof(source))
        in_left = ctypes.c_size_t(1)
        out_ptr = ctypes.c_void_p(ctypes.addressof(target))
        out_left = ctypes.c_size_t(16)
        self.libc.iconv(cd, None, None, None, None)  # initial state for each byte
        result = self.libc.iconv(cd, ctypes.byref(in_ptr), ctypes.byref(in_left),
                                 ctypes.byref(out_ptr), ctypes.byref(out_left))
        if result == ctypes.c_size_t(-1).value:
            return REPLACEMENT
        # A stateful converter may hold output back until it is flushed.
        self.libc.iconv(cd, None, None, ctypes.byref(out_ptr), ctypes.byref(out_left))
        produced = target.raw[:16 - out_left.value]
        if len(produced) != 4:
            raise SystemExit(f"{charset}: byte {byte:#04x} gives {len(produced) // 4} characters")
        code_point = int.from_bytes(produced, "little")
        if code_point > 0xFFFF:
            raise SystemExit(f"{charset}: byte {byte:#04x} lies outside the 16-bit range")
        return code_point


def identifier(name):
    return "".join(c if c.isalnum() else "_" for c in name)


def render():
    converter = Iconv()
    lines = [
        "// Generated by tools/generators/make_charset_tables.py from the C library's iconv(3);",
        "// do not edit. Regenerate from the repository root with",
        "//   python3 tools/generators/make_charset_tables.py src/foundation/text/charset_tables.inc",
        "// Each entry: registered name, aliases (null-terminated), the code unit of each byte.",
        f"// A byte that the charset leaves undefined maps to U+{REPLACEMENT:04X}.",
        "",
    ]
    for name, aliases in CHARSETS:
        quoted = ", ".join(f'"{alias}"' for alias in aliases)
        lines.append(f"static const char* const kAliases_{identifier(name)}[] = {{{quoted}, nullptr}};")
    lines.append("")
    lines.append(f"static const MCharsetDefinition kCharsetDefinitions[{len(CHARSETS)}] = {{")
    for name, _ in CHARSETS:
        units = converter.table(name)
        lines.append(f'    {{"{name}", kAliases_{identifier(name)}, {{')
        for row in range(0, 256, 8):
            cells = ", ".join(f"0x{unit:04X}" for unit in units[row:row + 8])
            lines.append(f"        {cells},")
        lines.append("    }},")
    lines.append("};")
    return "\n".join(lines) + "\n"


def main():
    text = render()
    if len(sys.argv) > 1:
        with open(sys.argv[1], "w", encoding="ascii") as out:
            out.write(text)
    else:
        sys.stdout.write(text)


if __name__ == "__main__":
    main()
