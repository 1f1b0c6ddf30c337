// Lines of details whose value is an embedded file. A store gives the value by length and hash (x-mb-data:image/png,LENGTH,HASH), and the
// whole one on request (whole_details.h), so that a run holds the files of one record at a time, and the history none.
#pragma once
#include "engine/details/DetailsText.h"
#include "engine/PipelinePass.h"

namespace mb {

// The value of a line that gives a file by length and hash; empty for any other line.
std::u16string_view hashedFile(std::u16string_view line);
bool hasHashedFile(const DetailsUnit& unit);

// Whether the side's store gives the files that the text names.
bool GivesFiles(PipelinePass& pass, Side side, std::u16string_view text);

// The line with its whole value; nullopt if `whole` does not have it. `hashed` and `whole` are the two texts of one record.
class WholeFiles {
public:
    // The texts must outlive this object.
    WholeFiles(std::u16string_view hashed, std::u16string_view whole);
    [[nodiscard]] std::optional<std::u16string> lineOf(std::u16string_view line) const;

private:
    std::vector<std::pair<std::u16string_view, std::u16string_view>> values_; // hashed and whole
};

// The line for display: a file in words, such as "PHOTO: PNG picture, 12 KB".
std::u16string shownLine(std::u16string_view line);

// The same for an image of a field. `size`: in octets; -1 if it is unknown.
std::u16string shownPicture(std::u16string_view property, std::int64_t size);

} // namespace mb
