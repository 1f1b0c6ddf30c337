"""The table and the list of cards that lost something."""
from collections import Counter, defaultdict

import meaning
from copies import ROUTES

COLUMNS = ("kept", "respelt", "by rule", "lost", "added")


def table(routes):
    """Returns the lines of the table: a row for each property name, and for each route the columns."""
    counts = {route: counts_by_name(cards) for route, cards in routes.items()}
    names = sorted({name for by_name in counts.values() for name in by_name})
    width = 24
    lines = [" " * width + "".join("  | " + ROUTES[route].center(6 * 8 - 4) for route in counts),
             "property".ljust(width) + "".join("  | " + "".join(f"{title:>7} " for title in ("in",) + COLUMNS)[:-1] for _ in counts)]
    for name in names + ["all properties"]:
        row = (name if len(name) <= width else name[:width - 3] + "...").ljust(width)
        for by_name in counts.values():
            count = sum(by_name.values(), Counter()) if name == "all properties" else by_name.get(name, Counter())
            row += "  | " + "".join(f"{count[title] or '.':>7} " for title in ("in",) + COLUMNS)[:-1]
        lines.append(row)
    return lines


def counts_by_name(cards):
    by_name = defaultdict(Counter)
    for card in cards:
        if card.outcome is None:
            continue
        for title, properties in zip(COLUMNS, columns(card.outcome)):
            for prop in properties:
                by_name[prop.name][title] += 1
                by_name[prop.name]["in"] += title != "added"
    return by_name


def columns(outcome):
    return outcome.kept, outcome.respelt, [prop for prop, _ in outcome.ruled], outcome.lost, outcome.added


def rule_lines(routes):
    outcomes = [card.outcome for cards in routes.values() for card in cards if card.outcome]
    fired = Counter(rule for outcome in outcomes for _, rules in outcome.ruled for rule in rules)
    return [f"  {rule:14} {count:6}  {meaning.RULES[rule]}" for rule, count in sorted(fired.items())]


def loss_lines(routes, whole):
    """Returns the names of what each card lost on each route; with `whole` also the lost and added lines."""
    lines = []
    for route, cards in routes.items():
        for card in cards:
            if card.outcome is None:
                lines.append(f"  {card.name} ({ROUTES[route]}): was not copied at all")
            elif card.outcome.lost:
                lines.append(f"  {card.name} ({ROUTES[route]}): " + ", ".join(
                    f"{count} {name}" if count > 1 else name for name, count in Counter(p.name for p in card.outcome.lost).items()))
                if whole:
                    lines += [f"    - {cut(prop)}" for prop in card.outcome.lost] + [f"    + {cut(prop)}" for prop in card.outcome.added]
    return lines


def cut(prop):
    text = "".join(c if c.isprintable() else "?" for c in str(prop))
    return text if len(text) <= 160 else text[:157] + "..."


def as_json(routes, reasons):
    return {
        "routes": [{
            "route": ROUTES[route],
            "counts": {name: dict(count) for name, count in sorted(counts_by_name(cards).items())},
            "notRead": reasons[route],
            "cards": [{
                "card": card.name,
                "parser": card.parser,
                "versions": card.versions,
                "copied": card.outcome is not None,
                "ruled": [{"property": str(prop), "rules": rules} for prop, rules in card.outcome.ruled] if card.outcome else [],
                "lost": [str(prop) for prop in card.outcome.lost] if card.outcome else [],
                "added": [str(prop) for prop in card.outcome.added] if card.outcome else [],
            } for card in cards],
        } for route, cards in routes.items()],
    }
