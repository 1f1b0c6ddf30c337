#include "xml_nodes.h"

#include "text.h"

namespace platform {
namespace {

void appendEscaped(std::string_view text, bool inAttribute, std::string& out)
{
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; continue;
        case '<': out += "&lt;"; continue;
        case '>': out += "&gt;"; continue;
        default: break;
        }
        if (c == '"' && inAttribute)
            out += "&quot;";
        else if (static_cast<unsigned char>(c) < 0x20 && (inAttribute || (c != '\n' && c != '\t')))
            out += "&#" + std::to_string(c) + ";"; // a parser would normalise it to another white space
        else
            out += c;
    }
}

void appendCData(std::string_view text, std::string& out)
{
    constexpr std::string_view begin = "<![CDATA[", end = "]]>";
    out += begin;
    for (std::size_t at; (at = text.find(end)) != std::string_view::npos; text.remove_prefix(at + 2)) {
        out += text.substr(0, at + 2);
        out += end;
        out += begin;
    }
    out += text;
    out += end;
}

void appendAttributes(IXMLDOMNode* node, std::string& out)
{
    com::Ptr<IXMLDOMNamedNodeMap> all;
    if (node->get_attributes(all.put()) != S_OK || !all) return;
    LONG count = 0;
    com::check(all->get_length(&count));
    for (LONG i = 0; i < count; ++i) {
        com::Ptr<IXMLDOMNode> attribute;
        com::check(all->get_item(i, attribute.put()));
        out += ' ' + nameOf(attribute.get()) + "=\"";
        appendEscaped(valueOf(attribute.get()), true, out);
        out += '"';
    }
}

void appendElement(IXMLDOMNode* node, std::string& out)
{
    const std::string name = nameOf(node);
    out += '<' + name;
    appendAttributes(node, out);
    const std::size_t headEnd = out.size();
    out += '>';
    for (auto child = firstChildOf(node); child; child = nextSiblingOf(child.get())) appendMarkup(child.get(), out);
    if (out.size() == headEnd + 1)
        out.replace(headEnd, 1, "/>");
    else
        out += "</" + name + '>';
}

// Sets the encoding to UTF-8, which is what is written, whatever the document was read from.
std::string withOwnEncoding(std::string declaration)
{
    const std::size_t at = declaration.find("encoding");
    const std::size_t from = at == std::string::npos ? at : declaration.find_first_of("\"'", at);
    const std::size_t to = from == std::string::npos ? from : declaration.find(declaration[from], from + 1);
    if (to != std::string::npos) declaration.replace(from + 1, to - from - 1, "UTF-8");
    return declaration;
}

} // namespace

DOMNodeType typeOf(IXMLDOMNode* node)
{
    DOMNodeType type = NODE_INVALID;
    com::check(node->get_nodeType(&type));
    return type;
}

std::string nameOf(IXMLDOMNode* node)
{
    com::Bstr name;
    com::check(node->get_nodeName(name.put()));
    return utf8(name.view());
}

std::string valueOf(IXMLDOMNode* node)
{
    com::Variant value;
    com::check(node->get_nodeValue(value.put()));
    return utf8(value.text());
}

com::Ptr<IXMLDOMNode> firstChildOf(IXMLDOMNode* node)
{
    com::Ptr<IXMLDOMNode> child;
    com::check(node->get_firstChild(child.put()));
    return child;
}

com::Ptr<IXMLDOMNode> nextSiblingOf(IXMLDOMNode* node)
{
    com::Ptr<IXMLDOMNode> sibling;
    com::check(node->get_nextSibling(sibling.put()));
    return sibling;
}

void appendMarkup(IXMLDOMNode* node, std::string& out)
{
    switch (typeOf(node)) {
    case NODE_ELEMENT: return appendElement(node, out);
    case NODE_TEXT: return appendEscaped(valueOf(node), false, out);
    case NODE_CDATA_SECTION: return appendCData(valueOf(node), out);
    case NODE_COMMENT: out += "<!--" + valueOf(node) + "-->"; return;
    case NODE_PROCESSING_INSTRUCTION: {
        const std::string target = nameOf(node), value = valueOf(node);
        out += "<?" + target + (value.empty() ? "" : " ") + (target == "xml" ? withOwnEncoding(value) : value) + "?>";
        return;
    }
    default: return; // a document without a DOCTYPE has no other kinds
    }
}

// ---- The tree ---------------------------------------------------------------------------------------------------------

XmlNode::XmlNode(com::Ptr<IXMLDOMNode> element, XmlNode* up) : dom(std::move(element)), parent(up), name(nameOf(dom.get())) {}

XmlNode::~XmlNode()
{
    while (first_) delete std::exchange(first_, first_->next);
}

XmlNode* XmlNode::link(com::Ptr<IXMLDOMNode> element)
{
    auto* child = new XmlNode(std::move(element), this);
    child->previous_ = last_;
    (last_ ? last_->next : first_) = child;
    last_ = child;
    return child;
}

void XmlNode::listChildren()
{
    if (std::exchange(listed_, true)) return;
    for (auto child = firstChildOf(dom.get()); child; child = nextSiblingOf(child.get()))
        if (typeOf(child.get()) == NODE_ELEMENT) link(child);
}

XmlNode* XmlNode::firstElement()
{
    listChildren();
    return first_;
}

XmlNode* XmlNode::append(com::Ptr<IXMLDOMNode> element)
{
    listChildren();
    com::check(dom->appendChild(element.get(), nullptr));
    return link(std::move(element));
}

void XmlNode::remove(XmlNode* child)
{
    com::check(dom->removeChild(child->dom.get(), nullptr));
    (child->previous_ ? child->previous_->next : first_) = child->next;
    (child->next ? child->next->previous_ : last_) = child->previous_;
    delete child;
}

void XmlNode::clear()
{
    while (const auto child = firstChildOf(dom.get())) com::check(dom->removeChild(child.get(), nullptr));
    while (first_) delete std::exchange(first_, first_->next);
    last_ = nullptr;
    listed_ = true;
}

} // namespace platform
