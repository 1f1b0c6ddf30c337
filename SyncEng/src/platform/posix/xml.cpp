// Implemented with pugixml. An element stores a leading text itself, which halves the number of nodes in a store. Names and texts of a
// loaded document stay in the bytes that it was parsed from.
#include "xml.h"

#include "text.h"
#include "xml_faults.h"
#include "xml_guard.h"
#include <new>
#include <pugixml.hpp>

namespace platform {

struct XmlAccess {
    static pugi::xml_node node(const XmlElement& e) { return pugi::xml_node(static_cast<pugi::xml_node_struct*>(e.node_)); }
    static XmlElement element(pugi::xml_node n) { return XmlElement(n.internal_object()); }
};

namespace {

constexpr unsigned parseFlags = pugi::parse_default | pugi::parse_embed_pcdata | pugi::parse_comments | pugi::parse_pi |
                                pugi::parse_declaration | pugi::parse_ws_pcdata;

pugi::xml_node nextElement(pugi::xml_node n)
{
    while (n && n.type() != pugi::node_element) n = n.next_sibling();
    return n;
}

void appendText(pugi::xml_node n, std::string& out)
{
    out += n.value();
    for (pugi::xml_node child : n.children()) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
            out += child.value();
        else if (child.type() == pugi::node_element)
            appendText(child, out); // recursion is limited: deeper documents do not load
    }
}

// Compares without computing the length of `text`.
bool isText(const char* text, std::string_view wanted) noexcept
{
    for (const char c : wanted)
        if (*text == '\0' || *text++ != c) return false;
    return *text == '\0';
}

// Returns `n` or its next sibling of that name that is an element; a processing instruction can have the same name.
XmlElement elementOf(pugi::xml_node n, const char* name)
{
    while (n && n.type() != pugi::node_element) n = n.next_sibling(name);
    return XmlAccess::element(n);
}

std::vector<XmlElement> selectFrom(pugi::xml_node context, const std::string& xpath)
{
    std::vector<XmlElement> found;
    try {
        pugi::xpath_node_set set = context.select_nodes(xpath.c_str());
        set.sort();
        for (const pugi::xpath_node& n : set)
            if (n.node().type() == pugi::node_element) found.push_back(XmlAccess::element(n.node()));
    } catch (const pugi::xpath_exception&) {
        found.clear();
    }
    return found;
}

// pugixml returns false or an empty node if an allocation fails.
void mustSucceed(bool done)
{
    if (!done) throw std::bad_alloc();
}

// Returns the node that holds the element's first text: the element itself if its content begins with that text.
pugi::xml_node firstTextNode(pugi::xml_node element)
{
    if (*element.value()) return element;
    for (pugi::xml_node child : element.children())
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) return child;
    return {};
}

class SinkWriter final : public pugi::xml_writer {
public:
    SinkWriter(void (*sink)(void*, std::string_view), void* to) : sink_(sink), to_(to) {}
    void write(const void* data, std::size_t size) override { sink_(to_, {static_cast<const char*>(data), size}); }

private:
    void (*sink_)(void*, std::string_view);
    void* to_;
};

// Converts UTF-16 with a byte order mark to UTF-8; leaves other bytes to the parser. Returns false if the number of bytes is odd.
bool makeUtf8(std::string& bytes)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    if (bytes.size() < 2 || !((byte(0) == 0xFF && byte(1) == 0xFE) || (byte(0) == 0xFE && byte(1) == 0xFF))) return true;
    if (bytes.size() % 2 != 0) return false;
    const bool little = byte(0) == 0xFF;
    std::u16string wide;
    wide.reserve(bytes.size() / 2);
    for (std::size_t i = 2; i < bytes.size(); i += 2)
        wide += static_cast<char16_t>(little ? byte(i) | byte(i + 1) << 8 : byte(i) << 8 | byte(i + 1));
    bytes = utf8(wide);
    return true;
}

} // namespace

std::string XmlElement::name() const { return XmlAccess::node(*this).name(); }

bool XmlElement::isNamed(std::string_view name) const noexcept { return name == XmlAccess::node(*this).name(); }

bool XmlElement::hasText(std::string_view text) const
{
    const pugi::xml_node n = XmlAccess::node(*this), child = n.first_child();
    if (!child) return isText(n.value(), text);
    if (child.type() == pugi::node_pcdata && !child.next_sibling() && !*n.value()) return isText(child.value(), text);
    return text == this->text();
}

std::string XmlElement::text() const
{
    const pugi::xml_node n = XmlAccess::node(*this);
    if (!n.first_child()) return n.value();
    std::string out;
    appendText(n, out);
    return out;
}

std::string_view XmlElement::text(std::string& buffer) const
{
    const pugi::xml_node n = XmlAccess::node(*this), child = n.first_child();
    if (!child) return n.value();
    if (child.type() == pugi::node_pcdata && !child.next_sibling() && !*n.value()) return child.value();
    buffer = text();
    return buffer;
}

void XmlElement::setText(std::string_view text) const
{
    pugi::xml_node n = XmlAccess::node(*this);
    if (n.first_child()) {
        // A single text node can be overwritten in place.
        if (n.first_child() == n.last_child() && n.first_child().type() == pugi::node_pcdata && !*n.value()) {
            mustSucceed(n.first_child().set_value(text.data(), text.size()));
            return;
        }
        n.remove_children();
    }
    mustSucceed(n.text().set(text.data(), text.size()));
}

std::optional<std::string> XmlElement::firstText() const
{
    const pugi::xml_node holder = firstTextNode(XmlAccess::node(*this));
    return holder ? std::optional<std::string>(holder.value()) : std::nullopt;
}

bool XmlElement::setFirstText(std::string_view text) const
{
    pugi::xml_node holder = firstTextNode(XmlAccess::node(*this));
    if (holder.type() == pugi::node_element) return holder.text().set(text.data(), text.size());
    return holder && holder.set_value(text.data(), text.size());
}

void XmlElement::appendCData(std::string_view text) const
{
    mustSucceed(XmlAccess::node(*this).append_child(pugi::node_cdata).set_value(text.data(), text.size()));
}

std::optional<std::string> XmlElement::attribute(const char* name) const
{
    const pugi::xml_attribute found = XmlAccess::node(*this).attribute(name);
    return found ? std::optional<std::string>(found.value()) : std::nullopt;
}

void XmlElement::setAttribute(const char* name, std::string_view value) const
{
    pugi::xml_node n = XmlAccess::node(*this);
    pugi::xml_attribute found = n.attribute(name);
    if (!found) found = n.append_attribute(name);
    mustSucceed(found.set_value(value.data(), value.size()));
}

XmlElement XmlElement::parent() const
{
    const pugi::xml_node up = XmlAccess::node(*this).parent();
    return up.type() == pugi::node_element ? XmlAccess::element(up) : XmlElement();
}

XmlElement XmlElement::firstChild() const { return XmlAccess::element(nextElement(XmlAccess::node(*this).first_child())); }
XmlElement XmlElement::nextSibling() const { return XmlAccess::element(nextElement(XmlAccess::node(*this).next_sibling())); }

XmlElement XmlElement::firstChild(const char* name) const { return elementOf(XmlAccess::node(*this).child(name), name); }
XmlElement XmlElement::nextSibling(const char* name) const { return elementOf(XmlAccess::node(*this).next_sibling(name), name); }

XmlElement XmlElement::appendChild(const char* name) const
{
    const pugi::xml_node made = XmlAccess::node(*this).append_child(name);
    mustSucceed(static_cast<bool>(made));
    return XmlAccess::element(made);
}

// Copies a parsed element, because only pugixml's parser creates elements that store their text themselves.
XmlElement XmlElement::appendChild(const char* name, std::string_view text) const
{
    if (text.empty()) { // written as <a></a>
        const XmlElement made = appendChild(name);
        made.setText(text);
        return made;
    }
    static const struct Pattern {
        Pattern() { mustSucceed(document.load_string("<nm>t</nm>", parseFlags)); }
        pugi::xml_document document;
    } pattern;
    pugi::xml_node made = XmlAccess::node(*this).append_copy(pattern.document.first_child());
    mustSucceed(made.set_name(name) && made.text().set(text.data(), text.size()));
    return XmlAccess::element(made);
}

void XmlElement::removeChild(const XmlElement& child) const { XmlAccess::node(*this).remove_child(XmlAccess::node(child)); }

std::vector<XmlElement> XmlElement::select(const std::string& xpath) const { return selectFrom(XmlAccess::node(*this), xpath); }

XmlElement XmlElement::selectFirst(const std::string& xpath) const
{
    const auto found = select(xpath);
    return found.empty() ? XmlElement() : found.front();
}

struct XmlDocument::State {
    std::string bytes; // storage of a loaded document's names and texts
    pugi::xml_document document;
};

XmlDocument::XmlDocument() : state_(std::make_unique<State>()) {}
XmlDocument::XmlDocument(XmlDocument&&) noexcept = default;
XmlDocument& XmlDocument::operator=(XmlDocument&&) noexcept = default;
XmlDocument::~XmlDocument() = default;

bool XmlDocument::load(std::string&& bytes)
{
    state_->document.reset();
    state_->bytes = std::move(bytes);
    const bool harmless = makeUtf8(state_->bytes) && isHarmlessXml(state_->bytes);
    if (harmless) {
        const pugi::xml_parse_result parsed =
            state_->document.load_buffer_inplace(state_->bytes.data(), state_->bytes.size(), parseFlags, pugi::encoding_utf8);
        if (parsed) return true;
        if (parsed.status == pugi::status_out_of_memory) throw std::bad_alloc(); // says nothing about the document
    }
    state_->document.reset();
    state_->bytes = std::string();
    return false;
}

XmlElement XmlDocument::create(const char* rootName)
{
    state_->document.reset();
    state_->bytes = std::string();
    if (rootName == XmlFaults::refusedRoot) return {};
    return XmlAccess::element(state_->document.append_child(rootName));
}

XmlElement XmlDocument::root() const { return XmlAccess::element(state_->document.document_element()); }
std::vector<XmlElement> XmlDocument::select(const std::string& xpath) const { return selectFrom(state_->document, xpath); }

XmlElement XmlDocument::selectFirst(const std::string& xpath) const
{
    const auto found = select(xpath);
    return found.empty() ? XmlElement() : found.front();
}

void XmlDocument::writeTo(void (*sink)(void*, std::string_view), void* to) const
{
    SinkWriter writer(sink, to);
    state_->document.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
}

std::string XmlDocument::bytes() const
{
    std::string out;
    write([&](std::string_view piece) { out += piece; });
    return out;
}

} // namespace platform
