"""Copies cards with mb along four routes, each through stores of its own."""
import json
import os
import shutil
import subprocess
from collections import defaultdict
from pathlib import Path
from typing import NamedTuple

import cards

ROUTES = {"folder": "folder → folder", "card file": "folder → card file → folder", "one file": "folder → one file → folder",
          "other version": "folder → folder of the other version → folder"}


class Failure(Exception):
    """The copies could not be made."""


class Source(NamedTuple):
    name: str  # the file, with the number of the card if the file has several
    data: bytes


def read_sources(folder):
    """Returns the cards of all vCard files below the folder."""
    sources = []
    for path in sorted(path for path in Path(folder).rglob("*") if path.suffix.lower() in (".vcf", ".vcard") and path.is_file()):
        found = cards.split_cards(path.read_bytes())
        name = str(path.relative_to(folder))
        sources += [Source(f"{name} #{number}" if len(found) > 1 else name, data) for number, data in enumerate(found, 1)]
    return sources


def batches(sources):
    """Splits the cards, by their numbers, into stores: one for each version, because a store has one, and without two cards of one UID."""
    seen, out = defaultdict(int), defaultdict(list)
    for number, source in enumerate(sources):
        card = cards.read_own(cards.text_of(source.data))
        uid = next((prop.value for prop in card.properties if prop.name == "UID"), None)
        key = card.version, seen[uid] if uid else 0
        seen[uid] += 1
        out[key].append(number)
    return list(out.values())


class Copier:
    """Has a data folder of its own for mb, so that the user's maps are not touched."""

    def __init__(self, programs, work):
        self.programs, self.work = Path(programs).resolve(), Path(work)
        self.environment = dict(os.environ)
        for name, value in {"XDG_DATA_HOME": "data", "XDG_CONFIG_HOME": "config", "XDG_CACHE_HOME": "cache"}.items():
            (self.work / value).mkdir()
            self.environment[name] = str(self.work / value)
        self.environment["MB_REGISTRY"] = str(self.work / "registry.reg")
        self.mb("register", self.programs / "vcard.so", self.programs / "cardfile.so")

    def mb(self, *arguments):
        try:
            done = subprocess.run([self.programs / "mb", *map(str, arguments)], env=self.environment, stdin=subprocess.DEVNULL,
                                  capture_output=True, text=True)
        except OSError as error:
            raise Failure(f"{self.programs / 'mb'} cannot be run: {error.strerror}") from error
        if done.returncode != 0:
            raise Failure(f"mb {' '.join(map(str, arguments))}\n{done.stderr.strip() or done.stdout.strip()}")
        return done.stdout

    def sync(self, source, target, version="as-store"):
        """Copies one store to an empty one, whose cards get the version. Returns the identifiers of the copies by the identifiers of their sources, and why others are
        missing."""
        made = self.mb("add", source, target).strip()
        self.mb("set", made, "card-version", version)
        run = json.loads(self.mb("sync", made, "--silent", "--json"))[0]
        copies = {record["partner"]: record["id"] for record in run["records"]
                  if record["pass"] == "contacts" and record["store"] == "second" and record["action"] == "created"}
        reasons = run["leftOut"] + [failure["name"] + ": " + failure["message"] for failure in run["failures"]]
        return copies, reasons

    @staticmethod
    def file_of(identifier):
        """The identifier of a card in a folder is its file, with the card's UID where the file may have several cards."""
        return identifier.partition("#")[0]

    def copy(self, sources, route):
        """Returns the bytes of the copies, by the number of the source, and why others are missing."""
        found, reasons = {}, []
        for number, batch in enumerate(batches(sources)):
            place = self.work / route.replace(" ", "-") / str(number)
            first, last = place / "source", place / "copy"
            first.mkdir(parents=True)
            last.mkdir()
            names = {at: f"{at:06}.vcf" for at in batch}
            for at, name in names.items():
                (first / name).write_bytes(sources[at].data)
            own = cards.read_own(cards.text_of(sources[batch[0]].data)).version
            links, told = self.through(route, place, f"vCard={first}", f"vCard={last}", own)
            links = {self.file_of(there): self.file_of(back) for there, back in links.items()}
            reasons += [self.readable(text, names, sources) for text in told]
            found |= {at: (last / links[name]).read_bytes() for at, name in names.items() if name in links}
            shutil.rmtree(place)
        return found, reasons

    def through(self, route, place, first, last, version):
        if route == "folder":
            return self.sync(first, last)
        there_in, back_in = "as-store", "as-store"
        between = f"Mirabook={place / 'between.db'}"
        if route == "one file":
            (place / "between.vcf").touch()
            between = f"vCard={place / 'between.vcf'}"
        if route == "other version":
            (place / "between").mkdir()
            between = f"vCard={place / 'between'}"
            there_in, back_in = ("3.0", "4.0") if version == "4.0" else ("4.0", "3.0")
        there, reasons = self.sync(first, between, there_in)
        back, more = self.sync(between, last, back_in)
        return {name: back[middle] for name, middle in there.items() if middle in back}, reasons + more

    @staticmethod
    def readable(text, names, sources):
        """Names the files of the user in a message, instead of those that were made for the copy."""
        for at, name in names.items():
            if name in text:
                text = text.replace(name, sources[at].name)
        return text
