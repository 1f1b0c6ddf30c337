"""Tests of the parser and of the comparison: python3 fidelity/tests.py"""
import sys
import unittest

sys.dont_write_bytecode = True

import cards  # noqa: E402
from compare import compare  # noqa: E402


def card(version, *lines, end="\r\n"):
    return end.join(["BEGIN:VCARD", f"VERSION:{version}", *lines, "END:VCARD", ""]).encode()


def read(version, *lines, **options):
    return cards.read_own(cards.text_of(card(version, *lines, **options)))


def names(properties):
    return [prop.name for prop in properties]


def outcome(before, after):
    """Returns the names of the properties by what became of them, without VERSION."""
    found = compare(read(*before), read(*after))
    return {title: [name for name in names(props) if name != "VERSION"]
            for title, props in (("kept", found.kept), ("respelt", found.respelt), ("ruled", [p for p, _ in found.ruled]),
                                 ("lost", found.lost), ("added", found.added)) if set(names(props)) - {"VERSION"}}


def rules(before, after):
    return [rule for prop, fired in compare(read(*before), read(*after)).ruled if prop.name != "VERSION" for rule in fired]


class Parser(unittest.TestCase):
    def value(self, version, *lines, **options):
        return read(version, *lines, **options).properties[1].value

    def test_unfolds_as_the_version_says(self):
        self.assertEqual(self.value("3.0", "NOTE:one", "  two"), "one two")
        self.assertEqual(self.value("2.1", "NOTE:one", " two"), "one two")
        self.assertEqual(self.value("3.0", "NOTE:on", "\te"), "one")

    def test_reads_all_line_ends(self):
        for end in ("\n", "\r", "\r\n", "\r\r\n"):
            self.assertEqual(self.value("3.0", "NOTE:on", " e", end=end), "one", repr(end))

    def test_reads_groups_and_parameters(self):
        prop = read("4.0", 'item1.tel;type="voice,home";PREF=1;X="a;b:c":tel:+1').properties[1]
        self.assertEqual((prop.group, prop.name, prop.value), ("item1", "TEL", "tel:+1"))
        self.assertEqual(prop.params, (("TYPE", "voice,home"), ("PREF", "1"), ("X", "a;b:c")))

    def test_decodes_escapes_of_parameters(self):
        self.assertEqual(read("4.0", "TEL;X=a^nb^'c^^d:1").properties[1].params, (("X", "a\nb\"c^d"),))

    def test_decodes_quoted_printable_over_lines(self):
        self.assertEqual(self.value("2.1", "NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Gr=C3=", "=BC=0D=0Ae"), "Grü\r\ne")

    def test_joins_base64_of_version_2_1(self):
        prop = read("2.1", "PHOTO;ENCODING=BASE64;GIF:", "  R0lG", "  ODlh", "", "TEL:1").properties[1]
        self.assertEqual(prop.value, "R0lGODlh")

    def test_reads_charsets(self):
        self.assertEqual(cards.text_of("N:Größe".encode("cp1252")), "N:Größe")
        self.assertEqual(cards.text_of("N;CHARSET=Windows-1251:Мир".encode("cp1251")), "N;CHARSET=Windows-1251:Мир")
        self.assertEqual(cards.text_of("\ufeffN:Größe".encode("utf-16-le")), "N:Größe")

    def test_counts_what_is_no_property(self):
        found = read("3.0", "# a remark", "no colon", "X-A:1", "BEGIN:VCARD", "N:inner", "END:VCARD")
        self.assertEqual((found.strays, found.nested, names(found.properties)), (2, 1, ["VERSION", "X-A"]))

    def test_splits_files(self):
        one = card("3.0", "N:a")
        self.assertEqual(cards.split_cards(one), [one])
        self.assertEqual(cards.split_cards(b""), [])
        self.assertEqual(cards.split_cards(b"BEGIN:VCARD\nN:a\n"), [b"BEGIN:VCARD\nN:a\n"])
        nested = card("3.0", "AGENT:", "BEGIN:VCARD", "END:VCARD")
        self.assertEqual(cards.split_cards(one + nested), [one, nested])
        wide = "\ufeff" + (one * 2).decode()
        self.assertEqual([cards.text_of(part) for part in cards.split_cards(wide.encode("utf-16-be"))], [one.decode()] * 2)

    @unittest.skipUnless(cards.vobject, "python3-vobject is not installed")
    def test_both_parsers_agree(self):
        data = card("4.0", 'item1.TEL;TYPE="voice,home";PREF=1:tel:+1', "item1.X-ABLabel:x", "NOTE:a\\nb", " c", "X-A;B=^n:1;2")
        self.assertEqual(cards.read_card(data).parser, "vobject")
        plain = [[prop._replace(params=frozenset((n, v) for n, vs in prop.params for v in vs.split(","))) for prop in found.properties]
                 for found in (cards.read_card(data), cards.read_own(cards.text_of(data)))]
        self.assertEqual(*plain)


class Comparison(unittest.TestCase):
    def test_what_is_missing_or_changed_is_lost(self):
        self.assertEqual(outcome(("3.0", "N:a", "X-A:1"), ("3.0", "N:a")), {"kept": ["N"], "lost": ["X-A"]})
        self.assertEqual(outcome(("3.0", "X-A:1"), ("3.0", "X-A:2")), {"lost": ["X-A"], "added": ["X-A"]})
        for before, after in (("TEL;TYPE=cell:1", "TEL;TYPE=voice:1"), ("TEL;TYPE=cell:1", "TEL:1"), ("TEL;PREF=1:1", "TEL;PREF=2:1"),
                              ("item1.TEL:1", "TEL;X=1:1"), ("ORG:a;b;c", "ORG:a;b"),
                              ("GENDER:M;a", "X-GENDER:M"), ("N:a,b;;;;", "N:a\\,b;;;;"),
                              ("BDAY:1985", "BDAY:19850101")):
            for version in ("3.0", "4.0"):
                self.assertEqual(set(outcome((version, before), (version, after))), {"lost", "added"}, before)
                self.assertEqual(set(outcome(("3.0", before), ("4.0", after))), {"lost", "added"}, before)

    def test_counts_each_of_several_equal_lines(self):
        self.assertEqual(outcome(("3.0", "X-A:1", "X-A:1"), ("3.0", "X-A:1")), {"kept": ["X-A"], "lost": ["X-A"]})

    def test_ignores_what_a_program_says_of_itself(self):
        self.assertEqual(outcome(("3.0", "REV:1", "PRODID:a"), ("3.0",)), {})

    def test_another_spelling_of_the_same_is_no_loss(self):
        for before, after in (("TEL;TYPE=WORK,CELL:1", "TEL;TYPE=cell;TYPE=work:1"), ("N:a", "N:a;;;;"), ("NOTE:a\\Nb", "NOTE:a\\nb"),
                              ("item1.TEL:1", "TEL:1"), ("NOTE;CHARSET=UTF-8:a", "NOTE:a"),
                              ("NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab", "NOTE:a\\nb"),
                              ("PHOTO;ENCODING=B:AA AA", "PHOTO;ENCODING=b:AAAA"),
                              ("PHOTO;BASE64:R0lGOA", "PHOTO;TYPE=GIF;ENCODING=b:R0lGOA=="),
                              ("BDAY;VALUE=date:1985-04-12", "BDAY:1985-04-12"),
                              ("BDAY:1985-04-12", "BDAY:19850412"), ("URL:http\\://a", "URL:http://a"),
                              ("PHOTO;VALUE=uri:http://a", "PHOTO:http://a"), ("NOTE:a\x01b", "NOTE:ab")):
            self.assertEqual(list(outcome(("3.0", before), ("3.0", after))), ["respelt"], before)
        self.assertEqual(list(outcome(("3.0", "TEL;X=1;Y=2:1"), ("3.0", "tel;y=2;x=1:1"))), ["kept"])

    def test_the_name_of_a_group_says_nothing_but_its_members_do(self):
        before = ("3.0", "item1.TEL:1", "item1.X-ABLabel:a", "item2.TEL:2", "item2.X-ABLabel:b")
        self.assertEqual(list(outcome(before, ("3.0", "a.TEL:1", "a.X-ABLabel:a", "b.TEL:2", "b.X-ABLabel:b"))), ["respelt"])
        swapped = outcome(before, ("3.0", "item1.TEL:1", "item1.X-ABLabel:b", "item2.TEL:2", "item2.X-ABLabel:a"))
        self.assertEqual(len(swapped["lost"]), 2)
        self.assertEqual(outcome(before[:3], ("3.0", "item1.TEL:1"))["lost"], ["X-ABLABEL"])
        self.assertEqual(outcome(before[:3], ("3.0", "TEL:1"))["lost"], ["TEL", "X-ABLABEL"])

    def test_names_the_rule_of_a_change_of_version(self):
        for rule, before, after in (
                ("types", ("2.1", "TEL;CELL:1"), ("3.0", "TEL;TYPE=cell:1")),
                ("preference", ("3.0", "TEL;TYPE=cell,pref:1"), ("4.0", "TEL;PREF=1;TYPE=cell:1")),
                ("internet", ("3.0", "EMAIL;TYPE=INTERNET:a"), ("4.0", "EMAIL:a")),
                ("encoding", ("2.1", "NOTE;CHARSET=UTF-8:a"), ("3.0", "NOTE:a")),
                ("escapes", ("2.1", "NOTE:a, b\\c"), ("3.0", "NOTE:a\\, b\\\\c")),
                ("value type", ("3.0", "PHOTO;VALUE=uri:http://a"), ("4.0", "PHOTO:http://a")),
                ("dates", ("3.0", "BDAY:1985-04-12"), ("4.0", "BDAY:19850412")),
                ("dates", ("3.0", "BDAY:1985-04-12T10:11:12Z"), ("4.0", "BDAY:19850412T101112Z")),
                ("offset", ("3.0", "TZ:-05:00"), ("4.0", "TZ;VALUE=utc-offset:-0500")),
                ("position", ("3.0", "GEO:1.5;-2"), ("4.0", "GEO:geo:1.5,-2")),
                ("types", ("2.1", "X-A;HOME:a, b; c"), ("3.0", "X-A;TYPE=HOME:a, b; c")),
                ("embedded data", ("3.0", "X-A;ENCODING=b;TYPE=JPEG:/9j/"), ("4.0", "X-A;VALUE=uri:data:image/jpeg;base64,/9j/")),
                ("media type", ("3.0", "LOGO;VALUE=uri;TYPE=GIF:http://a"), ("4.0", "LOGO;MEDIATYPE=image/gif:http://a")),
                ("value type", ("4.0", "GEO:geo:1,2;u=3"), ("3.0", "GEO;VALUE=uri:geo:1,2;u=3")),
                ("embedded data", ("3.0", "PHOTO;ENCODING=b;TYPE=PNG:iVBORw0="), ("4.0", "PHOTO:data:image/png;base64,iVBORw0=")),
                ("name", ("3.0", "X-GENDER:F"), ("4.0", "GENDER:F")),
                ("name", ("3.0", "X-GENDER:Female"), ("4.0", "GENDER:;Female")),
                ("name", ("3.0", "X-ANNIVERSARY:2001-02-03"), ("4.0", "ANNIVERSARY:20010203"))):
            self.assertIn(rule, rules(before, after), before)
            self.assertNotIn("lost", outcome(before, after), before)

    def test_no_rule_holds_within_a_version(self):
        for before, after in (("TEL;TYPE=PREF:1", "TEL;PREF=1:1"), ("X-ANNIVERSARY:1", "ANNIVERSARY:1"),
                              ("EMAIL;TYPE=INTERNET:a", "EMAIL:a"),
                              ("BDAY;VALUE=text:1985", "BDAY:1985")):
            self.assertEqual(set(outcome(("3.0", before), ("3.0", after))), {"lost", "added"}, before)
        self.assertEqual(set(outcome(("4.0", "BDAY:1985-04-12"), ("4.0", "BDAY:19850412"))), {"lost", "added"})

    def test_other_bytes_of_a_picture_are_a_loss(self):
        self.assertIn("lost", outcome(("3.0", "PHOTO;ENCODING=b:iVBORw0="), ("4.0", "PHOTO:data:image/png;base64,iVBORwA=")))
        self.assertIn("lost", outcome(("3.0", "PHOTO;ENCODING=b:AAAA"), ("4.0", "PHOTO;VALUE=text:AAAA")))


if __name__ == "__main__":
    unittest.main()
