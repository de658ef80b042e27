#!/usr/bin/env python3
"""Writes src/foundation/text/charset_tables.inc: the charsets that GetCodec
knows, each with its registered name and its aliases.

Single-byte charsets carry the code unit of every byte. Double-byte charsets
carry the same table for the bytes that stand alone, with U+FFFF for a byte that
starts a pair, and the units of all pairs as one grid (lead bytes by trail
bytes). The grid is packed: each cell is 0 when the pair is undefined, else the
zigzag form of its unit's distance from the previous defined unit plus one, as a
little-endian base-128 number; the cells are deflated (zlib, level 9) and written
as base64. Runs of consecutive characters, which the standards are full of,
become runs of equal bytes, so GBK takes 16 KB instead of 48 KB.

Every mapping is asked of the C library's iconv(3) (through ctypes), so the
tables follow the published standards as the system's converter knows them. A
byte or pair the converter rejects (undefined in that charset) maps to U+FFFD.

Usage: make_charset_tables.py [OUTPUT]   (default: standard output)
"""

import base64
import ctypes
import ctypes.util
import errno
import sys
import zlib

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
    ("US-ASCII", ["iso-ir-6", "ANSI_X3.4-1968", "ANSI_X3.4-1986", "ISO_646.irv:1991",
                  "ISO646-US", "us", "IBM367", "cp367", "csASCII", "ASCII"]),
]

# Double-byte charsets. GB2312 is read as GBK, its superset, as Windows (code
# page 936) and the readers of the web do: text declared GB2312 often holds GBK
# characters. Two punctuation marks differ from what iconv reads as GB2312.
DOUBLE_BYTE_CHARSETS = [
    ("Shift_JIS", ["MS_Kanji", "csShiftJIS"]),
    ("EUC-KR", ["csEUCKR"]),
    ("GBK", ["CP936", "MS936", "windows-936", "csGBK", "GB2312", "csGB2312"]),
    ("Big5", ["csBig5"]),
]

REPLACEMENT = 0xFFFD
LEAD = 0xFFFF


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
        cd = self.open(charset)
        try:
            units = [self._convert(cd, bytes([byte]), charset) for byte in range(256)]
        finally:
            self.libc.iconv_close(cd)
        if LEAD in units:
            raise SystemExit(f"{charset} is no single-byte charset")
        return units

    def double_byte(self, charset):
        """(units of the bytes alone, LEAD for a byte that starts a pair; the
        first and last lead and trail byte; the grid of pair units, row by row)."""
        cd = self.open(charset)
        try:
            singles = [self._convert(cd, bytes([byte]), charset) for byte in range(256)]
            pairs = {}
            for lead in range(256):
                if singles[lead] != LEAD:
                    continue
                for trail in range(256):
                    unit = self._convert(cd, bytes([lead, trail]), charset)
                    if unit not in (REPLACEMENT, LEAD):
                        pairs[(lead, trail)] = unit
        finally:
            self.libc.iconv_close(cd)
        leads = [byte for byte in range(256) if singles[byte] == LEAD]
        trails = [trail for (_, trail) in pairs]
        first_lead, last_lead = min(leads), max(leads)
        first_trail, last_trail = min(trails), max(trails)
        grid = [pairs.get((lead, trail), REPLACEMENT)
                for lead in range(first_lead, last_lead + 1)
                for trail in range(first_trail, last_trail + 1)]
        return singles, (first_lead, last_lead, first_trail, last_trail), grid

    def read_only_codes(self, charset, singles, ranges, grid):
        """The pairs that read as a unit which is written otherwise: where a unit
        has several codes, iconv writes one, and the others are only read. Checks
        that the rest is what the codec writes: the single byte, else the pair."""
        first_lead, _, first_trail, last_trail = ranges
        width = last_trail - first_trail + 1
        codes = {}
        for byte, unit in enumerate(singles):
            if unit not in (REPLACEMENT, LEAD):
                codes.setdefault(unit, []).append(bytes([byte]))
        for cell, unit in enumerate(grid):
            if unit != REPLACEMENT:
                lead, trail = first_lead + cell // width, first_trail + cell % width
                codes.setdefault(unit, []).append(bytes([lead, trail]))
        cd = self.libc.iconv_open(charset.encode("ascii"), b"UTF-32LE")
        read_only = []
        try:
            for unit, candidates in sorted(codes.items()):
                written = self._write(cd, unit)
                if written not in candidates:
                    raise SystemExit(f"{charset}: U+{unit:04X} is written as {written!r}")
                read_only.extend(int.from_bytes(code, "big") for code in candidates
                                 if code != written)
        finally:
            self.libc.iconv_close(cd)
        if any(code < 0x100 for code in read_only):
            raise SystemExit(f"{charset}: a single byte is only read")
        return sorted(read_only)

    def _write(self, cd, unit):
        source = ctypes.create_string_buffer(unit.to_bytes(4, "little"), 4)
        target = ctypes.create_string_buffer(16)
        in_ptr = ctypes.c_void_p(ctypes.addressof(source))
        in_left = ctypes.c_size_t(4)
        out_ptr = ctypes.c_void_p(ctypes.addressof(target))
        out_left = ctypes.c_size_t(16)
        self.libc.iconv(cd, None, None, None, None)
        self.libc.iconv(cd, ctypes.byref(in_ptr), ctypes.byref(in_left),
                        ctypes.byref(out_ptr), ctypes.byref(out_left))
        return target.raw[:16 - out_left.value]

    def open(self, charset):
        cd = self.libc.iconv_open(b"UTF-32LE", charset.encode("ascii"))
        if cd is None or cd == ctypes.c_void_p(-1).value:
            raise SystemExit(f"iconv does not know the charset {charset}")
        return cd

    def _convert(self, cd, sequence, charset):
        """The unit of the byte sequence; REPLACEMENT where iconv refuses it, LEAD
        where it is the incomplete start of a longer one."""
        source = ctypes.create_string_buffer(sequence, len(sequence))
        target = ctypes.create_string_buffer(16)
        in_ptr = ctypes.c_void_p(ctypes.addressof(source))
        in_left = ctypes.c_size_t(len(sequence))
        out_ptr = ctypes.c_void_p(ctypes.addressof(target))
        out_left = ctypes.c_size_t(16)
        self.libc.iconv(cd, None, None, None, None)  # initial state for each sequence
        result = self.libc.iconv(cd, ctypes.byref(in_ptr), ctypes.byref(in_left),
                                 ctypes.byref(out_ptr), ctypes.byref(out_left))
        if result == ctypes.c_size_t(-1).value:
            failure = ctypes.get_errno()
            if failure == errno.EINVAL and len(sequence) == 1:
                return LEAD
            if failure == errno.EINVAL:
                raise SystemExit(f"{charset}: {sequence.hex()} starts a sequence of three bytes")
            return REPLACEMENT
        # A stateful converter may hold output back until it is flushed.
        self.libc.iconv(cd, None, None, ctypes.byref(out_ptr), ctypes.byref(out_left))
        produced = target.raw[:16 - out_left.value]
        if len(produced) != 4:
            raise SystemExit(f"{charset}: {sequence.hex()} gives {len(produced) // 4} characters")
        code_point = int.from_bytes(produced, "little")
        if code_point >= LEAD:
            raise SystemExit(f"{charset}: {sequence.hex()} lies outside the 16-bit range")
        return code_point


def identifier(name):
    return "".join(c if c.isalnum() else "_" for c in name)


def packed_grid(grid):
    """The cells as described at the top: distances, base-128, deflated, base64."""
    cells = bytearray()
    previous = 0
    for unit in grid:
        if unit == REPLACEMENT:
            cells.append(0)
            continue
        distance = unit - previous
        number = (distance << 1 if distance >= 0 else ((-distance) << 1) - 1) + 1
        while number >= 0x80:
            cells.append((number & 0x7F) | 0x80)
            number >>= 7
        cells.append(number)
        previous = unit
    return base64.b64encode(zlib.compress(bytes(cells), 9)).decode("ascii")


def unit_rows(units, indent):
    lines = []
    for row in range(0, 256, 8):
        cells = ", ".join(f"0x{unit:04X}" for unit in units[row:row + 8])
        lines.append(f"{indent}{cells},")
    return lines


def aliases_line(name, aliases):
    quoted = ", ".join(f'"{alias}"' for alias in aliases)
    return f"static const char* const kAliases_{identifier(name)}[] = {{{quoted}, nullptr}};"


def render():
    converter = Iconv()
    lines = [
        "// Generated by tools/generators/make_charset_tables.py from the C library's iconv(3);",
        "// do not edit. Regenerate from the repository root with",
        "//   python3 tools/generators/make_charset_tables.py src/foundation/text/charset_tables.inc",
        "// Each entry: registered name, aliases (null-terminated), the code unit of each byte.",
        f"// A byte that the charset leaves undefined maps to U+{REPLACEMENT:04X}; in a double-byte",
        f"// charset a byte that starts a pair holds U+{LEAD:04X}, and its entry adds the lead and trail",
        "// ranges, the grid's cell count, the pairs that are read but never written (their unit",
        "// is written as another pair; 0-terminated) and the packed grid (see the generator).",
        "",
    ]
    for name, aliases in CHARSETS + DOUBLE_BYTE_CHARSETS:
        lines.append(aliases_line(name, aliases))
    lines.append("")
    lines.append(f"static const MCharsetDefinition kCharsetDefinitions[{len(CHARSETS)}] = {{")
    for name, _ in CHARSETS:
        lines.append(f'    {{"{name}", kAliases_{identifier(name)}, {{')
        lines.extend(unit_rows(converter.table(name), "        "))
        lines.append("    }},")
    lines.append("};")
    lines.append("")
    for name, _ in DOUBLE_BYTE_CHARSETS:
        singles, ranges, grid = converter.double_byte(name)
        read_only = converter.read_only_codes(name, singles, ranges, grid)
        lines.append(f"static const uint16_t kReadOnly_{identifier(name)}[] = {{" +
                     "".join(f"0x{code:04X}, " for code in read_only) + "0};")
    lines.append("")
    lines.append("static const MDoubleByteCharsetDefinition "
                 f"kDoubleByteCharsetDefinitions[{len(DOUBLE_BYTE_CHARSETS)}] = {{")
    for name, _ in DOUBLE_BYTE_CHARSETS:
        singles, (first_lead, last_lead, first_trail, last_trail), grid = \
            converter.double_byte(name)
        lines.append(f'    {{{{"{name}", kAliases_{identifier(name)}, {{')
        lines.extend(unit_rows(singles, "         "))
        lines.append("     }},")
        lines.append(f"     0x{first_lead:02X}, 0x{last_lead:02X}, 0x{first_trail:02X}, "
                     f"0x{last_trail:02X}, {len(grid)}, kReadOnly_{identifier(name)},")
        text = packed_grid(grid)
        for start in range(0, len(text), 96):
            lines.append(f'     "{text[start:start + 96]}"')
        lines[-1] += "},"
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
