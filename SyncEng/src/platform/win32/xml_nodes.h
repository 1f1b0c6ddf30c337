// A tree with one node per element of an MSXML document. MSXML returns a new object for each request, so its pointers cannot be compared to
// identify an element; nodes of this tree can. A node lists its children when first asked.
#pragma once
#include "com.h"

#include <msxml2.h>

#include <string>

namespace platform {

struct XmlNode {
    explicit XmlNode(com::Ptr<IXMLDOMNode> element, XmlNode* up);
    XmlNode(const XmlNode&) = delete;
    XmlNode& operator=(const XmlNode&) = delete;
    ~XmlNode();

    XmlNode* firstElement();
    XmlNode* append(com::Ptr<IXMLDOMNode> element);
    void remove(XmlNode* child);
    // Removes all children, of whatever kind.
    void clear();

    com::Ptr<IXMLDOMNode> dom;
    XmlNode *parent, *next = nullptr;
    std::string name;

private:
    XmlNode* link(com::Ptr<IXMLDOMNode> element);
    void listChildren();
    XmlNode *first_ = nullptr, *last_ = nullptr, *previous_ = nullptr;
    bool listed_ = false;
};

// Properties of an MSXML node, in UTF-8.
DOMNodeType typeOf(IXMLDOMNode* node);
std::string nameOf(IXMLDOMNode* node);
std::string valueOf(IXMLDOMNode* node);
com::Ptr<IXMLDOMNode> firstChildOf(IXMLDOMNode* node);
com::Ptr<IXMLDOMNode> nextSiblingOf(IXMLDOMNode* node);

// Appends the markup of the node and its descendants.
void appendMarkup(IXMLDOMNode* node, std::string& out);

} // namespace platform
