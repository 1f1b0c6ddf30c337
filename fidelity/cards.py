"""Reads vCards: splits files into cards, and cards into properties. Shares no code with the plug-in, so that it finds the plug-in's faults.

Two parsers make the same Property of a line. python3-vobject is used where it is installed and can read a card of version 3.0 or 4.0; it
unfolds version 2.1 in a wrong way. The parser in this file reads the others.
"""
import io
import quopri
import re
from typing import NamedTuple

try:
    import vobject
except ImportError:
    vobject = None

LINE_END = re.compile(r"\r*\n|\r")
NAME = re.compile(r"(?:([A-Za-z0-9_-]+)\.)?([A-Za-z0-9_-]+)\Z")
BASE64_LINE = re.compile(r"[A-Za-z0-9+/=\s]+\Z")


class Property(NamedTuple):
    """One property, unfolded. `params` holds pairs of an upper-case name and a value; the name of a bare word of version 2.1 is empty.
    Quoted-printable is decoded in `value`; the escapes of the version are not."""

    group: str
    name: str
    params: tuple
    value: str

    def __str__(self):
        params = "".join(f";{name}={value}" if name else f";{value}" for name, value in self.params)
        value = self.value.replace("\r\n", "\n").replace("\n", "<line break>")
        return f"{self.group + '.' if self.group else ''}{self.name}{params}:{value}"


class Card(NamedTuple):
    version: str  # "2.1" if the card has none
    properties: list
    parser: str  # "vobject" or "own"
    strays: int  # lines that are no properties
    nested: int  # cards inside of this card; their properties are not read


def split_cards(data):
    """Returns the cards of a file, each as the bytes of a file of its own. A file of one card, or of a card without an end, is returned as
    it is."""
    encoding = wide_encoding(data)
    text = data.decode(encoding, "surrogateescape")
    cards, depth, start, at = [], 0, 0, 0
    for line in text.splitlines(keepends=True) if "\n" in text else re.findall(r"[^\r]*\r|[^\r]+", text):
        word = line.strip().lstrip("\ufeff").replace(" ", "").upper()
        if word == "BEGIN:VCARD":
            start = at if depth == 0 else start
            depth += 1
        at += len(line)
        if word == "END:VCARD" and depth > 0:
            depth -= 1
            if depth == 0:
                cards.append(text[start:at])
    if len(cards) <= 1:
        return [data] if cards or depth > 0 else []
    mark = b"" if encoding == "latin-1" else "\ufeff".encode(encoding)
    return [mark + card.lstrip("\ufeff").encode(encoding, "surrogateescape") for card in cards]


def wide_encoding(data):
    """Returns "utf-16-le" or "utf-16-be", or "latin-1" for a file whose line ends are single bytes."""
    if data.startswith(b"\xff\xfe") or re.match(rb"[Bb]\0", data):
        return "utf-16-le"
    if data.startswith(b"\xfe\xff") or re.match(rb"\0[Bb]", data):
        return "utf-16-be"
    return "latin-1"


def text_of(data):
    """Returns the text of a card. Without a mark it is UTF-8, or the first CHARSET that is declared, or windows-1252. A line with a CHARSET
    of its own is read in that."""
    encoding = wide_encoding(data)
    if encoding != "latin-1":
        return data.decode(encoding, "replace").lstrip("\ufeff")
    try:
        return data.decode("utf-8-sig")
    except UnicodeDecodeError:
        pass
    declared = re.search(rb";CHARSET=\"?([\w-]+)", data, re.IGNORECASE)
    general, current, lines = declared_charset(declared, "cp1252"), "", []
    for line in re.split(rb"(?<=\n)|(?<=\r)(?!\n)", data):
        if not line.startswith((b" ", b"\t")):
            current = declared_charset(re.match(rb"[^:]*;CHARSET=\"?([\w-]+)", line, re.IGNORECASE), general)
        lines.append(line.decode(current, "replace"))
    return "".join(lines)


def declared_charset(match, otherwise):
    name = match.group(1).decode("ascii", "replace") if match else otherwise
    try:
        "".encode(name)
    except LookupError:
        return otherwise
    return name


def read_card(data):
    """Returns the Card of these bytes."""
    text = text_of(data)
    own = read_own(text)
    if vobject is None or own.version not in ("3.0", "4.0") or own.nested:
        return own
    try:
        return own._replace(properties=read_with_vobject(text), parser="vobject")
    except Exception:  # vobject throws errors of many kinds for what it cannot read
        return own


def read_both(source, copy):
    """Returns two cards that the same parser read."""
    source, copy = (read_card(source), source), (read_card(copy), copy)
    if source[0].parser == copy[0].parser:
        return source[0], copy[0]
    return read_own(text_of(source[1])), read_own(text_of(copy[1]))


def read_with_vobject(text):
    properties = []
    for line, number in vobject.base.getLogicalLines(io.StringIO(LINE_END.sub("\n", text))):
        read = vobject.base.textLineToContentLine(line, number)
        if read.name in ("BEGIN", "END"):
            continue
        params = [(name, value) for name, values in read.params.items() for value in values or [""]]
        params += [("", word) for word in read.singletonparams]
        properties.append(Property(read.group or "", read.name, tuple(map(decoded_param, params)), read.value))
    return properties


# Our own parser.


def read_own(text):
    version = re.search(r"(?:\A|[\r\n])VERSION:\s*([\d.]+)", text, re.IGNORECASE)
    version = version.group(1) if version else "2.1"
    properties, depth, strays, nested = [], 0, 0, 0
    for line in logical_lines(text, version):
        word = line.strip().replace(" ", "").upper()
        if word == "BEGIN:VCARD":
            if depth == 1:
                nested += 1
                if properties and properties[-1].name == "AGENT" and not properties[-1].value.strip():
                    properties.pop()  # the line that the nested card belongs to
            depth += 1
        elif word == "END:VCARD":
            depth -= 1
        elif depth == 1:
            read = read_line(line)
            properties += [read] if read else []
            strays += 0 if read else 1
    return Card(version, properties, "own", strays, nested)


def logical_lines(text, version):
    """Yields unfolded lines. Version 2.1 folds in front of white space and keeps the white space; later versions insert it."""
    line = ""
    for physical in LINE_END.split(text):
        header = line.partition(":")[0].upper()
        base64 = re.search(r";(ENCODING=)?(B|BASE64)(;|\Z)", header) is not None
        if "QUOTED-PRINTABLE" in header and line.endswith("="):
            line = line[:-1] + physical
        elif not physical.strip():
            if line:
                yield line
            line = ""
        elif physical[0] in " \t" and line:
            line += physical.strip() if base64 else physical[1:] if version != "2.1" else physical
        elif base64 and ":" not in physical and BASE64_LINE.match(physical):
            line += physical
        elif line.endswith("\\") and not is_property_line(physical):
            line = line[:-1] + "\\n" + physical
        else:
            if line:
                yield line
            line = physical
    if line:
        yield line


def is_property_line(line):
    return NAME.match(line.partition(":")[0].partition(";")[0]) is not None and ":" in line


def read_line(line):
    """Returns the Property, or None if the line is none."""
    header = re.match(r'((?:[^":]|"[^"]*")*):', line) or re.match(r"([^:]*):", line)
    if not header:
        return None
    first, *words = re.findall(r'(?:[^";]|"[^"]*"|")+', header.group(1)) or [""]
    name = NAME.match(first.strip())
    if not name:
        return None
    params = []
    for word in words:
        key, equals, values = word.partition("=")
        if not equals:
            params.append(("", word.strip()))
            continue
        for value in re.findall(r'(?:[^",]|"[^"]*"|")+', values) or [""]:
            params.append(decoded_param((key.strip().upper(), value.strip('"'))))
    value = line[header.end():]
    if any(word.upper() == "QUOTED-PRINTABLE" for key, word in params if key in ("", "ENCODING")):
        charset = next((word for key, word in params if key == "CHARSET"), "utf-8")
        data = quopri.decodestring(value.encode("latin-1", "replace"))
        try:
            value = data.decode(charset)
        except (LookupError, UnicodeDecodeError):
            value = data.decode("cp1252", "replace")
    return Property(name.group(1) or "", name.group(2).upper(), tuple(params), value)


def decoded_param(param):
    """Decodes the escapes of parameter values: ^n, ^' and ^^."""
    escapes = {"^n": "\n", "^N": "\n", "^'": '"', "^^": "^"}
    return param[0], re.sub(r"\^[nN'^]", lambda found: escapes[found.group()], param[1])
