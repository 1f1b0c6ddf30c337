// The outline of a JPEG file, which is checked before the Windows Imaging Component reads the file.
#include "JpegFiles.h"

#include "image.h"
#include "TestFolder.h"
#include "win32/jpeg_outline.h"
#include <gtest/gtest.h>

using mbtest::JpegKind;
using platform::bytesOf;
using platform::outlineOf;

namespace {

std::string bytesOfKind(const JpegKind& kind)
{
    const mbtest::TestFolder folder;
    return folder.read(mbtest::keptJpeg(kind));
}

} // namespace

TEST(JpegOutline, TheSizeAndComponentsAreFound)
{
    const std::pair<JpegKind, unsigned> kinds[] = {
        {{}, 3}, {{.progressive = true}, 3}, {{.grey = true}, 1}, {{.inks = true}, 4}, {{.inks = true, .adobe = true}, 4}};
    for (const auto& [kind, components] : kinds) {
        const std::string bytes = bytesOfKind(kind);
        const auto outline = outlineOf(bytesOf(bytes));
        ASSERT_TRUE(outline);
        EXPECT_EQ(outline->width, mbtest::jpegWidth);
        EXPECT_EQ(outline->height, mbtest::jpegHeight);
        EXPECT_EQ(outline->components, components);
        EXPECT_EQ(outline->scans > 1, kind.progressive);
    }
}

TEST(JpegOutline, ATruncatedFileHasNone)
{
    const std::string bytes = bytesOfKind({.progressive = true});
    for (std::size_t length = 0; length < bytes.size(); ++length)
        ASSERT_FALSE(outlineOf(bytesOf(std::string_view(bytes).substr(0, length)))) << length;
}

TEST(JpegOutline, AnInvalidFileHasNone)
{
    const std::string frame("\xFF\xC0\x00\x0B\x08\x00\x01\x00\x01\x01\x00\x00\x00", 13), scan("\xFF\xDA\x00\x02", 4);
    EXPECT_TRUE(outlineOf(bytesOf("\xFF\xD8" + frame + scan + "data\xFF\xD9")));
    EXPECT_FALSE(outlineOf(bytesOf("\xFF\xD8" + frame + "\xFF\xD9"))) << "no scan";
    EXPECT_FALSE(outlineOf(bytesOf("\xFF\xD8" + scan + "\xFF\xD9"))) << "no frame";
    EXPECT_FALSE(outlineOf(bytesOf("\xFF\xD8" + frame + frame + scan + "\xFF\xD9"))) << "two frames";
    EXPECT_FALSE(outlineOf(bytesOf(std::string("\xFF\xD8\xFF\xC0\x00\x02\xFF\xD9", 8)))) << "a short frame";
    EXPECT_FALSE(outlineOf(bytesOf(std::string("\xFF\xD8\xFF\xE0\x00\x01\xFF\xD9", 8)))) << "a length below 2";
}

// Without the end mark, a complete picture cannot be distinguished from a truncated one.
TEST(JpegFileTest, APictureWithoutItsEndMarkDoesNotLoad)
{
    const mbtest::TestFolder folder;
    const std::string bytes = bytesOfKind({});
    folder.write("a.jpg", std::string_view(bytes).substr(0, bytes.size() - 2));
    EXPECT_TRUE(platform::loadImage(folder.path() / "a.jpg").empty());
}
