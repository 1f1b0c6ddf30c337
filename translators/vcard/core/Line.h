// One logical line of a card: its bytes in the file and what they mean. The bytes change only when a value is set.
#pragma once
#include "LineHeader.h"

#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

enum class Version { V21, V30, V40 };

// The defaults of a card for lines that do not declare their own.
struct Context {
    Version version = Version::V30;
    std::string charset;           // of lines without CHARSET
    std::string_view eol = "\r\n"; // of new lines
};

struct Param {
    std::string name;  // upper-case; a bare word of vCard 2.1 is named TYPE or ENCODING
    std::string value; // without quotes
};

class Line {
public:
    // Returns a property line of the file. BEGIN, END, blank lines and the lines of a nested card are opaque: they have bytes but no name.
    static Line parse(std::string_view raw, Version version);
    static Line opaque(std::string_view raw);
    // Returns a new line without a value. `header` is everything in front of the colon.
    static Line make(std::string header, std::string_view eol);

    const std::string& raw() const;
    const std::string& name() const { return name_; }     // upper-case, without the group; empty for an opaque line
    const std::string& group() const { return group_; }   // upper-case
    const std::string& header() const { return header_; } // everything in front of the colon, unfolded, as in the file
    const std::string& body() const { return body_; }     // everything behind the colon, unfolded, still encoded
    Encoding encoding() const { return encoding_; }
    const std::string* param(std::string_view name) const;
    bool hasType(std::string_view type) const;
    bool isSet() const { return isSet_; } // setValue() was called
    bool openEnded() const;               // ends in a soft line break, which would join the next line to this one

    // Returns the decoded value with its escapes, so that separators can be told from escaped characters.
    const std::u16string& value(const Context& context) const;
    // Encodes the value in the line's own charset and encoding. If they cannot represent it, the line gets CHARSET and ENCODING parameters.
    void setValue(std::u16string escaped, const Context& context);
    // Sets a value that is encoded already. Requires: the header says that it is in base64.
    void setBase64(std::string base64) { setBody(std::move(base64), true); }
    // Returns the JPEG file that the value holds in base64, with an ENCODING parameter or as a data: URI; empty if it holds none.
    std::string jpeg() const;
    std::uint64_t jpegSize() const; // without decoding it
    bool hasJpeg() const;
    void setJpeg(std::string_view bytes, Version version);
    // Adds a CHARSET parameter with the charset of `read` if the value would decode differently with `assumed`.
    void keepCharset(const Context& read, const Context& assumed);
    // These reach the bytes of the line with the next setValue().
    void setParam(std::string_view name, std::string_view value); // replaces any parameter of the name
    void addParam(std::string_view name, std::string_view value);
    void removeParam(std::string_view name);

private:
    void parseHeader();
    bool quotedPrintable() const { return encoding_ == Encoding::QuotedPrintable; }
    bool base64() const { return encoding_ == Encoding::Base64; }
    bool encoded() const { return encoding_ != Encoding::Plain; }
    std::u16string decoded(const Context& context) const;
    void setBody(std::string body, bool folds);
    void setBytes(const std::string& bytes, bool v21);
    void setQuotedPrintable(std::string_view plain);

    // raw_ is rebuilt on demand, so that a value that is set part by part is folded only once.
    mutable std::string raw_;
    mutable bool rawIsOld_ = false;
    bool folds_ = true;
    mutable bool textKnown_ = false;
    bool isSet_ = false;
    mutable std::u16string text_; // the decoded value, if textKnown_
    std::string header_;          // in front of the colon, unfolded
    std::string body_;            // behind the colon, unfolded, still encoded
    std::string eol_;
    std::string name_, group_;
    Encoding encoding_ = Encoding::Plain;
    std::vector<Param> params_;
};

} // namespace mb::vcard
