#include "win32/jpeg_outline.h"

namespace platform {
namespace {

enum Marker : std::uint8_t { startOfFrame = 0xC0, endOfFrames = 0xCF, huffmanTables = 0xC4, reserved = 0xC8, arithmeticTables = 0xCC };
enum BareMarker : std::uint8_t { temporary = 0x01, firstRestart = 0xD0, startOfImage = 0xD8, endOfImage = 0xD9, startOfScan = 0xDA };

bool isFrame(unsigned marker) noexcept
{
    return marker >= startOfFrame && marker <= endOfFrames && marker != huffmanTables && marker != reserved && marker != arithmeticTables;
}

bool isRestart(unsigned marker) noexcept { return marker >= firstRestart && marker < startOfImage; }

class Walk {
public:
    explicit Walk(Bytes file) noexcept : file_(file) {}

    std::optional<JpegOutline> run() noexcept
    {
        while (const unsigned marker = nextMarker()) {
            if (marker == endOfImage) return frames_ == 1 && outline_.scans > 0 ? std::optional(outline_) : std::nullopt;
            if (marker == startOfImage || marker == temporary || isRestart(marker)) continue;
            const std::size_t length = at_ + 2 <= file_.size() ? number(at_) : 0;
            if (length < 2 || at_ + length > file_.size()) return std::nullopt;
            if (isFrame(marker) && !readFrame(length)) return std::nullopt;
            if (marker == startOfScan) ++outline_.scans;
            at_ += length;
        }
        return std::nullopt;
    }

private:
    [[nodiscard]] std::uint32_t number(std::size_t at) const noexcept { return file_[at] * 256u + file_[at + 1]; }

    // Moves behind the next marker and returns its code; 0 at the end of the file. In the data of a scan, 0xFF 0x00 is no marker.
    unsigned nextMarker() noexcept
    {
        for (; at_ + 1 < file_.size(); ++at_) {
            const unsigned code = file_[at_ + 1];
            if (file_[at_] != 0xFF || code == 0 || code == 0xFF) continue;
            at_ += 2;
            return code;
        }
        return 0;
    }

    bool readFrame(std::size_t length) noexcept
    {
        ++frames_;
        if (length < 8) return false;
        outline_.height = number(at_ + 3);
        outline_.width = number(at_ + 5);
        outline_.components = file_[at_ + 7];
        return true;
    }

    Bytes file_;
    std::size_t at_ = 0;
    int frames_ = 0;
    JpegOutline outline_;
};

} // namespace

std::optional<JpegOutline> outlineOf(Bytes file) noexcept { return Walk(file).run(); }

} // namespace platform
