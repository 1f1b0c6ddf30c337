// A map that is pointed at the place that one of its stores was moved to.
#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::person;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class StoreMove : public testing::Test {
protected:
    StoreMove()
    {
        s.one().options.database = u"/home/ada/cards.db";
        s.two().options.database = u"/home/ada/old.vcf";
        s.one().add(person(u"Ada", u"Lovelace"));
        s.one().add(person(u"Grace", u"Hopper"));
        EXPECT_EQ(s.sync(), S_OK);
    }
    HRESULT move(const char16_t* database, bool force = false)
    {
        known = missing = -1;
        message = com::Bstr();
        const auto mover = s.maps().as<IStoreMove>();
        return mover->MoveStore(s.map(), idTrans2, com::Bstr(database).get(), force ? VARIANT_TRUE : VARIANT_FALSE, &known, &missing,
                                message.put());
    }
    std::u16string recordedDatabase()
    {
        com::Bstr one, two;
        EXPECT_EQ(s.maps()->GetLastSyncDatabase(s.map(), one.put(), two.put()), S_OK);
        return two.text();
    }
    void expectNothingToDo()
    {
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.writes(), IsEmpty());
        EXPECT_THAT(s.lastLog(), Not(HasSubstr("has been changed since previous synchronization")));
    }
    SyncScenario s;
    LONG known = 0, missing = 0;
    com::Bstr message;
};

} // namespace

TEST_F(StoreMove, AStoreWithTheSameRecordsGoesOnFromItsHistory)
{
    ASSERT_EQ(move(u"/media/phone/old.vcf"), S_OK);
    EXPECT_EQ(known, 2);
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(s.two().options.database, u"/media/phone/old.vcf");
    EXPECT_EQ(recordedDatabase(), u"/media/phone/old.vcf");
    expectNothingToDo();
}

TEST_F(StoreMove, AStoreThatMissesRecordsIsToldAndNothingChanges)
{
    s.two().remove(std::u16string(s.two().order.front()));
    EXPECT_EQ(move(u"/media/phone/other.vcf"), S_FALSE);
    EXPECT_EQ(known, 2);
    EXPECT_EQ(missing, 1);
    EXPECT_EQ(s.two().options.database, u"/home/ada/old.vcf");
    EXPECT_EQ(recordedDatabase(), u"/home/ada/old.vcf");
}

TEST_F(StoreMove, WithForceItIsTakenAllTheSame)
{
    s.two().remove(std::u16string(s.two().order.front()));
    EXPECT_EQ(move(u"/media/phone/other.vcf", true), S_OK);
    EXPECT_EQ(missing, 1);
    EXPECT_EQ(recordedDatabase(), u"/media/phone/other.vcf");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().order.size(), 1u) << "what the store misses was deleted there";
}

TEST_F(StoreMove, IdentifiersThatContainTheOldNameFollow)
{
    int made = 0;
    s.two().options.makeId = [&](int) { return u"old.vcf#" + std::u16string(1, static_cast<char16_t>(u'a' + made++)); };
    s.one().add(person(u"Alan", u"Turing"));
    s.one().add(person(u"Kurt", u"Goedel"));
    ASSERT_EQ(s.sync(), S_OK);
    for (const char16_t* end : {u"a", u"b"}) {
        const std::u16string before = std::u16string(u"old.vcf#") + end;
        const auto values = s.two().records.find(before)->second;
        s.two().remove(before);
        s.two().add(std::u16string(u"new.vcf#") + end, values.values);
    }
    ASSERT_EQ(move(u"/media/phone/new.vcf"), S_OK);
    EXPECT_EQ(known, 4);
    EXPECT_EQ(missing, 0);
    EXPECT_THAT(s.rememberedRecords(idTrans2), testing::IsSupersetOf({u"new.vcf#a", u"new.vcf#b"}));
    expectNothingToDo();
}

TEST_F(StoreMove, AStoreThatCannotBeOpenedIsToldAndNothingChanges)
{
    s.two().options.errorMessage1 = u"The folder is not there.";
    s.log().failOn("2 Initialize", s.log().count("2 Initialize") + 1, static_cast<HRESULT>(0x80040202));
    EXPECT_EQ(move(u"/media/phone/none"), static_cast<HRESULT>(0x80040202));
    EXPECT_EQ(message.text(), u"The folder is not there.");
    EXPECT_EQ(s.two().options.database, u"/home/ada/old.vcf");
    EXPECT_EQ(recordedDatabase(), u"/home/ada/old.vcf");
}

TEST_F(StoreMove, ARecordThatCannotBeLookedForIsAFailureAndNotMissing)
{
    s.log().failOn("2 FindRecord", s.log().count("2 FindRecord") + 2, static_cast<HRESULT>(0x80040208));
    EXPECT_EQ(move(u"/media/phone/old.vcf"), static_cast<HRESULT>(0x80040208));
    EXPECT_EQ(recordedDatabase(), u"/home/ada/old.vcf");
}

TEST_F(StoreMove, TheListOfCategoriesGoesAlong)
{
    s.one().options.categories = s.two().options.categories = true;
    s.one().addCategory(u"Friends");
    ASSERT_EQ(s.sync(), S_OK);
    ASSERT_EQ(move(u"/media/phone/old.vcf"), S_OK);
    GUID categories{};
    ASSERT_EQ(s.maps()->GetCategoryGuid(s.map(), &categories), S_OK);
    com::Bstr one, two;
    ASSERT_EQ(s.maps()->GetLastSyncDatabase(categories, one.put(), two.put()), S_OK);
    EXPECT_EQ(two.text(), u"/media/phone/old.vcf");
    expectNothingToDo();
}
