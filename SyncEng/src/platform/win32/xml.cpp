// Implemented with MSXML 6. Requires: the calling thread has entered an apartment.
#include "xml.h"

#include "text.h"
#include "xml_faults.h"
#include "xml_guard.h"
#include "xml_nodes.h"

namespace platform {

struct XmlAccess {
    static XmlNode* node(const XmlElement& e) { return static_cast<XmlNode*>(e.node_); }
    static XmlElement element(XmlNode* n) { return XmlElement(n); }
};

namespace {

constexpr CLSID documentClass{0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
constexpr IID documentId{0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr IID elementId{0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr char16_t selectionMark[] = u"mbsync-selected";

com::Bstr wide(std::string_view text) { return com::Bstr(utf16(text)); }

XmlNode* asNode(const XmlElement& e) { return XmlAccess::node(e); }

// Pins the object's library: documents in static objects must not outlive it.
void keepLoaded(IUnknown* object)
{
    HMODULE library = nullptr;
    const auto* const table = *reinterpret_cast<void**>(object);
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN, static_cast<LPCWSTR>(table), &library);
}

com::Ptr<IXMLDOMDocument> makeDocument()
{
    com::Ptr<IXMLDOMDocument> document;
    com::check(CoCreateInstance(documentClass, nullptr, CLSCTX_INPROC_SERVER, documentId, document.putVoid()));
    keepLoaded(document.get());
    com::check(document->put_async(VARIANT_FALSE));
    com::check(document->put_resolveExternals(VARIANT_FALSE));
    com::check(document->put_validateOnParse(VARIANT_FALSE));
    com::check(document->put_preserveWhiteSpace(VARIANT_TRUE));
    return document;
}

com::Ptr<IXMLDOMDocument> documentOf(const XmlNode& node)
{
    com::Ptr<IXMLDOMDocument> document;
    com::check(node.dom->get_ownerDocument(document.put()));
    return document;
}

com::Ptr<IXMLDOMElement> elementOf(const com::Ptr<IXMLDOMNode>& node)
{
    com::Ptr<IXMLDOMElement> element;
    com::check(node->QueryInterface(elementId, element.putVoid()));
    return element;
}

bool isText(IXMLDOMNode* node)
{
    const DOMNodeType type = typeOf(node);
    return type == NODE_TEXT || type == NODE_CDATA_SECTION;
}

com::Ptr<IXMLDOMNode> firstTextNode(const XmlNode& element)
{
    auto child = firstChildOf(element.dom.get());
    while (child && !isText(child.get())) child = nextSiblingOf(child.get());
    return child;
}

void appendText(IXMLDOMNode* node, std::string& out)
{
    for (auto child = firstChildOf(node); child; child = nextSiblingOf(child.get())) {
        if (isText(child.get()))
            out += valueOf(child.get());
        else if (typeOf(child.get()) == NODE_ELEMENT)
            appendText(child.get(), out); // recursion is limited: deeper documents do not load
    }
}

XmlElement named(XmlNode* n, std::string_view name)
{
    while (n && n->name != name) n = n->next;
    return XmlAccess::element(n);
}

// Returns the number of elements before this one under the same parent.
std::size_t placeOf(const com::Ptr<IXMLDOMNode>& element)
{
    std::size_t place = 0;
    com::Ptr<IXMLDOMNode> before;
    com::check(element->get_previousSibling(before.put()));
    while (before) {
        if (typeOf(before.get()) == NODE_ELEMENT) ++place;
        const com::Ptr<IXMLDOMNode> at = before;
        com::check(at->get_previousSibling(before.put()));
    }
    return place;
}

// Returns the tree's node of an MSXML element by following the element's positions from the root.
XmlNode* nodeOf(XmlNode* root, com::Ptr<IXMLDOMNode> element)
{
    std::vector<std::size_t> places;
    for (;;) {
        com::Ptr<IXMLDOMNode> up;
        com::check(element->get_parentNode(up.put()));
        if (!up || typeOf(up.get()) != NODE_ELEMENT) break;
        places.push_back(placeOf(element));
        element = up;
    }
    XmlNode* node = root;
    for (auto place = places.rbegin(); node && place != places.rend(); ++place) {
        node = node->firstElement();
        for (std::size_t i = 0; node && i < *place; ++i) node = node->next;
    }
    return node;
}

// Removes the marker attribute from all elements and collects their nodes in document order.
void collectMarked(XmlNode* node, BSTR mark, std::vector<XmlElement>& found)
{
    const auto element = elementOf(node->dom);
    com::Variant value;
    if (element->getAttribute(mark, value.put()) == S_OK) {
        com::check(element->removeAttribute(mark));
        found.push_back(XmlAccess::element(node));
    }
    for (XmlNode* child = node->firstElement(); child; child = child->next) collectMarked(child, mark, found);
}

// Finds many elements by marking them and walking the document once; a lookup by position would walk the document for each element.
std::vector<XmlElement> selectFrom(IXMLDOMNode* context, XmlNode* root, const std::string& xpath)
{
    std::vector<XmlElement> found;
    com::Ptr<IXMLDOMNodeList> list;
    if (!root || FAILED(context->selectNodes(wide(xpath).get(), list.put())) || !list) return found;
    std::vector<com::Ptr<IXMLDOMNode>> elements;
    for (com::Ptr<IXMLDOMNode> next; list->nextNode(next.put()) == S_OK && next;)
        if (typeOf(next.get()) == NODE_ELEMENT) elements.push_back(next);
    if (elements.size() == 1) return {XmlAccess::element(nodeOf(root, elements.front()))};
    if (elements.empty()) return found;
    const com::Bstr mark(selectionMark);
    for (const auto& element : elements) com::check(elementOf(element)->setAttribute(mark.get(), com::Variant(true)));
    collectMarked(root, mark.get(), found);
    return found;
}

XmlElement selectFirstFrom(IXMLDOMNode* context, XmlNode* root, const std::string& xpath)
{
    com::Ptr<IXMLDOMNode> found;
    if (!root || FAILED(context->selectSingleNode(wide(xpath).get(), found.put())) || !found) return {};
    if (typeOf(found.get()) == NODE_ELEMENT) return XmlAccess::element(nodeOf(root, found));
    const auto all = selectFrom(context, root, xpath); // another kind of node comes first; an element may follow
    return all.empty() ? XmlElement() : all.front();
}

XmlNode* rootOf(XmlNode* node)
{
    while (node->parent) node = node->parent;
    return node;
}

com::Variant byteArray(std::string_view bytes)
{
    com::Variant array;
    array.parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    if (!array.parray) throw std::bad_alloc();
    array.vt = VT_ARRAY | VT_UI1;
    void* data = nullptr;
    com::check(SafeArrayAccessData(array.parray, &data));
    std::copy(bytes.begin(), bytes.end(), static_cast<char*>(data));
    com::check(SafeArrayUnaccessData(array.parray));
    return array;
}

// isHarmlessXml() reads UTF-8 only, while MSXML also reads UTF-16.
bool isHarmless(std::string_view bytes)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    if (bytes.size() < 2 || !((byte(0) == 0xFF && byte(1) == 0xFE) || (byte(0) == 0xFE && byte(1) == 0xFF))) return isHarmlessXml(bytes);
    if (bytes.size() % 2 != 0) return false;
    const bool little = byte(0) == 0xFF;
    std::u16string text;
    for (std::size_t i = 2; i < bytes.size(); i += 2)
        text += static_cast<char16_t>(little ? byte(i) | byte(i + 1) << 8 : byte(i) << 8 | byte(i + 1));
    return isHarmlessXml(utf8(text));
}

} // namespace

std::string XmlElement::name() const { return asNode(*this)->name; }
bool XmlElement::isNamed(std::string_view name) const noexcept { return asNode(*this)->name == name; }
bool XmlElement::hasText(std::string_view text) const { return this->text() == text; }

std::string XmlElement::text() const
{
    std::string out;
    appendText(asNode(*this)->dom.get(), out);
    return out;
}

std::string_view XmlElement::text(std::string& buffer) const
{
    buffer = text();
    return buffer;
}

void XmlElement::setText(std::string_view text) const
{
    XmlNode& node = *asNode(*this);
    node.clear();
    if (text.empty()) return;
    com::Ptr<IXMLDOMText> made;
    com::check(documentOf(node)->createTextNode(wide(text).get(), made.put()));
    com::check(node.dom->appendChild(made.get(), nullptr));
}

std::optional<std::string> XmlElement::firstText() const
{
    const auto holder = firstTextNode(*asNode(*this));
    return holder ? std::optional(valueOf(holder.get())) : std::nullopt;
}

bool XmlElement::setFirstText(std::string_view text) const
{
    const auto holder = firstTextNode(*asNode(*this));
    return holder && SUCCEEDED(holder->put_nodeValue(com::Variant(std::u16string_view(utf16(text)))));
}

void XmlElement::appendCData(std::string_view text) const
{
    XmlNode& node = *asNode(*this);
    com::Ptr<IXMLDOMCDATASection> made;
    com::check(documentOf(node)->createCDATASection(wide(text).get(), made.put()));
    com::check(node.dom->appendChild(made.get(), nullptr));
}

std::optional<std::string> XmlElement::attribute(const char* name) const
{
    com::Variant value;
    if (elementOf(asNode(*this)->dom)->getAttribute(wide(name).get(), value.put()) != S_OK) return std::nullopt;
    return utf8(value.text());
}

void XmlElement::setAttribute(const char* name, std::string_view value) const
{
    com::check(elementOf(asNode(*this)->dom)->setAttribute(wide(name).get(), com::Variant(std::u16string_view(utf16(value)))));
}

XmlElement XmlElement::parent() const { return XmlAccess::element(asNode(*this)->parent); }
XmlElement XmlElement::firstChild() const { return XmlAccess::element(asNode(*this)->firstElement()); }
XmlElement XmlElement::nextSibling() const { return XmlAccess::element(asNode(*this)->next); }
XmlElement XmlElement::firstChild(const char* name) const { return named(asNode(*this)->firstElement(), name); }
XmlElement XmlElement::nextSibling(const char* name) const { return named(asNode(*this)->next, name); }

XmlElement XmlElement::appendChild(const char* name) const
{
    XmlNode& node = *asNode(*this);
    com::Ptr<IXMLDOMElement> made;
    com::check(documentOf(node)->createElement(wide(name).get(), made.put()));
    return XmlAccess::element(node.append(com::Ptr<IXMLDOMNode>(made)));
}

XmlElement XmlElement::appendChild(const char* name, std::string_view text) const
{
    const XmlElement made = appendChild(name);
    made.setText(text);
    return made;
}

void XmlElement::removeChild(const XmlElement& child) const { asNode(*this)->remove(asNode(child)); }

std::vector<XmlElement> XmlElement::select(const std::string& xpath) const
{
    XmlNode* const node = asNode(*this);
    return selectFrom(node->dom.get(), rootOf(node), xpath);
}

XmlElement XmlElement::selectFirst(const std::string& xpath) const
{
    XmlNode* const node = asNode(*this);
    return selectFirstFrom(node->dom.get(), rootOf(node), xpath);
}

struct XmlDocument::State {
    com::Ptr<IXMLDOMDocument> document;
    std::unique_ptr<XmlNode> root;

    void reset()
    {
        root.reset();
        document.reset();
    }
    void readRoot()
    {
        com::Ptr<IXMLDOMElement> element;
        com::check(document->get_documentElement(element.put()));
        if (element) root = std::make_unique<XmlNode>(com::Ptr<IXMLDOMNode>(element), nullptr);
    }
};

XmlDocument::XmlDocument() : state_(std::make_unique<State>()) {}
XmlDocument::XmlDocument(XmlDocument&&) noexcept = default;
XmlDocument& XmlDocument::operator=(XmlDocument&&) noexcept = default;
XmlDocument::~XmlDocument() = default;

bool XmlDocument::load(std::string&& bytes)
{
    const std::string taken = std::move(bytes);
    state_->reset();
    if (taken.empty() || !isHarmless(taken)) return false;
    state_->document = makeDocument();
    VARIANT_BOOL good = VARIANT_FALSE;
    const HRESULT hr = state_->document->load(byteArray(taken), &good);
    if (hr == S_OK && good != VARIANT_FALSE) state_->readRoot();
    if (state_->root) return true;
    state_->reset();
    return false;
}

XmlElement XmlDocument::create(const char* rootName)
{
    state_->reset();
    if (rootName == XmlFaults::refusedRoot) return {};
    state_->document = makeDocument();
    com::Ptr<IXMLDOMElement> made;
    com::check(state_->document->createElement(wide(rootName).get(), made.put()));
    com::check(state_->document->appendChild(made.get(), nullptr));
    state_->readRoot();
    return root();
}

XmlElement XmlDocument::root() const { return XmlAccess::element(state_->root.get()); }

std::vector<XmlElement> XmlDocument::select(const std::string& xpath) const
{
    return selectFrom(state_->document.get(), state_->root.get(), xpath);
}

XmlElement XmlDocument::selectFirst(const std::string& xpath) const
{
    return selectFirstFrom(state_->document.get(), state_->root.get(), xpath);
}

void XmlDocument::writeTo(void (*sink)(void*, std::string_view), void* to) const { sink(to, bytes()); }

std::string XmlDocument::bytes() const
{
    std::string out;
    if (!state_->document) return out;
    for (auto node = firstChildOf(state_->document.get()); node; node = nextSiblingOf(node.get())) appendMarkup(node.get(), out);
    return out;
}

} // namespace platform
