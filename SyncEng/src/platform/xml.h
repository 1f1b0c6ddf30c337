// An XML document of elements and texts, with the operations that the stores need. Texts are UTF-8. White space between elements, comments
// and unknown nodes survive a load and a save; line ends become one line feed. A document does not load if it has a DOCTYPE, is nested
// deeper than 64 elements, has not exactly one root or is not well-formed; loading never fetches or expands anything.
#pragma once
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

class XmlDocument;

// A handle on an element; empty if there is no element. Valid while the element is in its document. Handles on the same element compare
// equal.
class XmlElement {
public:
    XmlElement() noexcept = default;
    explicit operator bool() const noexcept { return node_ != nullptr; }
    friend bool operator==(const XmlElement&, const XmlElement&) noexcept = default;

    [[nodiscard]] std::string name() const;
    [[nodiscard]] bool isNamed(std::string_view name) const noexcept;
    // The text of the element and its descendants in document order, white space included, comments excluded.
    [[nodiscard]] std::string text() const;
    // The same without a copy if possible; otherwise the text is built in `buffer`. Valid until the element or the buffer changes.
    [[nodiscard]] std::string_view text(std::string& buffer) const;
    [[nodiscard]] bool hasText(std::string_view text) const;
    // Replaces the element's whole content by one text.
    void setText(std::string_view text) const;
    // Returns the element's first direct text or CDATA section; nullopt if there is none.
    [[nodiscard]] std::optional<std::string> firstText() const;
    // Replaces the first direct text or CDATA section. Returns false if there is none.
    bool setFirstText(std::string_view text) const;
    void appendCData(std::string_view text) const;
    [[nodiscard]] std::optional<std::string> attribute(const char* name) const;
    void setAttribute(const char* name, std::string_view value) const;

    // The following functions return elements and skip other nodes.
    [[nodiscard]] XmlElement parent() const;
    [[nodiscard]] XmlElement firstChild() const;
    [[nodiscard]] XmlElement nextSibling() const;
    [[nodiscard]] XmlElement firstChild(const char* name) const;
    [[nodiscard]] XmlElement nextSibling(const char* name) const;

    [[nodiscard]] XmlElement appendChild(const char* name) const;
    XmlElement appendChild(const char* name, std::string_view text) const;
    void removeChild(const XmlElement& child) const;

    // Returns the elements that an XPath expression selects, in document order; none if the expression is invalid.
    [[nodiscard]] std::vector<XmlElement> select(const std::string& xpath) const;
    [[nodiscard]] XmlElement selectFirst(const std::string& xpath) const;

private:
    friend class XmlDocument;
    friend struct XmlAccess;
    explicit XmlElement(void* node) noexcept : node_(node) {}
    void* node_ = nullptr;
};

class XmlDocument {
public:
    XmlDocument();
    XmlDocument(XmlDocument&&) noexcept;
    XmlDocument& operator=(XmlDocument&&) noexcept;
    ~XmlDocument();

    // Takes over the bytes and parses them in place. Returns false, and leaves the document empty, if they are no acceptable document.
    [[nodiscard]] bool load(std::string&& bytes);
    // Replaces the document by an empty one with the given root. Returns an empty handle if no document can be made.
    XmlElement create(const char* rootName);

    [[nodiscard]] XmlElement root() const;
    [[nodiscard]] std::vector<XmlElement> select(const std::string& xpath) const;
    [[nodiscard]] XmlElement selectFirst(const std::string& xpath) const;

    // Passes the document's bytes to `sink` piece by piece. A declaration or indentation is written only if the document had one.
    template <class F> void write(F&& sink) const
    {
        writeTo([](void* to, std::string_view piece) { (*static_cast<F*>(to))(piece); }, &sink);
    }
    [[nodiscard]] std::string bytes() const;

private:
    void writeTo(void (*sink)(void*, std::string_view), void* to) const;
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace platform
