#include "Card.h"

#include <iterator>

namespace mb::vcard {

// Returns the index of the picture's line, or the number of lines if the card has none.
std::size_t Card::imageLine(const Field& field) const
{
    std::size_t at = 0;
    while (at < lines_.size() && (lines_[at].name() != field.property || isOfNoField(lines_[at]) || !lines_[at].hasJpeg())) ++at;
    return at;
}

// Returns nullptr if the card has no such picture.
const Line* Card::lineOfImage(int type) const
{
    const Field* field = findField(type);
    if (!field || field->shape != Shape::Image) return nullptr;
    const std::size_t at = imageLine(*field);
    return at < lines_.size() ? &lines_[at] : nullptr;
}

std::string Card::image(int type) const
{
    const Line* line = lineOfImage(type);
    return line ? line->jpeg() : std::string();
}

std::uint64_t Card::imageSize(int type) const
{
    const Line* line = lineOfImage(type);
    return line ? line->jpegSize() : 0;
}

void Card::addImage(const Field& field, std::string_view jpeg)
{
    const auto at = static_cast<std::ptrdiff_t>(endOfLines());
    Line line = Line::make(std::string(field.property), context_.eol);
    line.setJpeg(jpeg, context_.version);
    std::vector<Line> added{std::move(line)};
    if (context_.version == Version::V21) added.push_back(Line::opaque(context_.eol)); // a blank line ends a base64 value
    claims_.insert(claims_.begin() + at, added.size(), Claim{});
    lines_.insert(lines_.begin() + at, std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
}

bool Card::setImage(int type, std::string_view jpeg)
{
    const Field* field = findField(type);
    if (!field || field->shape != Shape::Image || image(type) == jpeg) return false;
    const std::size_t at = imageLine(*field);
    const auto position = static_cast<std::ptrdiff_t>(at);
    if (at == lines_.size()) {
        addImage(*field, jpeg);
    } else if (jpeg.empty()) {
        lines_.erase(lines_.begin() + position);
        claims_.erase(claims_.begin() + position);
    } else {
        lines_[at].setJpeg(jpeg, context_.version);
    }
    slots_ = resolve(lines_.size());
    return true;
}

} // namespace mb::vcard
