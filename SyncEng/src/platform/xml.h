// A document of elements and texts, and the few operations the stores need on it. Texts are UTF-8.
// White space between elements, comments and what else a reader does not know survive a load and a save; line ends become one line feed.
// A document with a DOCTYPE, deeper than 64 elements, without exactly one root or not well-formed does not load; nothing in it can make
// the reader fetch or expand anything.
#pragma once
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

class XmlDocument;

// A handle on an element of a document that is still there; empty for none. Handles of one element compare equal.
class XmlElement {
public:
    XmlElement() noexcept = default;
    explicit operator bool() const noexcept { return node_ != nullptr; }
    friend bool operator==(const XmlElement&, const XmlElement&) noexcept = default;

    [[nodiscard]] std::string name() const;
    [[nodiscard]] bool isNamed(std::string_view name) const noexcept;
    // The text of the element and of all below it, in document order, white space as it stands; comments are none.
    [[nodiscard]] std::string text() const;
    // The same without a copy where that can be had, else by way of the buffer; until the element or the buffer changes.
    [[nodiscard]] std::string_view text(std::string& buffer) const;
    [[nodiscard]] bool hasText(std::string_view text) const;
    // Replaces all that the element holds by one text.
    void setText(std::string_view text) const;
    // The first text or CDATA section that stands directly in the element; nothing if there is none.
    [[nodiscard]] std::optional<std::string> firstText() const;
    // Replaces that one; false if there is none.
    bool setFirstText(std::string_view text) const;
    void appendCData(std::string_view text) const;
    [[nodiscard]] std::optional<std::string> attribute(const char* name) const;
    void setAttribute(const char* name, std::string_view value) const;

    // Elements only; other nodes are passed over.
    [[nodiscard]] XmlElement parent() const;
    [[nodiscard]] XmlElement firstChild() const;
    [[nodiscard]] XmlElement nextSibling() const;
    [[nodiscard]] XmlElement firstChild(const char* name) const;
    [[nodiscard]] XmlElement nextSibling(const char* name) const;

    [[nodiscard]] XmlElement appendChild(const char* name) const;
    XmlElement appendChild(const char* name, std::string_view text) const;
    void removeChild(const XmlElement& child) const;

    // The elements that an XPath expression names, in document order; none for an expression that is none.
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

    // False, and an empty document, if the bytes are no acceptable document. The document is read where the bytes lie.
    [[nodiscard]] bool load(std::string&& bytes);
    // An empty document with one element; none where no document can be made.
    XmlElement create(const char* rootName);

    [[nodiscard]] XmlElement root() const;
    [[nodiscard]] std::vector<XmlElement> select(const std::string& xpath) const;
    [[nodiscard]] XmlElement selectFirst(const std::string& xpath) const;

    // Hands the document's bytes over piece by piece, without a declaration or indentation that it did not have.
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
