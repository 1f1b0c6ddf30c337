"""What a property means. Two spellings may have one meaning within a version, or because a rule translates one version to another."""
import base64
import hashlib
import re

STRUCTURED = {"N", "ADR", "ORG", "GENDER", "CLIENTPIDMAP"}
LISTS = {"NICKNAME", "CATEGORIES"}
PARTS_ARE_LISTS = {"N", "ADR"}
TEXTS = {"FN", "NOTE", "TITLE", "ROLE", "LABEL", "MAILER", "SORT-STRING", "TEL", "EMAIL", "NAME", "CLASS"}
DATES = {"BDAY", "ANNIVERSARY", "DEATHDATE"}
BINARIES = {"PHOTO", "LOGO", "SOUND", "KEY"}
URIS = BINARIES | {"URL", "SOURCE", "FBURL", "CALURI", "CALADRURI", "IMPP", "MEMBER", "RELATED"}
NEW_NAMES = {"X-ANNIVERSARY": "ANNIVERSARY", "X-ADDRESSBOOKSERVER-KIND": "KIND", "X-ADDRESSBOOKSERVER-MEMBER": "MEMBER",
             "X-GENDER": "GENDER"}
SEXES = {"M", "F", "O", "N", "U"}
MEDIA = {"jpeg": "image/jpeg", "jpg": "image/jpeg", "png": "image/png", "gif": "image/gif", "webp": "image/webp", "bmp": "image/bmp",
         "tiff": "image/tiff", "wave": "audio/wav", "basic": "audio/basic", "ogg": "audio/ogg", "pgp": "application/pgp-keys",
         "svg": "image/svg+xml", "x509": "application/pkix-cert"}
MAGIC = ((rb"\xff\xd8\xff", "image/jpeg"), (rb"\x89PNG", "image/png"), (rb"GIF8", "image/gif"), (rb"RIFF....WEBP", "image/webp"),
         (rb"RIFF....WAVE", "audio/wav"))
ENCODINGS = {"quoted-printable", "8bit", "7bit", "base64", "b"}
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
    "media type": "TYPE=GIF of a linked picture is MEDIATYPE=image/gif in 4.0",
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
    text = plain(text)
    if version != "2.1":
        return [text]
    lenient = text.replace("\n", "\\n")
    if name not in LISTS:
        lenient = re.sub(r"(\\.)|,", lambda found: found.group(1) or "\\,", lenient, flags=re.DOTALL)
    literal = re.sub(r"\\(?!;)" if name in STRUCTURED else r"\\", r"\\\\", text).replace("\n", "\\n")
    if name not in LISTS:
        literal = literal.replace(",", "\\,")
    known = name in STRUCTURED | LISTS | TEXTS
    return [literal, lenient] if known else [literal, lenient, text.replace("\n", "\\n")]


def plain(text):
    """Returns the text with LF alone as line break, and without the control characters that no vCard may have."""
    return re.sub(r"[\x00-\x08\x0b-\x1f\x7f]", "", text.replace("\r\n", "\n").replace("\r", "\n"))


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
    return text.replace("\\N", "\\n").replace("\\:", ":")


def types_of(params):
    return {("TYPE", value.strip().lower()) for name, values in params if name in ("", "TYPE") for value in values.split(",")}


def spelling(prop, version):
    """Returns what a property means within its version, regardless of the spelling of names, types and escapes, of the charset and the
    transfer encoding, of a value type that is the default, and of the two forms of a date that ISO 8601 has."""
    words = {value.lower() for name, value in prop.params if name in ("", "ENCODING")}
    params = {(name, value) for name, value in prop.params if name not in ("", "TYPE", "CHARSET", "ENCODING", "VALUE")}
    params |= types_of(prop.params) - {("TYPE", word) for word in ENCODINGS}
    value_types = {VALUE_TYPES.get(value.lower(), value.lower()) for name, value in prop.params if name == "VALUE"}
    params |= {("VALUE", value) for value in value_types - {default_type(prop.name)}}
    data = embedded_data(prop.value, params, bool(words & {"b", "base64"}))
    value = plain(prop.value)
    if "quoted-printable" in words:
        value = value.replace("\n", "\\n")
    if prop.name in DATES and version != "4.0":
        value = basic_date(value)
    return prop.name, frozenset(params), data or text_value(prop.name, value)


def translations(prop, version):
    """Returns what a property may mean whatever the version: pairs of the meaning in 4.0 and the names of the rules that led to it."""
    if prop.name == "VERSION":
        return [(("VERSION",), {"version"})]
    rules = set()
    name = NEW_NAMES.get(prop.name, prop.name)
    if name != prop.name:
        rules.add("name")
    params, embedded = translated_params(prop, name, rules)
    data = embedded_data(prop.value, params, embedded)
    if data:
        return [((name, frozenset(params), data), rules)]
    if name in BINARIES:
        for param in [param for param in params if param[0] == "TYPE" and param[1] in MEDIA]:
            rules.add("media type")
            params = params - {param} | {("MEDIATYPE", MEDIA[param[1]])}
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
        if key == "" and word in ENCODINGS:
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
    """Returns the media type and a hash of embedded bytes; None for a value that embeds none. Removes from `params` what says the same."""
    uri = re.match(r"data:([^;,]*)[^,]*?;base64,(.*)", value.replace("\\", ""), re.IGNORECASE | re.DOTALL)
    if not embedded and not uri:
        return None
    text = uri.group(2) if uri else value
    # Padding may be missing, decoders ignore other characters, and a single character at the end is no byte.
    text = re.sub(r"[^A-Za-z0-9+/]", "", text)
    text = text[:-1] if len(text) % 4 == 1 else text
    data = base64.b64decode(text + "=" * (-len(text) % 4))
    media = uri.group(1).lower() if uri else ""
    params.discard(("VALUE", "uri"))
    for param in list(params):
        if param[0] == "MEDIATYPE" or (param[0] == "TYPE" and (param[1] in MEDIA or "/" in param[1])):
            media = media or MEDIA.get(param[1].lower(), param[1].lower())
            params.discard(param)
    known = next((kind for magic, kind in MAGIC if re.match(magic, data, re.DOTALL)), "")
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
    if name == "GEO" and text.startswith("geo:") and ("VALUE", "uri") in params:
        params.discard(("VALUE", "uri"))
        rules.add("value type")
    if name == "GENDER" and "name" in rules and text.upper() not in SEXES:
        return text_value(name, ";" + text)
    if name in DATES:
        if basic_date(text) != text:
            rules.add("dates")
        return basic_date(text)
    return text_value(name, text)


def basic_date(text):
    """Returns the form without hyphens and colons."""
    date, time_mark, time = text.partition("T")
    date = re.sub(r"(\d{4})-(\d\d)-(\d\d)\Z", r"\1\2\3", date)
    return re.sub(r"--(\d\d)-(\d\d)\Z", r"--\1\2", date) + time_mark + time.replace(":", "")
