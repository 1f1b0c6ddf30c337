// One line of a card: its bytes as they stand in the file, and what they say. The bytes change only when the value is set.
#pragma once
#include "LineHeader.h"

#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

enum class Version { V21, V30, V40 };

// What the bytes of a card mean where a line does not say it.
struct Context {
    Version version = Version::V30;
    std::string charset;           // of lines without CHARSET
    std::string_view eol = "\r\n"; // of lines that are added
};

struct Param {
    std::string name;  // upper-case; the bare words of vCard 2.1 are named TYPE or ENCODING
    std::string value; // without its quotes
};

class Line {
public:
    // A line of the file. Lines that are no property of the card itself (BEGIN, END, blank ones, a card inside) are opaque.
    static Line parse(std::string_view raw, Version version);
    static Line opaque(std::string_view raw);
    // A line that is not in the file yet: everything in front of the colon.
    static Line make(std::string header, std::string_view eol);

    const std::string& raw() const;
    const std::string& name() const { return name_; }   // upper-case, without the group; empty for an opaque line
    const std::string& group() const { return group_; } // upper-case
    const std::string* param(std::string_view name) const;
    bool hasType(std::string_view type) const;
    bool isSet() const { return isSet_; } // its value was set since it was parsed or made
    bool openEnded() const;               // a soft line break at its end would swallow a line put behind it

    // The value as text, with its escapes still in it: what separators are looked for in.
    const std::u16string& value(const Context& context) const;
    // Writes the value in the line's own encoding. Where that cannot hold it, the line gets CHARSET and ENCODING parameters.
    void setValue(std::u16string escaped, const Context& context);
    // A JPEG file that the value holds in base64, in a parameter's form or as a data: address; empty for anything else.
    std::string jpeg() const;
    std::uint64_t jpegSize() const; // without decoding it
    bool hasJpeg() const;
    void setJpeg(std::string_view bytes, Version version);
    // Names the charset that the value is read in, if it would be read otherwise once the card's own charset is taken for another one.
    void keepCharset(const Context& read, const Context& assumed);
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
    void setParam(std::string_view name, std::string_view value);

    // A value that is set part by part is put into its final form once, when the bytes are asked for.
    mutable std::string raw_;
    mutable bool rawIsOld_ = false;
    bool folds_ = true;
    mutable bool textKnown_ = false;
    bool isSet_ = false;
    mutable std::u16string text_; // the value, once it was asked for
    std::string header_;          // unfolded, in front of the colon
    std::string body_;            // unfolded, behind the colon, still encoded
    std::string eol_;
    std::string name_, group_;
    Encoding encoding_ = Encoding::Plain;
    std::vector<Param> params_;
};

} // namespace mb::vcard
