"""Compares a card with its copy, property by property."""
from collections import Counter, defaultdict
from typing import NamedTuple

import meaning

IGNORED = {"REV", "PRODID"}  # what a program writes about itself


class Outcome(NamedTuple):
    kept: list  # properties whose unfolded line is the same
    respelt: list  # the same meaning, spelt in another way
    ruled: list  # pairs of a property and the names of the rules of a change of version
    lost: list
    added: list  # properties of the copy alone

def compare(source, copy):
    """Returns the Outcome of copying the card `source` to the card `copy`. A changed property counts as one lost and one added."""
    have = [prop for prop in source.properties if prop.name not in IGNORED]
    got = [prop for prop in copy.properties if prop.name not in IGNORED]
    matching = Matching(have, got)
    matching.match(exact_key, exact_key)
    groups = GroupNames(have, got, source.version, copy.version)
    if source.version == copy.version:
        matching.match(lambda prop: [((group, meaning.spelling(prop, source.version)), set()) for group in groups.of_source(prop)],
                       lambda prop: [((prop.group.lower(), meaning.spelling(prop, copy.version)), set())])
    else:
        matching.match(lambda prop: [((group, key), rules) for group in groups.of_source(prop)
                                     for key, rules in meaning.translations(prop, source.version)],
                       lambda prop: [((prop.group.lower(), key), rules) for key, rules in meaning.translations(prop, copy.version)])
    return matching.outcome()


def exact_key(prop):
    return [((prop.group, prop.name, tuple(sorted(prop.params)), prop.value, "exact"), None)]


class Matching:
    """Pairs each property of one list with one of the other."""

    def __init__(self, have, got):
        self.have, self.got = list(enumerate(have)), list(enumerate(got))
        self.kept, self.respelt, self.ruled = [], [], []

    def match(self, have_keys, got_keys):
        """Pairs properties that share a key. Each key comes with the rules that led to it; None means the same line."""
        waiting = defaultdict(list)
        for number, prop in self.got:
            for key, rules in got_keys(prop):
                waiting[key].append((number, rules))
        taken, left = set(), []
        for number, prop in self.have:
            found = next(((at, rules, other) for key, rules in have_keys(prop) for at, other in waiting[key] if at not in taken), None)
            if not found:
                left.append((number, prop))
                continue
            taken.add(found[0])
            if found[1] is None:
                self.kept.append(prop)
            elif rules := found[1] ^ found[2] or found[1]:
                self.ruled.append((prop, sorted(rules)))
            else:
                self.respelt.append(prop)
        self.have, self.got = left, [(number, prop) for number, prop in self.got if number not in taken]

    def outcome(self):
        return Outcome(self.kept, self.respelt, self.ruled, [prop for _, prop in self.have], [prop for _, prop in self.got])


class GroupNames:
    """The name that a group of the source has in the copy: what matters is which properties are in one group."""

    def __init__(self, have, got, source_version, copy_version):
        self.sizes = Counter(prop.group.lower() for prop in have)
        meanings = defaultdict(set)
        for prop in got:
            meanings[prop.group.lower()] |= {self.plain(key) for key, _ in meaning.translations(prop, copy_version)}
        self.names = {}
        free = {name for name in meanings if name}
        for group in dict.fromkeys(prop.group.lower() for prop in have if prop.group):
            own = {self.plain(key) for prop in have if prop.group.lower() == group for key, _ in meaning.translations(prop, source_version)}
            best = max(sorted(free), key=lambda name: (len(own & meanings[name]), name == group), default=group)
            self.names[group] = best if best in free and own & meanings[best] else group
            free.discard(self.names[group])

    @staticmethod
    def plain(key):
        return key[0], key[-1]

    def of_source(self, prop):
        """Returns the names under which the copy may hold the group. A group of one property says nothing and may be dropped."""
        group = prop.group.lower()
        if not group:
            return [""]
        return [self.names[group]] + ([""] if self.sizes[group] == 1 else [])
