#include "foundation/ImageValue.h"

#include "files.h"
#include "foundation/Paths.h"
#include "image.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include "TestImages.h"
#include "text.h"
#include <gtest/gtest.h>

using mb::ConvertImageValue;
using mbtest::difference;
using mbtest::makePicture;
namespace fs = std::filesystem;

namespace {

class ImageValueTest : public testing::Test {
protected:
    com::Variant bmp()
    {
        mbtest::writeBmp(file, 30, 20);
        return com::Variant(file.u16string());
    }
    com::Variant jpeg()
    {
        EXPECT_TRUE(platform::saveImage(picture, file, platform::ImageFormat::Jpeg));
        return com::Variant(file.u16string());
    }
    static fs::path pathIn(const com::Variant& value) { return fs::path(value.text()); }
    static std::int64_t sizeOf(const fs::path& path) { return static_cast<std::int64_t>(fs::file_size(path)); }

    mbtest::TestFolder folder;
    fs::path file = folder.path() / "from";
    const std::u16string picture = makePicture(30, 20);
    const std::int64_t pictureBytes = static_cast<std::int64_t>(picture.size() * 2);
};

} // namespace

TEST_F(ImageValueTest, WithoutForceAnEmptyValueOrEqualFormsAreUnchanged)
{
    com::Variant none;
    EXPECT_EQ(ConvertImageValue(none, capDIBImage, capBMPFile, false), -1);
    com::Variant path(u"/no/such/file");
    EXPECT_EQ(ConvertImageValue(path, capJPEGFile | capTimestamps, capJPEGFile, false), -1);
    EXPECT_EQ(path.text(), u"/no/such/file");
}

TEST_F(ImageValueTest, WithForceAnEmptyValueReturnsZero)
{
    com::Variant none(u"");
    EXPECT_EQ(ConvertImageValue(none, capDIBImage, capDIBImage, true), 0);
    EXPECT_EQ(none.text(), u"");
}

TEST_F(ImageValueTest, ABitmapForABitmapIsUnchangedAndItsSizeReturned)
{
    com::Variant value(picture);
    EXPECT_EQ(ConvertImageValue(value, capDIBImage, capDIBImage | capBMPFile, true), pictureBytes);
    EXPECT_EQ(value.text(), picture);
}

TEST_F(ImageValueTest, AFileForTheSameFormIsUnchangedAndItsSizeReturned)
{
    for (const ULONG form : {ULONG{capBMPFile}, ULONG{capJPEGFile}}) {
        com::Variant value = form == capBMPFile ? bmp() : jpeg();
        EXPECT_EQ(ConvertImageValue(value, form, form, true), sizeOf(file));
        EXPECT_EQ(value.text(), file.u16string());
        EXPECT_TRUE(fs::exists(file));
    }
    com::Variant missing(u"/no/such/file");
    EXPECT_EQ(ConvertImageValue(missing, capBMPFile, capBMPFile, true), 0);
    EXPECT_EQ(missing.text(), u"/no/such/file");
}

TEST_F(ImageValueTest, AJpegFileBecomesABitmapAndIsDeleted)
{
    com::Variant value = jpeg();
    EXPECT_EQ(ConvertImageValue(value, capJPEGFile, capDIBImage, true), pictureBytes);
    EXPECT_EQ(value.text().size() * 2, static_cast<std::size_t>(pictureBytes));
    EXPECT_LE(difference(value.text(), picture), 12);
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(ImageValueTest, ABmpFileBecomesAJpegFileInTheDataFolder)
{
    com::Variant value = bmp();
    const std::int64_t size = ConvertImageValue(value, capBMPFile, capJPEGFile, true);
    const fs::path made = pathIn(value);
    fs::path data;
    ASSERT_EQ(mb::GetUserDataFolder(data), S_OK);
    EXPECT_EQ(made.parent_path(), data);
    EXPECT_EQ(made.extension(), ".JPG");
    EXPECT_EQ(made.stem().string().find_first_not_of("0123456789"), std::string::npos);
    EXPECT_EQ(size, sizeOf(made));
    EXPECT_LE(difference(platform::loadImage(made), picture), 12);
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(ImageValueTest, ABitmapBecomesABmpFile)
{
    com::Variant value(picture);
    EXPECT_EQ(ConvertImageValue(value, capDIBImage, capBMPFile | capJPEGFile, true), 14 + pictureBytes);
    EXPECT_EQ(pathIn(value).extension(), ".BMP");
    EXPECT_EQ(platform::loadImage(pathIn(value)), picture);
}

TEST_F(ImageValueTest, WithoutForceTheSizeOfAWrittenFileIsNotReturned)
{
    com::Variant value(picture);
    EXPECT_EQ(ConvertImageValue(value, capDIBImage, capJPEGFile, false), 0);
    EXPECT_TRUE(fs::exists(pathIn(value)));
    com::Variant file2 = bmp();
    EXPECT_EQ(ConvertImageValue(file2, capBMPFile, capJPEGFile, false), pictureBytes) << "the size of the intermediate bitmap";
}

TEST_F(ImageValueTest, EightBitsHaveATableOf1024BytesAndTwentyFourHaveNone)
{
    for (const unsigned bits : {8u, 24u}) {
        com::Variant value(makePicture(4, 4, bits));
        EXPECT_EQ(value.text().size() * 2, 40u + (bits == 8 ? 1024u : 0u) + 4u * (bits == 8 ? 4u : 12u));
        (void)ConvertImageValue(value, capDIBImage, capBMPFile, true);
        EXPECT_EQ(platform::loadImage(pathIn(value)), makePicture(4, 4, bits));
    }
}

TEST_F(ImageValueTest, AnInvalidSourceFileGivesAnEmptyValue)
{
    mbtest::writeBytes(file, "no picture");
    for (const ULONG target : {ULONG{capDIBImage}, ULONG{capBMPFile}}) {
        com::Variant value(file.u16string());
        EXPECT_EQ(ConvertImageValue(value, capJPEGFile, target, true), 0);
        EXPECT_EQ(value.text(), u"");
        EXPECT_EQ(value.vt, VT_BSTR);
        com::Variant missing(u"/no/such/file");
        EXPECT_EQ(ConvertImageValue(missing, capJPEGFile, target, true), 0);
        EXPECT_EQ(missing.text(), u"");
    }
}

TEST_F(ImageValueTest, AFileThatCannotBeReadIsKept)
{
    mbtest::writeBytes(file, "no picture");
    for (const ULONG target : {ULONG{capDIBImage}, ULONG{capBMPFile}})
        for (const bool force : {false, true}) {
            com::Variant value(file.u16string());
            EXPECT_EQ(ConvertImageValue(value, capJPEGFile, target, force), 0);
            EXPECT_EQ(folder.read(file), "no picture");
        }
}

TEST_F(ImageValueTest, AnInvalidBitmapGivesAnEmptyValueAndNoFile)
{
    com::Variant value(u"these are no pixels, however many of them there are");
    EXPECT_EQ(ConvertImageValue(value, capDIBImage, capJPEGFile, true), 0);
    EXPECT_EQ(value.text(), u"");
    fs::path data;
    ASSERT_EQ(mb::GetUserDataFolder(data), S_OK);
    for (const auto& entry : fs::directory_iterator(data)) EXPECT_NE(entry.path().extension(), ".JPG");
}

TEST_F(ImageValueTest, ABitmapForABitmapIsUnchangedEvenIfBothSidesAlsoTakeFiles)
{
    com::Variant value(picture);
    EXPECT_EQ(ConvertImageValue(value, capDIBImage | capBMPFile, capDIBImage | capBMPFile, true), pictureBytes);
    EXPECT_EQ(value.text(), picture);
}

TEST_F(ImageValueTest, WithoutADataFolderTheBitmapIsUnchanged)
{
    folder.write("data/Zorel", "a file is in the way");
    mbtest::setText(platform::Root::LocalMachine, u"Software\\Zorel\\MBSyncEng", u"InstallPath",
                    platform::textOf(folder.path() / "missing"));
    com::Variant value(picture);
    EXPECT_EQ(ConvertImageValue(value, capDIBImage, capBMPFile, true), 0);
    EXPECT_EQ(value.text(), picture);
    com::Variant from = bmp();
    EXPECT_EQ(ConvertImageValue(from, capBMPFile, capJPEGFile, true), pictureBytes);
    EXPECT_EQ(from.text(), picture);
}

TEST_F(ImageValueTest, AnExistingFileIsReplaced)
{
    fs::path data;
    ASSERT_EQ(mb::GetUserDataFolder(data), S_OK);
    std::srand(7);
    const fs::path used = data / (std::to_string(std::rand()) + ".BMP");
    mbtest::writeBytes(used, "something older");
    std::srand(7);
    com::Variant value(picture);
    (void)ConvertImageValue(value, capDIBImage, capBMPFile, true);
    EXPECT_EQ(pathIn(value), used);
    EXPECT_EQ(platform::loadImage(used), picture);
}

TEST_F(ImageValueTest, AFileForATargetWithoutAnyFormBecomesABitmap)
{
    com::Variant value = bmp();
    EXPECT_EQ(ConvertImageValue(value, capBMPFile, 0, true), pictureBytes);
    EXPECT_EQ(value.text(), picture);
}
