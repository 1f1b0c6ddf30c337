#include "CanonicalLine.h"

#include "Ascii.h"
#include "CanonicalValue.h"
#include "Charset.h"
#include "FieldTable.h"
#include "LineParams.h"
#include "MediaType.h"
#include "PropertyKind.h"
#include "Transfer.h"
#include "Value.h"

#include <algorithm>
#include <array>

namespace mb::vcard {
namespace {

constexpr std::string_view kValue = "VALUE", kPref = "PREF", kMediaType = "MEDIATYPE", kUri = "uri", kText = "text", kOffset = "utc-offset";

// A property in canonical spelling, by its parts.
struct CanonicalForm {
    std::string name;
    Params params;
    std::string value;
};

bool hasCanonicalLine(std::string_view name)
{
    constexpr auto kOwn = std::to_array<std::string_view>({"BEGIN", "END", "REV", "PRODID"});
    const bool valid = !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    });
    return valid && std::find(kOwn.begin(), kOwn.end(), name) == kOwn.end();
}

Params paramsOf(const Line& line, const Context& context)
{
    const std::string& header = line.header();
    if (isUtf8(header)) return parseParams(header);
    const std::string* declared = line.param("CHARSET");
    std::optional<std::u16string> text = decode(header, declared ? *declared : context.charset);
    return parseParams(toUtf8(text ? *text : *decode(header, kWindows1252)));
}

void erase(Params& params, std::string_view name)
{
    if (const auto found = params.find(name); found != params.end()) params.erase(found);
}

// Returns how a value of the property is spelled if VALUE names this type.
PropertyKind kindOfValue(const Property& property, std::string_view type)
{
    using enum PropertyKind;
    if (property.kind == Id) return Id;
    if (type == kUri && property.kind != UtcOffset && property.kind != Position) return Uri;
    return type == kText && property.valueType != kText ? Text : property.kind;
}

// Builds the canonical form of one line. The value is only built on demand: it may be a large picture.
class Reader {
public:
    Reader(const Line& line, const Context& context)
        : line_(line), context_(context), form_{std::string(nameInVersion40(line.name())), paramsOf(line, context), {}},
          property_(propertyOf(form_.name)), kind_(property_.kind)
    {
        embedded_ = line.encoding() == Encoding::Base64 &&
                    (kind_ == PropertyKind::Media || (kind_ == PropertyKind::Unknown && !form_.params.contains("CHARSET")));
        for (const std::string_view name : {std::string_view("CHARSET"), std::string_view("ENCODING"), kPinParam})
            erase(form_.params, name);
        if (takeType(form_.params, "pref") && !form_.params.contains(kPref)) form_.params[std::string(kPref)] = {"1"};
    }

    CanonicalForm read(bool withValue) &&
    {
        std::string type = takeValueType();
        if (embedded_) {
            const std::string mediaType = takeMediaType();
            setValueType(kUri);
            if (withValue) form_.value = formatDataUri(mediaType, decodeBase64(line_.body()));
        } else {
            readText(std::move(type));
        }
        return std::move(form_);
    }

private:
    // Removes the VALUE parameter and returns its value in the words of version 4.0; empty for a value of the default type.
    std::string takeValueType()
    {
        std::string type = paramText(form_.params, kValue);
        for (char& c : type) c = lower(c);
        erase(form_.params, kValue);
        if (type == "url") type = kUri;
        for (const std::string_view inlined : {"inline", "binary", "phone-number"})
            if (type == inlined) type.clear();
        return type;
    }

    void setValueType(std::string_view type)
    {
        if (!type.empty() && type != property_.valueType) form_.params[std::string(kValue)] = {std::string(type)};
    }

    std::string takeMediaType()
    {
        if (std::string named = takeTypeOfMedia(); !named.empty()) return named;
        std::string named = paramText(form_.params, kMediaType);
        erase(form_.params, kMediaType);
        for (char& c : named) c = lower(c);
        constexpr std::size_t kStart = 32; // letters of base64
        return !named.empty() ? named : std::string(mediaTypeOfBytes(decodeBase64(std::string_view(line_.body()).substr(0, kStart))));
    }

    // Removes the first TYPE word that names a media type and returns the media type; empty for none.
    std::string takeTypeOfMedia()
    {
        const auto types = form_.params.find("TYPE");
        if (types == form_.params.end()) return {};
        for (const std::string& word : std::vector<std::string>(types->second))
            if (std::string mediaType = mediaTypeOfWord(form_.name, word); !mediaType.empty()) {
                takeType(form_.params, word);
                return mediaType;
            }
        return {};
    }

    void readText(std::string type)
    {
        const PropertyKind kind = kindOfValue(property_, type);
        form_.value = canonicalEscapes(toUtf8(cleaned(line_.value(context_))), context_.version, kind);
        if (kind == PropertyKind::Date) {
            if (type == "date" || type == "date-time") type.clear();
            form_.value = basicDate(form_.value);
        } else if (kind == PropertyKind::UtcOffset) {
            if (type.empty() && context_.version != Version::V40 && isUtcOffset(form_.value)) type = kOffset;
            if (type == kOffset) form_.value = basicOffset(form_.value);
        } else if (kind == PropertyKind::Position) {
            if (type == "float") type.clear();
            const bool comma = form_.value.find(';') == std::string::npos; // version 2.1 has both, and other programs write both
            form_.value = geoUri(form_.value, comma ? ',' : ';');
        } else if (kind == PropertyKind::Id) {
            if (type == kText) type.clear();
        } else if (kind == PropertyKind::Uri || kind == PropertyKind::Media) {
            readUri();
        }
        setValueType(type);
    }

    void readUri()
    {
        form_.value = canonicalUri(form_.value);
        if (const std::optional<DataUri> data = parseDataUri(form_.value)) {
            if (const std::string_view word = wordOfMediaType(form_.name, data->mediaType); !word.empty()) takeType(form_.params, word);
            if (paramText(form_.params, kMediaType) == data->mediaType) erase(form_.params, kMediaType);
        } else if (kind_ == PropertyKind::Media && !form_.params.contains(kMediaType)) {
            if (std::string named = takeTypeOfMedia(); !named.empty()) form_.params[std::string(kMediaType)] = {std::move(named)};
        }
    }

    const Line& line_;
    const Context& context_;
    CanonicalForm form_;
    Property property_;
    PropertyKind kind_;
    bool embedded_ = false;
};

std::string textOf(const CanonicalForm& form) { return form.name + formatParams(form.params) + ":" + form.value; }

// TYPE words that the older versions write in upper case, and version 2.1 without the name TYPE.
constexpr auto kWordsOf21 = std::to_array<std::string_view>({"bbs", "car", "cell", "dom", "fax", "home", "internet", "intl", "isdn",
                                                             "modem", "msg", "pager", "parcel", "postal", "video", "voice", "work"});
constexpr auto kWordsOf30 = std::to_array<std::string_view>({"main", "pcs", "x400"});

template <std::size_t N> bool isOneOf(std::string_view word, const std::array<std::string_view, N>& words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

// Writes a canonical form in the spelling of one version.
class Writer {
public:
    Writer(std::string_view group, CanonicalForm form, const Context& context)
        : group_(group), form_(std::move(form)), property_(propertyOf(form_.name)), context_(context),
          type_(paramText(form_.params, kValue))
    {
        erase(form_.params, kValue);
    }

    // Uses the version's own names, parameters and values where it has them.
    Line inForm() &&
    {
        const std::string name(nameBeforeVersion40(form_.name));
        preferred_ = paramText(form_.params, kPref) == "1";
        if (preferred_) erase(form_.params, kPref);
        const bool uri = (type_.empty() ? property_.valueType : std::string_view(type_)) == kUri;
        if (uri)
            if (const std::optional<DataUri> data = parseDataUri(form_.value)) return embedded(name, *data);
        if (property_.kind == PropertyKind::Media && uri) writeMediaType(paramText(form_.params, kMediaType));
        if (property_.kind == PropertyKind::Date && type_.empty()) {
            form_.value = extendedDate(form_.value);
            if (hasTime(form_.value)) type_ = "date-time";
        } else if (property_.kind == PropertyKind::Position && type_.empty()) {
            form_.value = geoPair(form_.value);
        } else if (property_.kind == PropertyKind::UtcOffset && type_ == kOffset) {
            form_.value = extendedOffset(form_.value);
            type_.clear();
            return written(name);
        }
        completeType();
        return written(name);
    }

    // Keeps name, parameters and value as they are.
    Line asItIs() &&
    {
        completeType();
        return written(form_.name);
    }

private:
    // Names the type of the value where the version assumes another one.
    void completeType()
    {
        if (!type_.empty()) return;
        const bool scheme = hasUriScheme(form_.value);
        if (context_.version == Version::V40) {
            if (property_.kind == PropertyKind::Id && !scheme) type_ = kText;
        } else if (property_.kind == PropertyKind::UtcOffset) {
            type_ = kText;
        } else if (scheme && (property_.kind == PropertyKind::Media || property_.kind == PropertyKind::Position)) {
            type_ = kUri;
        }
    }

    void writeMediaType(std::string_view mediaType)
    {
        mediaWord_ = wordOfMediaType(form_.name, mediaType);
        if (mediaWord_.empty()) return;
        addType(form_.params, mediaWord_);
        erase(form_.params, kMediaType);
    }

    Line embedded(const std::string& name, const DataUri& data)
    {
        writeMediaType(data.mediaType);
        if (mediaWord_.empty() && data.mediaType != mediaTypeOfBytes({})) form_.params[std::string(kMediaType)] = {data.mediaType};
        Line line = Line::make(header(name, context_.version == Version::V21 ? ";ENCODING=BASE64" : ";ENCODING=b"), context_.eol);
        line.setBase64(std::string(data.base64));
        return line;
    }

    Line written(const std::string& name)
    {
        const bool v21 = context_.version == Version::V21;
        const std::string value = v21 ? escapesOfVersion21(form_.value, kindOfValue(property_, type_)) : form_.value;
        if (!type_.empty()) form_.params[std::string(kValue)] = {v21 && type_ == kUri ? "URL" : type_};
        Line line = Line::make(header(name, {}), context_.eol);
        line.setValue(fromUtf8(value), context_);
        return line;
    }

    std::string header(const std::string& name, std::string_view encoding) const
    {
        std::string text(group_);
        text.append(group_.empty() ? "" : ".");
        text.append(name == "X-ABLABEL" ? "X-ABLabel" : name).append(encoding); // the case that readers of this property expect
        for (const auto& [param, values] : form_.params)
            if (context_.version == Version::V40 || param != "TYPE") text += formatParam(param, values);
        return context_.version == Version::V40 ? text : text + types();
    }

    // Returns the TYPE parameter of a version before 4.0, with the preference.
    std::string types() const
    {
        std::vector<std::string> words, named;
        if (const auto found = form_.params.find("TYPE"); found != form_.params.end()) words = found->second;
        if (preferred_) words.emplace_back("pref");
        std::string text;
        for (const std::string& word : words) {
            const bool of21 = word == "pref" || isOneOf(word, kWordsOf21);
            const bool known = of21 || word == mediaWord_ || isOneOf(word, kWordsOf30) || word.starts_with("x-evolution-");
            std::string spelled = known ? upperCopy(word) : word;
            if (context_.version != Version::V21)
                named.push_back(std::move(spelled));
            else
                text += of21 ? ";" + spelled : formatParam("TYPE", {spelled});
        }
        return named.empty() ? text : formatParam("TYPE", named);
    }

    std::string_view group_;
    CanonicalForm form_;
    Property property_;
    const Context& context_;
    std::string type_; // the VALUE parameter, in the words of version 4.0
    bool preferred_ = false;
    std::string_view mediaWord_;
};

} // namespace

std::string canonicalLine(const Line& line, const Context& context)
{
    return hasCanonicalLine(line.name()) ? textOf(Reader(line, context).read(true)) : std::string();
}

std::string canonicalParams(const Line& line, const Context& context)
{
    return hasCanonicalLine(line.name()) ? formatParams(Reader(line, context).read(false).params) : std::string();
}

Line lineFromCanonical(std::string_view canonical, const Context& context)
{
    const std::string_view head = canonical.substr(0, canonical.find_first_of(":;"));
    const std::size_t dot = head.rfind('.');
    const std::string_view group = dot == head.npos ? std::string_view() : head.substr(0, dot);
    const Context version40{Version::V40, std::string(kUtf8), context.eol};
    const CanonicalForm form = Reader(Line::parse(canonical, Version::V40), version40).read(true);
    if (context.version != Version::V40) {
        // A form may lack what the canonical line says: a media type that has no word, or a date that is none.
        Line line = Writer(group, form, context).inForm();
        if (canonicalLine(line, context) == textOf(form)) return line;
    }
    return Writer(group, form, context).asItIs();
}

} // namespace mb::vcard
