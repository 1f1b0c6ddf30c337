#include "MappedFields.h"

#include "FakeTranslator.h"
#include "RegisteredMap.h"
#include "TestFolder.h"

#include <gmock/gmock.h>

namespace mb::plugin {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class MappedFieldsTest : public testing::Test {
protected:
    MappedFieldsTest()
    {
        for (mbtest::FakeStore* store : {one_.get(), two_.get()}) store->addImageFields();
        translator1_ = make("1", one_);
        translator2_ = make("2", two_);
    }
    com::Ptr<ITranslator> make(const std::string& name, const std::shared_ptr<mbtest::FakeStore>& store)
    {
        com::Ptr<ITranslator> made;
        com::check(mbtest::createFake({name, store, log_}, nullptr, __uuidof(ITranslator), made.putVoid()));
        return made;
    }
    [[nodiscard]] std::pair<GUID, GUID> pair(LONG type1, LONG type2) const { return {one_->guidOf(type1), two_->guidOf(type2)}; }
    std::vector<MappedField> ask(const GUID& map) { return mappedFields(map, translator1_.get(), translator2_.get()); }
    HRESULT failure(const GUID& map)
    {
        return com::guarded([&] { (void)ask(map); });
    }

    mbtest::TestFolder folder_;
    std::shared_ptr<mbtest::FakeStore> one_ = std::make_shared<mbtest::FakeStore>(u"A"), two_ = std::make_shared<mbtest::FakeStore>(u"B");
    std::shared_ptr<mbtest::CallLog> log_ = std::make_shared<mbtest::CallLog>();
    com::Ptr<ITranslator> translator1_, translator2_;
};

TEST_F(MappedFieldsTest, ReturnsTheFieldPairsOfTheMap)
{
    const mbtest::RegisteredMap map(folder_.path(), {pair(ftTitle, ftNotes), pair(ftImage2, ftImage1), pair(ftLastName, ftLastName)});
    const auto fields = ask(map.id());
    ASSERT_THAT(fields, SizeIs(3));
    EXPECT_EQ(fields[0].other, one_->guidOf(ftTitle));
    EXPECT_EQ(fields[0].own, ftNotes);
    EXPECT_FALSE(fields[0].image);
    EXPECT_EQ(fields[1].other, one_->guidOf(ftImage2));
    EXPECT_EQ(fields[1].own, ftImage1);
    EXPECT_TRUE(fields[1].image);
    EXPECT_EQ(fields[2].own, ftLastName);
}

TEST_F(MappedFieldsTest, APairWithAFieldThatItsSideDoesNotKnowIsLeftOut)
{
    const mbtest::RegisteredMap map(folder_.path(), {pair(ftHobby, ftTitle), pair(ftTitle, ftTitle), pair(ftNotes, ftHobby)});
    const auto fields = ask(map.id());
    ASSERT_THAT(fields, SizeIs(1));
    EXPECT_EQ(fields[0].own, ftTitle);
}

TEST_F(MappedFieldsTest, ThePairOfDetailsIsLeftOut)
{
    for (mbtest::FakeStore* store : {one_.get(), two_.get()}) store->addDetailsField();
    const mbtest::RegisteredMap map(folder_.path(), {pair(ftDetails, ftDetails), pair(ftTitle, ftTitle), pair(ftNotes, ftDetails)});
    const auto fields = ask(map.id());
    ASSERT_THAT(fields, SizeIs(2));
    EXPECT_EQ(fields[0].own, ftTitle);
    EXPECT_EQ(fields[0].other, one_->guidOf(ftTitle));
    EXPECT_EQ(fields[1].own, ftDetails) << "a text like any other";
}

TEST_F(MappedFieldsTest, OfTwoFieldsOfOneTypeOnSideOneTheLastIsCompared)
{
    // The engine keeps a record's values by type, so the last field of a type wins.
    one_->fields.push_back({ftTitle, u"Another title", 0, 0, dtString, 1});
    const GUID another = one_->guidOf(one_->fields.back());
    const mbtest::RegisteredMap map(folder_.path(), {pair(ftTitle, ftTitle), {another, two_->guidOf(ftNotes)}});
    const auto fields = ask(map.id());
    ASSERT_THAT(fields, SizeIs(2));
    EXPECT_EQ(fields[0].other, another);
    EXPECT_EQ(fields[0].own, ftTitle);
    EXPECT_EQ(fields[1].other, another);
    EXPECT_EQ(fields[1].own, ftNotes);
}

TEST_F(MappedFieldsTest, AnImageThatIsMappedToATextIsRefused)
{
    const mbtest::RegisteredMap map(folder_.path(), {pair(ftLastName, ftLastName), pair(ftImage1, ftNotes)});
    EXPECT_EQ(failure(map.id()), E_FAIL);
}

TEST_F(MappedFieldsTest, AnUnknownMapIsAFailureAndAnEmptyMapIsNot)
{
    const mbtest::RegisteredMap map(folder_.path(), {});
    EXPECT_THAT(ask(map.id()), IsEmpty());
    EXPECT_TRUE(FAILED(failure(com::newGuid())));
}

TEST_F(MappedFieldsTest, FailsWithoutTheEngine)
{
    GUID id;
    {
        const mbtest::RegisteredMap map(folder_.path(), {pair(ftLastName, ftLastName)});
        id = map.id();
        EXPECT_EQ(failure(id), S_OK);
    }
    EXPECT_EQ(failure(id), REGDB_E_CLASSNOTREG);
}

TEST_F(MappedFieldsTest, FailsIfATranslatorDoesNotDescribeItsFields)
{
    const mbtest::RegisteredMap map(folder_.path(), {pair(ftLastName, ftLastName)});
    one_->options.field = false;
    EXPECT_EQ(failure(map.id()), E_NOINTERFACE);
    one_->options.field = true;
    // The field map asks for each type first.
    log_->failOn("2 GetFieldType", 2, E_ABORT);
    EXPECT_EQ(failure(map.id()), E_ABORT);
}

} // namespace
} // namespace mb::plugin
