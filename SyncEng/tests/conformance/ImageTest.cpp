#include "image.h"
#include "ConformanceTest.h"
#include "TestImages.h"

namespace mbtest {
namespace {

namespace fs = std::filesystem;

std::string bytesOf(const fs::path& file, const TestFolder& folder) { return folder.read(file); }

// Reads the images of one record, as the engine does.
class Pictures {
public:
    Pictures(const Translator& translator, const std::u16string& id, const std::vector<ListedField>& fields)
        : translator_(translator), images_(translator.as<IImageSupport>()), id_(id), fields_(fields)
    {
        EXPECT_EQ(translator_->BeginReadRecord(id_.get()), S_OK);
    }
    Pictures(const Pictures&) = delete;
    Pictures& operator=(const Pictures&) = delete;
    ~Pictures() { EXPECT_EQ(translator_->EndReadRecord(id_.get()), S_OK); }

    bool has(LONG type)
    {
        VARIANT_BOOL answer = VARIANT_FALSE;
        EXPECT_EQ(images_->HasFieldValue(id_.get(), field(type), &answer), S_OK);
        return answer != VARIANT_FALSE;
    }
    LONGLONG size(LONG type)
    {
        LONGLONG bytes = -1;
        EXPECT_EQ(images_->BeginReadImageData(id_.get(), field(type)), S_OK);
        EXPECT_EQ(images_->GetImageDataSize(&bytes), S_OK);
        EXPECT_EQ(images_->EndReadImageData(id_.get(), field(type)), S_OK);
        return bytes;
    }
    std::u16string hash(LONG type)
    {
        com::Bstr text;
        EXPECT_EQ(images_->BeginReadImageData(id_.get(), field(type)), S_OK);
        EXPECT_EQ(images_->GetImageDataHash(text.put()), S_OK);
        EXPECT_EQ(images_->EndReadImageData(id_.get(), field(type)), S_OK);
        return text.text();
    }
    // Returns the bytes of the file that the translator hands out, and deletes the file as the engine does.
    std::string read(LONG type, const TestFolder& folder)
    {
        com::Variant value;
        EXPECT_EQ(translator_->ReadField(id_.get(), field(type), value.put()), S_OK);
        if (value.text().empty()) return {};
        const fs::path file(value.text());
        std::string bytes = bytesOf(file, folder);
        EXPECT_TRUE(fs::remove(file));
        return bytes;
    }

private:
    const GUID& field(LONG type) const { return std::ranges::find(fields_, type, &ListedField::type)->guid; }
    Translator translator_;
    com::Ptr<IImageSupport> images_;
    com::Bstr id_;
    const std::vector<ListedField>& fields_;
};

class Images : public Conformance {
protected:
    void SetUp() override
    {
        Conformance::SetUp();
        for (const auto& [file, width] : {std::pair{&small, 16u}, {&large, 60u}}) {
            *file = subject().folder.path() / ("picture" + std::to_string(width) + ".jpg");
            ASSERT_TRUE(platform::saveImage(makePicture(width, 20), *file, platform::ImageFormat::Jpeg));
        }
        last = fieldOf(ftLastName);
        front = position(ftImage1);
        back = position(ftImage2);
    }
    std::size_t position(LONG type) const
    {
        const auto at = std::ranges::find(fields_, type, &ListedField::type);
        EXPECT_NE(at, fields_.end());
        return static_cast<std::size_t>(at - fields_.begin());
    }
    std::string content(const fs::path& file) { return bytesOf(file, subject().folder); }
    std::string held(const Translator& translator, const std::u16string& id, LONG type)
    {
        return Pictures(translator, id, fields_).read(type, subject().folder);
    }
    fs::path small, large;
    std::size_t last = 0, front = 0, back = 0;
};

} // namespace

TEST_P(Images, ImageFieldsHaveTheirTypeAndUseJpegFiles)
{
    EXPECT_EQ(fields_[front].dataType, dtImage);
    EXPECT_EQ(fields_[back].dataType, dtImage);
    ULONG caps = 0;
    Translator translator = subject().create();
    EXPECT_EQ(translator->GetTranslatorCaps(&caps), S_OK);
    EXPECT_EQ(caps & (capDIBImage | capBMPFile | capJPEGFile), ULONG{capJPEGFile});
}

TEST_P(Images, ImagesAreReadAsTheyWereWritten)
{
    Translator translator = open();
    const std::u16string id = addAlone(translator, {{last, u"Lovelace"}, {front, small.u16string()}, {back, large.u16string()}});
    for (int turn = 0; turn < 2; ++turn) {
        {
            Pictures pictures(translator, id, fields_);
            EXPECT_TRUE(pictures.has(ftImage1));
            EXPECT_EQ(pictures.size(ftImage1), static_cast<LONGLONG>(fs::file_size(small)));
            EXPECT_EQ(pictures.size(ftImage2), static_cast<LONGLONG>(fs::file_size(large)));
            EXPECT_EQ(pictures.read(ftImage1, subject().folder), content(small));
            EXPECT_EQ(pictures.read(ftImage2, subject().folder), content(large));
            EXPECT_EQ(pictures.read(ftImage2, subject().folder), content(large)) << "each read creates another file";
            EXPECT_NE(pictures.hash(ftImage1), pictures.hash(ftImage2));
        }
        close(translator);
        translator = open();
    }
    EXPECT_TRUE(fs::exists(small)) << "the written file still belongs to the engine";
    close(translator);
}

TEST_P(Images, ARecordWithoutAnImageReportsNone)
{
    Translator translator = open();
    const std::u16string id = addAlone(translator, {{last, u"Lovelace"}, {front, u""}, {back, small.u16string()}});
    {
        Pictures pictures(translator, id, fields_);
        EXPECT_FALSE(pictures.has(ftImage1));
        EXPECT_TRUE(pictures.has(ftImage2));
        EXPECT_EQ(pictures.size(ftImage1), 0);
        EXPECT_EQ(pictures.read(ftImage1, subject().folder), "");
    }
    close(translator);
}

TEST_P(Images, APictureIsReplacedAndRemoved)
{
    Translator translator = open();
    std::u16string id = addAlone(translator, {{last, u"Lovelace"}, {front, small.u16string()}});
    DATE before = modified(translator, id);
    for (const fs::path& next : {large, fs::path()}) {
        id = editAlone(translator, id, {{front, next.u16string()}});
        EXPECT_EQ(held(translator, id, ftImage1), next.empty() ? "" : content(next));
        EXPECT_GT(modified(translator, id), before) << "a change of only the image changes the date";
        before = modified(translator, id);
    }
    close(translator);
    translator = open();
    EXPECT_EQ(held(translator, id, ftImage1), "");
    EXPECT_EQ(read(translator, id)[last], u"Lovelace");
    close(translator);
}

TEST_P(Images, AChangeOfAnotherFieldLeavesThePicture)
{
    Translator translator = open();
    std::u16string id = addAlone(translator, {{last, u"Lovelace"}, {front, small.u16string()}});
    id = editAlone(translator, id, {{last, u"Byron"}});
    close(translator);
    translator = open();
    EXPECT_EQ(held(translator, id, ftImage1), content(small));
    EXPECT_EQ(read(translator, id)[last], u"Byron");
    close(translator);
}

TEST_P(Images, ARecordThatIsBeingEditedReportsItsImages)
{
    Translator translator = open();
    const std::u16string id = addAlone(translator, {{last, u"Lovelace"}, {front, small.u16string()}});
    begin(translator);
    com::Bstr key(id);
    const auto images = translator.as<IImageSupport>();
    EXPECT_EQ(translator->BeginEditRecord(key.get()), S_OK);
    VARIANT_BOOL has = VARIANT_FALSE;
    LONGLONG size = 0;
    EXPECT_EQ(images->HasFieldValue(key.get(), fields_[front].guid, &has), S_OK);
    EXPECT_NE(has, VARIANT_FALSE);
    EXPECT_EQ(images->BeginReadImageData(key.get(), fields_[front].guid), S_OK);
    EXPECT_EQ(images->GetImageDataSize(&size), S_OK);
    EXPECT_EQ(images->EndReadImageData(key.get(), fields_[front].guid), S_OK);
    EXPECT_EQ(size, static_cast<LONGLONG>(fs::file_size(small)));
    EXPECT_EQ(translator->SaveRecord(key.inOut()), S_OK);
    end(translator);
    close(translator);
}

TEST_P(Images, ARunWithoutImagesReadsNoneAndChangesNone)
{
    Translator translator = open();
    std::u16string id = addAlone(translator, {{last, u"Lovelace"}, {front, small.u16string()}});
    close(translator);
    translator = open();
    EXPECT_EQ(translator.as<IImageSupport>()->SetAllowImage(VARIANT_FALSE), S_OK);
    {
        Pictures pictures(translator, id, fields_);
        EXPECT_FALSE(pictures.has(ftImage1));
        EXPECT_EQ(pictures.size(ftImage1), 0);
        EXPECT_EQ(pictures.read(ftImage1, subject().folder), "");
    }
    id = editAlone(translator, id, {{last, u"Byron"}, {front, u""}, {back, large.u16string()}});
    close(translator);
    translator = open();
    EXPECT_EQ(held(translator, id, ftImage1), content(small));
    EXPECT_EQ(held(translator, id, ftImage2), "");
    EXPECT_EQ(read(translator, id)[last], u"Byron");
    close(translator);
}

INSTANTIATE_TEST_SUITE_P(All, Images, testing::ValuesIn(contendersWithPictures()), nameOf);

} // namespace mbtest
