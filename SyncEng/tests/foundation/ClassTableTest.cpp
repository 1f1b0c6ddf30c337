#include "foundation/ClassTable.h"

#include "foundation/CLogFile.h"
#include <gtest/gtest.h>

using namespace mb;

namespace {

constexpr GUID knownClass{0x1, 0, 0, {1}}, otherClass{0x2, 0, 0, {2}};

HRESULT refuse(IUnknown*, REFIID, void**) noexcept { return E_ACCESSDENIED; }
HRESULT refuseOtherwise(IUnknown*, REFIID, void**) noexcept { return E_ABORT; }

constexpr com::ClassEntry ownRows[] = {{&knownClass, u"Test.Log", u"", com::create<CLogFile>}, {&otherClass, u"Test.No", u"", refuse}};
constexpr com::ClassEntry fakeRows[] = {{&knownClass, u"Test.Fake", u"", refuse}};
constexpr com::ClassEntry innerRows[] = {{&knownClass, u"Test.Inner", u"", refuseOtherwise}};

class ClassTable : public testing::Test {
protected:
    ClassTable() { SetClassTable(ownRows); }
    ~ClassTable() override { SetClassTable({}); }
    com::Ptr<ILogFile> log;
};

} // namespace

TEST_F(ClassTable, AClassOfTheModuleIsCreatedFromTheTable)
{
    EXPECT_EQ(createClass(knownClass, log), S_OK);
    ASSERT_TRUE(log);
    EXPECT_EQ(log->Flush(), E_NOTIMPL);
}

TEST_F(ClassTable, TheResultOfTheTablesFunctionIsReturned)
{
    EXPECT_EQ(createClass(otherClass, log), E_ACCESSDENIED);
    EXPECT_FALSE(log);
}

TEST_F(ClassTable, AClassMissingInTheTableIsCreatedByTheRuntime)
{
    const GUID unknown = com::newGuid();
    EXPECT_EQ(createClass(unknown, log), REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(log);
}

TEST_F(ClassTable, AFakeReplacesAClassWhileItLives)
{
    {
        const ClassOverride fake(fakeRows);
        EXPECT_EQ(createClass(knownClass, log), E_ACCESSDENIED);
        EXPECT_EQ(createClass(otherClass, log), E_ACCESSDENIED); // from the module's table
        {
            const ClassOverride inner(innerRows);
            EXPECT_EQ(createClass(knownClass, log), E_ABORT);
        }
        EXPECT_EQ(createClass(knownClass, log), E_ACCESSDENIED);
    }
    EXPECT_EQ(createClass(knownClass, log), S_OK);
}

TEST_F(ClassTable, AnObjectCanBeAggregated)
{
    com::Ptr<ILogFile> outer;
    ASSERT_EQ(createClass(knownClass, outer), S_OK);
    com::Ptr<IUnknown> inner;
    EXPECT_EQ(createClass(knownClass, outer.get(), __uuidof(IUnknown), inner.putVoid()), S_OK);
    EXPECT_TRUE(inner);
    EXPECT_EQ(createClass(knownClass, outer.get(), __uuidof(ILogFile), log.putVoid()), E_NOINTERFACE);
    EXPECT_FALSE(log);
}
