// Helpers for tests of cards: the cards of a file, the fields of a card, and the lines that an edit changed.
#pragma once
#include "Card.h"
#include "Charset.h"
#include "FieldTable.h"
#include "FileText.h"
#include "interfaces.h"
#include "LineReader.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace mb::vcard {

// Returns the text of each card of a file; nothing if the file cannot be read.
inline std::vector<std::string> cardTexts(const std::string& bytes)
{
    std::vector<std::string> texts;
    const auto file = openText(bytes);
    if (!file) return texts;
    for (const CardSpan& span : scanCards(file->text).cards) texts.push_back(file->text.substr(span.begin, span.end - span.begin));
    return texts;
}

using Texts = std::map<int, std::u16string>; // by field type

inline void expectFields(const Card& card, const Texts& expected)
{
    for (const auto& [type, text] : expected) EXPECT_EQ(toUtf8(card.get(type)), toUtf8(text)) << "field " << type;
}

inline std::vector<std::string> logicalLines(const std::string& text)
{
    std::vector<std::string> lines;
    LineReader reader(text);
    for (RawLine line; reader.next(line);) lines.emplace_back(line.bytes);
    return lines;
}

// Returns the removed and the added lines. All other lines must be equal and in the same order.
inline std::pair<std::string, std::string> difference(const std::string& before, const std::string& after)
{
    const auto a = logicalLines(before), b = logicalLines(after);
    std::size_t head = 0;
    while (head < a.size() && head < b.size() && a[head] == b[head]) ++head;
    std::size_t tail = 0;
    while (tail < a.size() - head && tail < b.size() - head && a[a.size() - 1 - tail] == b[b.size() - 1 - tail]) ++tail;
    std::string gone, made;
    for (std::size_t i = head; i < a.size() - tail; ++i) gone += a[i];
    for (std::size_t i = head; i < b.size() - tail; ++i) made += b[i];
    return {gone, made};
}

} // namespace mb::vcard
