"""What a property means. Two spellings may have one meaning within a version, or because a rule translates one version to another."""
import base64
import binascii
import hashlib
import re

STRUCTURED = {"N", "ADR", "ORG", "GENDER", "CLIENTPIDMAP"}
LISTS = {"NICKNAME", "CATEGORIES"}
PARTS_ARE_LISTS = {"N", "ADR"}
TEXTS = {"FN", "NOTE", "TITLE", "ROLE", "LABEL", "MAILER", "SORT-STRING", "TEL", "EMAIL", "NAME", "CLASS"}
DATES = {"BDAY", "ANNIVERSARY", "DEATHDATE"}
BINARIES = {"PHOTO", "LOGO", "SOUND", "KEY"}
URIS = BINARIES | {"URL", "SOURCE", "FBURL", "CALURI", "CALADRURI", "IMPP", "MEMBER", "RELATED"}
NEW_NAMES = {"X-ANNIVERSARY": "ANNIVERSARY", "X-ADDRESSBOOKSERVER-KIND": "KIND", "X-ADDRESSBOOKSERVER-MEMBER": "MEMBER"}
MEDIA = {"jpeg": "image/jpeg", "jpg": "image/jpeg", "png": "image/png", "gif": "image/gif", "webp": "image/webp", "bmp": "image/bmp",
         "tiff": "image/tiff", "wave": "audio/wave", "basic": "audio/basic", "ogg": "audio/ogg", "pgp": "application/pgp-keys",
         "x509": "application/x-x509"}
MAGIC = ((b"\xff\xd8\xff", "image/jpeg"), (b"\x89PNG", "image/png"), (b"GIF8", "image/gif"), (b"RIFF", "image/webp"))
VALUE_TYPES = {"inline": "uri", "url": "uri", "content-id": "uri", "binary": "uri", "date-time": "date", "date-and-or-time": "date"}

RULES = {
    "version": "the number of the version",
    "types": "bare words of 2.1 are values of TYPE later",
    "preference": "TYPE=PREF is PREF=1 in 4.0",
    "internet": "TYPE=INTERNET of an e-mail address is gone in 4.0",
    "encoding": "quoted-printable, 8BIT and CHARSET are gone after 2.1",
    "escapes": "commas, backslashes and line breaks are escaped since 3.0",
    "value type": "the value type is the default of the other version",
    "dates": "4.0 writes dates without hyphens and colons",
    "offset": "4.0 writes a UTC offset without a colon",
    "position": "GEO is a geo: URI in 4.0",
    "embedded data": "base64 is spelt otherwise in each version",
    "name": "a name with X- got a name in 4.0",
}


def split(text, separator):
    """Splits at the separators that no backslash escapes."""
    out = [""]
    for piece in re.findall(r"\\.|.", text, re.DOTALL):
        if piece == separator:
            out.append("")
        else:
            out[-1] += piece
    return out


def unescape(text):
    return re.sub(r"\\(.)", lambda found: "\n" if found.group(1) in "nN" else found.group(1), text, flags=re.DOTALL)


def readings(name, text, version):
    """Returns the ways in which the escapes of a value may be meant, each in the spelling of 3.0. Version 2.1 has no escape but "\\;" in
    structured values, yet many programs write those of 3.0 into it."""
    text = text.replace("\r\n", "\n").replace("\r", "\n")
    if version != "2.1":
        return [text]
    lenient = text.replace("\n", "\\n")
    if name not in LISTS:
        lenient = re.sub(r"(\\.)|,", lambda found: found.group(1) or "\\,", lenient, flags=re.DOTALL)
    literal = re.sub(r"\\(?!;)" if name in STRUCTURED else r"\\", r"\\\\", text).replace("\n", "\\n")
    if name not in LISTS:
        literal = literal.replace(",", "\\,")
    return [literal, lenient]


def text_value(name, text):
    """Returns the parts of a structured value, each a list; empty parts at the end mean nothing. Any other text is one part."""
    if name in STRUCTURED:
        found = [tuple(unescape(v) for v in (split(part, ",") if name in PARTS_ARE_LISTS else [part])) for part in split(text, ";")]
        while found and found[-1] == ("",):
            found.pop()
        return tuple(found)
    if name in LISTS:
        return tuple(unescape(value) for value in split(text, ","))
    if name in TEXTS:
        return unescape(text)
    return text.replace("\\N", "\\n")


def types_of(params):
    return {("TYPE", value.strip().lower()) for name, values in params if name in ("", "TYPE") for value in values.split(",")}


def spelling(prop):
    """Returns what a property means within its version, regardless of the spelling of names, types and escapes, and of the charset."""
    others = {(name, value) for name, value in prop.params if name not in ("", "TYPE", "CHARSET", "ENCODING")}
    encodings = {value.lower() for name, value in prop.params if name == "ENCODING"}
    value = prop.value.replace("\r\n", "\n")
    if encodings & {"b", "base64"}:
        others.add(("ENCODING", "b"))
        value = re.sub(r"\s", "", value)
    elif "quoted-printable" in encodings:
        value = value.replace("\n", "\\n")
    return prop.name, frozenset(types_of(prop.params) | others), text_value(prop.name, value)


def translations(prop, version):
    """Returns what a property may mean whatever the version: pairs of the meaning in 4.0 and the names of the rules that led to it."""
    if prop.name == "VERSION":
        return [(("VERSION",), {"version"})]
    rules = set()
    name = NEW_NAMES.get(prop.name, prop.name)
    if name != prop.name:
        rules.add("name")
    params, embedded = translated_params(prop, name, rules)
    data = embedded_data(prop.value, params, embedded) if name in BINARIES else None
    if data:
        return [((name, frozenset(params), data), rules)]
    out = []
    for text in readings(prop.name, prop.value, version):
        fired = rules | ({"escapes"} if text != prop.value else set())
        value = translated_value(name, text, params, fired)
        out.append(((name, frozenset(params), value), fired))
    return out


def translated_params(prop, name, rules):
    """Returns the parameters as 4.0 has them, and whether the value is base64."""
    params, embedded = set(), False
    for key, value in prop.params:
        word = value.lower()
        if key == "" and word in ("quoted-printable", "8bit", "7bit", "base64", "b"):
            key = "ENCODING"
        if key == "" and word in ("inline", "url", "content-id"):
            key = "VALUE"
        if key == "":
            rules.add("types")
        if key == "CHARSET":
            rules.add("encoding")
        elif key == "ENCODING":
            embedded = embedded or word in ("b", "base64")
            rules.add("embedded data" if word in ("b", "base64") else "encoding")
        elif key == "VALUE":
            word = VALUE_TYPES.get(word, word)
            if name == "UID" or word == default_type(name):
                rules.add("value type")
            else:
                params.add(("VALUE", word))
        elif key in ("", "TYPE"):
            params |= {("TYPE", one.strip()) for one in word.split(",")}
        else:
            params.add((key, value))
    if ("TYPE", "pref") in params:
        rules.add("preference")
        params = params - {("TYPE", "pref")} | {("PREF", "1")}
    if name == "EMAIL" and ("TYPE", "internet") in params:
        rules.add("internet")
        params.discard(("TYPE", "internet"))
    return params, embedded


def default_type(name):
    return "date" if name in DATES else "uri" if name in URIS else "text"


def embedded_data(value, params, embedded):
    """Returns the media type and a hash of embedded bytes; None for a value that embeds none. Removes the media type from `params`."""
    uri = re.match(r"data:([^;,]*)[^,]*?;base64,(.*)", value.replace("\\", ""), re.IGNORECASE | re.DOTALL)
    if not embedded and not uri:
        return None
    text = uri.group(2) if uri else value
    try:
        data = base64.b64decode(re.sub(r"\s", "", text), validate=True)
    except binascii.Error:
        data = re.sub(r"\s", "", text).encode()
    media = uri.group(1).lower() if uri else ""
    for param in list(params):
        if param[0] == "MEDIATYPE" or (param[0] == "TYPE" and (param[1] in MEDIA or "/" in param[1])):
            media = media or MEDIA.get(param[1].lower(), param[1].lower())
            params.discard(param)
    known = next((kind for magic, kind in MAGIC if data.startswith(magic)), "")
    return "data", known or media, hashlib.sha256(data).hexdigest()


def translated_value(name, text, params, rules):
    offset = re.sub(r"\A([+-]\d\d):(\d\d)\Z", r"\1\2", text)
    if name == "TZ" and re.match(r"[+-]\d\d", offset):
        params.discard(("VALUE", "utc-offset"))
        if offset != text:
            rules.add("offset")
        return offset
    position = re.match(r"(?:geo:)?\s*([+-]?[\d.]+)\\?[;,]\s*([+-]?[\d.]+)\s*\Z", text)
    if name == "GEO" and position:
        params.discard(("VALUE", "uri"))
        rules.add("position")
        return float(position.group(1)), float(position.group(2))
    if name in DATES:
        date, time_mark, time = text.partition("T")
        basic = re.sub(r"(\d{4})-(\d\d)-(\d\d)\Z", r"\1\2\3", date)
        basic = re.sub(r"--(\d\d)-(\d\d)\Z", r"--\1\2", basic) + time_mark + time.replace(":", "")
        if basic != text:
            rules.add("dates")
        return basic
    return text_value(name, text)
