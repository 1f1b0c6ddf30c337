// The elements of an MSXML document that were asked for, each once. MSXML hands out a new object whenever it is asked for a node, so that
// two of its pointers do not tell whether they are one element; a node of this tree does. Its children are listed at the first look.
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
    // All children go, of whatever kind.
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

// The pieces of a node, in UTF-8.
DOMNodeType typeOf(IXMLDOMNode* node);
std::string nameOf(IXMLDOMNode* node);
std::string valueOf(IXMLDOMNode* node);
com::Ptr<IXMLDOMNode> firstChildOf(IXMLDOMNode* node);
com::Ptr<IXMLDOMNode> nextSiblingOf(IXMLDOMNode* node);

// Writes the node and all below it as it would be read again.
void appendMarkup(IXMLDOMNode* node, std::string& out);

} // namespace platform
