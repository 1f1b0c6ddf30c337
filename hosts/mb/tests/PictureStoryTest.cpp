// The picture of a card on its way between two stores: a JPEG file is a field, any other picture a line, and a card has one.
#include "base64.h"
#include "EndToEndFixture.h"

#include <chrono>

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

const std::string png = "PHOTO:data:image/png;base64,iVBORw0KGgoAAAANSUhEUg==", gif = "PHOTO:data:image/gif;base64,R0lGODlhAQABAA==",
                  webp = "PHOTO:data:image/webp;base64,UklGRiQAAABXRUJQ", linked = "PHOTO:https://example.net/ada.webp";

class PictureStory : public EndToEnd {
protected:
    PictureStory()
    {
        registerPlugins();
        fs::create_directories(one());
        fs::create_directories(folder());
        jpeg = "PHOTO:data:image/jpeg;base64," +
               platform::encodeBase64(textOf(fs::path(PROJECT_FOLDER) / "SyncEng/tests/support/images/plain.jpg"));
    }
    [[nodiscard]] fs::path one() const { return home_ / "One"; }
    // The later call is the later change.
    void write(const fs::path& in, const std::string& picture)
    {
        fs::path file = mbtest::cardWith(in, "Lovelace");
        if (file.empty()) file = in / "ada.vcf";
        putText(file, "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:ada\r\nN:Lovelace;Ada;;;\r\nFN:Ada Lovelace\r\n" + picture + "\r\nEND:VCARD\r\n");
        fs::last_write_time(file, date_ += std::chrono::seconds(2));
    }
    // The unfolded lines of pictures.
    static std::string picturesIn(const fs::path& in)
    {
        std::string text = textOf(mbtest::cardWith(in, "Lovelace")), lines;
        for (std::size_t at = 0; (at = text.find("\r\n ")) != text.npos;) text.erase(at, 3);
        for (std::size_t at = 0; (at = text.find("PHOTO", at)) != text.npos; ++at)
            lines += (lines.empty() ? "" : "\n") + text.substr(at, text.find("\r\n", at) - at);
        return lines;
    }
    std::string sync()
    {
        const Result result = mb({"sync", "--silent"});
        EXPECT_EQ(result.code, 0) << result.error;
        return result.out;
    }
    void expectBoth(const std::string& picture)
    {
        EXPECT_EQ(picturesIn(one()), picture);
        EXPECT_EQ(picturesIn(folder()), picture);
        EXPECT_NE(sync().find("nothing to do"), std::string::npos);
    }
    std::string jpeg;

private:
    fs::file_time_type date_ = fs::file_time_type::clock::now(); // later than the writes of mb
};

} // namespace

TEST_F(PictureStory, EachKindReplacesAnyOtherOnBothSides)
{
    addMap("vCard=" + one().string(), "vCard=" + folder().string());
    write(one(), jpeg);
    (void)sync();
    expectBoth(jpeg);
    for (const std::string& picture : {png, linked, jpeg, gif, webp, jpeg, linked, jpeg}) {
        write(one(), picture);
        (void)sync();
        expectBoth(picture);
        write(folder(), picture == jpeg ? png : jpeg);
        (void)sync();
        expectBoth(picture == jpeg ? png : jpeg);
    }
}

TEST_F(PictureStory, WhereBothChangedThemTheLaterOneWinsAndTheOtherIsNamed)
{
    addMap("vCard=" + one().string(), "vCard=" + folder().string());
    write(one(), jpeg);
    (void)sync();
    write(folder(), linked);
    write(one(), gif);
    EXPECT_NE(sync().find("had: " + linked), std::string::npos);
    expectBoth(gif);
    write(one(), jpeg);
    write(folder(), png);
    EXPECT_NE(sync().find("had: PHOTO: picture, "), std::string::npos);
    expectBoth(png);
}

TEST_F(PictureStory, ACardFileKeepsPicturesThatAreNoField)
{
    for (const fs::path& place : {one(), folder()}) addMap("Mirabook=" + cards(), "vCard=" + place.string());
    for (const std::string& picture : {png, jpeg, webp, linked}) {
        write(one(), picture);
        (void)sync();
        EXPECT_EQ(picturesIn(folder()), picture);
        EXPECT_EQ(picturesIn(one()), picture);
    }
}
