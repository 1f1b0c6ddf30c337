#include "CardEdits.h"

#include "FileRecord.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

namespace mb::vcard {

namespace {

std::ptrdiff_t copiesOf(std::size_t card, const CardsText& text)
{
    std::ptrdiff_t copies = 0;
    for (std::size_t i = 0; i < text.spans.size(); ++i) copies += text.card(i) == text.card(card);
    return copies;
}

} // namespace

CardEdits carriedOver(const CardEdits& edits, const CardsText& before, const CardsText& theirs)
{
    const std::vector<CardRecord> known = describeCards(before.text, before.spans), found = describeCards(theirs.text, theirs.spans);
    std::unordered_map<std::string_view, std::size_t> byToken;
    std::unordered_multimap<std::string_view, std::size_t> byBytes;
    for (std::size_t i = 0; i < found.size(); ++i) {
        byToken.emplace(found[i].token, i);
        byBytes.emplace(theirs.card(i), i);
    }
    CardEdits carried{{}, edits.added};
    for (const auto& [k, bytes] : edits.changed) {
        const auto same = byToken.find(known[k].token);
        if (same != byToken.end() && theirs.card(same->second) == before.card(k) && carried.changed.emplace(same->second, bytes).second)
            continue;
        // Cards without UID that have the same name are numbered in file order, so their tokens may have changed.
        const auto [first, last] = byBytes.equal_range(before.card(k));
        const bool bothDeleted =
            bytes.empty() && (first == last ? same == byToken.end() : std::distance(first, last) < copiesOf(k, before));
        const auto take = [&carried, &bytes = bytes](const auto& other) { return carried.changed.emplace(other.second, bytes).second; };
        if (!bothDeleted && std::any_of(first, last, take)) continue;
        const bool bothAlike = same != byToken.end() && theirs.card(same->second) == bytes;
        if (!bothDeleted && !bothAlike) throw ChangedByBoth{k};
    }
    return carried;
}

EditedText applied(const CardEdits& edits, const CardsText& before)
{
    EditedText edited;
    std::size_t at = 0;
    auto change = edits.changed.begin();
    for (std::size_t k = 0; k < before.spans.size(); ++k) {
        const bool changed = change != edits.changed.end() && change->first == k;
        const std::string_view bytes = changed ? std::string_view((change++)->second) : before.card(k);
        edited.text.append(before.text, at, before.spans[k].begin - at);
        at = before.spans[k].end;
        if (bytes.empty()) continue;
        edited.spans.push_back({edited.text.size(), edited.text.size() + bytes.size(), before.spans[k].line});
        edited.text.append(bytes);
    }
    edited.text.append(before.text, at, std::string_view::npos);
    for (const std::string& card : edits.added) {
        if (card.empty()) continue;
        if (!edited.text.empty() && !edited.text.ends_with('\n') && !edited.text.ends_with('\r')) {
            const bool behindCard = !edited.spans.empty() && edited.spans.back().end == edited.text.size();
            edited.text += lineEndOf(edited.text);
            if (behindCard) edited.spans.back().end = edited.text.size();
        }
        edited.spans.push_back({edited.text.size(), edited.text.size() + card.size(), 0});
        edited.text += card;
    }
    return edited;
}

std::size_t firstMisread(const EditedText& written, const ScanResult& scan)
{
    const std::vector<CardSpan>& spans = written.spans;
    if (scan.error && !spans.empty()) { // the last card that begins before the error or on its line
        const char lineEnd = written.text.find('\n') == std::string::npos ? '\r' : '\n';
        std::size_t line = 1, at = 0, card = 0;
        for (std::size_t i = 0; i < spans.size(); ++i) {
            for (; at < spans[i].begin; ++at) line += written.text[at] == lineEnd;
            if (line <= scan.error->line) card = i;
        }
        return card;
    }
    const auto same = [](const CardSpan& a, const CardSpan& b) { return a.begin == b.begin && a.end == b.end; };
    const auto differing = std::mismatch(spans.begin(), spans.end(), scan.cards.begin(), scan.cards.end(), same).first;
    return static_cast<std::size_t>(differing - spans.begin());
}

} // namespace mb::vcard
