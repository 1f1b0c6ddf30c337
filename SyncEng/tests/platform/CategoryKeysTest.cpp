// Component categories as keys of our own registry file (Linux).
#include "categories.h"

#include "ClassesOf.h"
#include "registry.h"
#include "TestFolder.h"
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

using namespace platform;
using mbtest::classesOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr GUID guid(unsigned char n) { return {0x11111100u + n, 0x2222, 0x3333, {0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB}}; }
constexpr GUID one = guid(1), two = guid(2), three = guid(3), cards = guid(100), mails = guid(101);

// No file can grow while this object lives.
class FullDisk {
public:
    FullDisk() : former_(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &limit_);
        const rlimit none{0, limit_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &limit_);
        std::signal(SIGXFSZ, former_);
    }

private:
    void (*former_)(int);
    rlimit limit_{};
};

class CategoryKeys : public testing::Test {
protected:
    mbtest::TestFolder folder;
};

std::ptrdiff_t filesIn(const std::filesystem::path& folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

} // namespace

TEST_F(CategoryKeys, UnregisteringAnUnknownClassOrCategoryReturnsFalse)
{
    EXPECT_EQ(unregisterClassInCategory(one, cards), S_FALSE);
    EXPECT_EQ(unregisterCategory(cards), S_FALSE);
}

TEST_F(CategoryKeys, ACategoryKeepsItsDescription)
{
    EXPECT_EQ(registerCategory(cards, u"Card \u4E2D"), S_OK);
    const std::u16string path = u"Component Categories\\" + com::guidText(cards);
    EXPECT_EQ(RegistryKey::open(Root::ClassesRoot, path)->text(u"409"), u"Card \u4E2D");
    registerCategory(mails, u"Mail");
    EXPECT_EQ(unregisterCategory(cards), S_OK);
    EXPECT_FALSE(RegistryKey::open(Root::ClassesRoot, path));
    EXPECT_TRUE(RegistryKey::open(Root::ClassesRoot, u"Component Categories\\" + com::guidText(mails)));
}

TEST_F(CategoryKeys, AKeyThatIsNoClassIdentifierIsSkipped)
{
    createKeyPath(Root::ClassesRoot, u"CLSID\\notes\\Implemented Categories\\" + com::guidText(cards));
    createKeyPath(Root::ClassesRoot, u"CLSID\\{11111101-2222}\\Implemented Categories\\" + com::guidText(cards));
    registerClassInCategory(one, cards);
    EXPECT_THAT(classesOf(cards), ElementsAre(one));
}

TEST_F(CategoryKeys, AnEnumerationListsTheClassesAtItsOpening)
{
    registerClassInCategory(one, cards);
    registerClassInCategory(two, cards);
    CategoryClasses classes;
    ASSERT_EQ(classes.open(cards), S_OK);
    unregisterClassInCategory(two, cards);
    CLSID clsid{};
    EXPECT_EQ(classes.next(&clsid), S_OK);
    EXPECT_EQ(classes.next(&clsid), S_OK);
    EXPECT_EQ(clsid, two);
    EXPECT_EQ(classes.next(&clsid), S_FALSE);
    ASSERT_EQ(classes.open(cards), S_OK); // starts again
    EXPECT_EQ(classes.next(&clsid), S_OK);
    EXPECT_EQ(clsid, one);
    EXPECT_EQ(classes.next(&clsid), S_FALSE);
}

TEST_F(CategoryKeys, ARegistryThatCannotBeWrittenDeniesAccess)
{
    registerCategory(cards, u"Cards");
    registerClassInCategory(one, cards);
    const std::ptrdiff_t files = filesIn(folder.path());
    const FullDisk full; // the registry can be read but not replaced
    EXPECT_EQ(registerCategory(mails, u"Mail"), E_ACCESSDENIED);
    EXPECT_EQ(registerClassInCategory(two, cards), E_ACCESSDENIED);
    EXPECT_EQ(unregisterClassInCategory(one, cards), E_ACCESSDENIED);
    EXPECT_EQ(unregisterCategory(cards), E_ACCESSDENIED);
    EXPECT_THAT(classesOf(cards), ElementsAre(one));
    EXPECT_EQ(filesIn(folder.path()), files) << "no temporary file remains";
}
