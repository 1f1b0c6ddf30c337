#include "Annotation.h"

#include "LineHeader.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace mb::vcard {
namespace {

constexpr auto npos = std::string_view::npos;
constexpr unsigned kMaxParts = 64;

// Returns the parameters of ";A=1;B=2".
Annotation readParams(std::string_view text)
{
    Annotation params;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(findOutsideQuotes(text, ';', at + 1), text.size());
        const std::string_view param = text.substr(at + 1, end - at - 1);
        const std::size_t equals = std::min(param.find('='), param.size());
        params.emplace(param.substr(0, equals), param.substr(std::min(equals + 1, param.size())));
        at = end;
    }
    return params;
}

void append(std::string& text, const Annotation& params)
{
    for (const auto& [name, value] : params) text.append(";").append(name).append("=").append(value);
}

std::string encoded(std::string_view value)
{
    std::string text;
    for (const char c : value) {
        if (c == '^') text += "^^";
        if (c == '"') text += "^'";
        if (c != '^' && c != '"') text += c;
    }
    return text.find_first_of(",:;") == npos ? text : '"' + text + '"';
}

std::string decoded(std::string_view text)
{
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') continue;
        const char next = text[i] == '^' && i + 1 < text.size() ? text[i + 1] : '\0';
        if (next == 'n') value += "\\n"; // values are escaped
        if (next == '^') value += '^';
        if (next == '\'') value += '"';
        if (next == 'n' || next == '^' || next == '\'')
            ++i;
        else
            value += text[i];
    }
    return value;
}

std::vector<std::string> splitParts(std::string_view value)
{
    std::vector<std::string> parts(1);
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == ';') {
            parts.emplace_back();
            continue;
        }
        parts.back() += value[i];
        if (value[i] == '\\' && i + 1 < value.size()) parts.back() += value[++i];
    }
    return parts;
}

std::string joinParts(const std::vector<std::string>& parts)
{
    std::string value;
    for (std::size_t i = 0; i < parts.size(); ++i) value.append(i ? ";" : "").append(parts[i]);
    return value;
}

// Returns the value without the escapes of commas, and without those of semicolons if it has no parts.
std::string withoutEscapes(std::string_view value, bool structured)
{
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char next = value[i] == '\\' && i + 1 < value.size() ? value[i + 1] : '\0';
        if (next == ',' || (next == ';' && !structured)) {
            text += next;
            ++i;
        } else {
            text += value[i];
            if (next) text += value[++i];
        }
    }
    return text;
}

bool isFieldPart(std::size_t part, std::uint32_t fieldParts) { return part < 32 && (fieldParts >> part & 1u) != 0; }

// Returns the index of the part that a note's name stands for; nullopt for any other name.
std::optional<unsigned> partOf(std::string_view name)
{
    unsigned part = 0;
    if (!name.starts_with('P') || name.size() < 2) return std::nullopt;
    const auto [end, error] = std::from_chars(name.data() + 1, name.data() + name.size(), part);
    if (error != std::errc() || end != name.data() + name.size() || part >= kMaxParts) return std::nullopt;
    return part;
}

bool isNote(std::string_view name)
{
    return name == kPartsNote || name == kEscapesNote || name == kValueNote || name == kNameNote || name == kGroupNote ||
           std::find(kLabelNames.begin(), kLabelNames.end(), name) != kLabelNames.end() || partOf(name);
}

std::string annotatedValue(const CanonicalProperty& usual, const Annotation& annotation, std::uint32_t fieldParts)
{
    if (const auto whole = note(annotation, kValueNote)) return *whole;
    const bool structured = fieldParts != 0;
    const std::string value = note(annotation, kEscapesNote) == "none" ? withoutEscapes(usual.value, structured) : usual.value;
    if (!structured) return value;
    std::vector<std::string> parts = splitParts(value);
    for (const auto& [name, text] : annotation) {
        const std::optional<unsigned> part = partOf(name);
        if (!part || isFieldPart(*part, fieldParts)) continue;
        parts.resize(std::max<std::size_t>(parts.size(), *part + 1));
        parts[*part] = decoded(text);
    }
    if (const auto text = note(annotation, kPartsNote)) {
        unsigned count = 0;
        std::from_chars(text->data(), text->data() + text->size(), count);
        if (count > 0 && count <= kMaxParts) parts.resize(count);
    }
    return joinParts(parts);
}

void noteValue(Annotation& difference, const CanonicalProperty& usual, const CanonicalProperty& actual, std::uint32_t fieldParts)
{
    const std::vector<std::string> parts = splitParts(actual.value);
    for (const bool escapes : {true, false}) {
        Annotation tried = difference;
        if (!escapes) setNote(tried, kEscapesNote, "none");
        for (std::size_t part = 0; part < parts.size() && fieldParts != 0; ++part)
            if (!isFieldPart(part, fieldParts) && !parts[part].empty()) setNote(tried, 'P' + std::to_string(part), parts[part]);
        const std::size_t count = splitParts(annotatedValue(usual, tried, fieldParts)).size();
        if (fieldParts != 0 && count != parts.size()) setNote(tried, kPartsNote, std::to_string(parts.size()));
        if (annotatedValue(usual, tried, fieldParts) != actual.value) continue;
        difference = std::move(tried);
        return;
    }
    setNote(difference, kValueNote, actual.value);
}

} // namespace

CanonicalProperty splitProperty(std::string_view canonical)
{
    CanonicalProperty property;
    const std::size_t colon = std::min(endOfHeader(canonical), canonical.size());
    const std::string_view header = canonical.substr(0, colon);
    const std::size_t params = std::min(header.find(';'), header.size());
    const std::size_t dot = header.substr(0, params).rfind('.');
    if (dot != npos) property.group = header.substr(0, dot);
    const std::size_t name = dot == npos ? 0 : dot + 1;
    property.name = header.substr(name, params - name);
    property.params = readParams(header.substr(params));
    property.value = canonical.substr(std::min(colon + 1, canonical.size()));
    return property;
}

std::string joined(const CanonicalProperty& property)
{
    std::string text = property.group;
    if (!text.empty()) text += '.';
    text += property.name;
    append(text, property.params);
    return text.append(":").append(property.value);
}

Annotation parseAnnotation(std::string_view text) { return readParams(text.substr(std::min(text.find(';'), text.size()))); }

std::string annotationText(int field, const Annotation& annotation)
{
    std::string text = '@' + std::to_string(field);
    append(text, annotation);
    return text;
}

std::optional<std::string> note(const Annotation& annotation, std::string_view name)
{
    const auto found = annotation.find(name);
    return found == annotation.end() ? std::nullopt : std::optional(decoded(found->second));
}

void setNote(Annotation& annotation, std::string_view name, std::string_view value)
{
    annotation.insert_or_assign(std::string(name), encoded(value));
}

namespace {

// Escapes the commas and semicolons of a parameter's text, or takes their escapes away.
std::string withSeparators(std::string_view text, bool escaped)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool pair = text[i] == '\\' && i + 1 < text.size();
        const auto separates = [](char c) { return c == ',' || c == ';'; };
        if (pair && !(escaped && separates(text[i + 1]))) {
            if (!separates(text[i + 1])) out += text[i];
            out += text[++i];
        } else {
            if (escaped && separates(text[i])) out += '\\';
            out += text[i];
        }
    }
    return out;
}

} // namespace

std::string postalLabelParam(std::string_view value)
{
    const std::string text = withSeparators(value, false);
    return withSeparators(text, true) == value ? encoded(text) : std::string();
}

std::string postalLabelValue(std::string_view param)
{
    const std::string value = withSeparators(decoded(param), true);
    return postalLabelParam(value) == param ? value : std::string();
}

Annotation difference(const CanonicalProperty& usual, const CanonicalProperty& actual, std::uint32_t fieldParts)
{
    Annotation found;
    if (actual.name != usual.name) setNote(found, kNameNote, actual.name);
    for (const auto& [name, value] : usual.params)
        if (!actual.params.contains(name)) found[name] = {};
    for (const auto& [name, value] : actual.params) {
        if (isNote(name)) continue;
        const auto same = usual.params.find(name);
        if (same == usual.params.end() || same->second != value) found[name] = value;
    }
    if (actual.value != usual.value) noteValue(found, usual, actual, fieldParts);
    return found;
}

CanonicalProperty annotated(const CanonicalProperty& usual, const Annotation& annotation, std::uint32_t fieldParts)
{
    CanonicalProperty made = usual;
    for (const auto& [name, value] : annotation) {
        if (isNote(name)) continue;
        if (value.empty())
            made.params.erase(name);
        else
            made.params[name] = value;
    }
    if (const auto name = note(annotation, kNameNote)) made.name = *name;
    made.value = annotatedValue(usual, annotation, fieldParts);
    return made;
}

} // namespace mb::vcard
