#include "SyncScenario.h"

namespace {

using mbtest::SyncScenario;

constexpr const CLSID* classes[] = {&__uuidof(TrServices),   &__uuidof(TrManager),   &__uuidof(TranslatorBridge), &__uuidof(SyncTransfer),
                                    &__uuidof(Synchronizer), &__uuidof(LogFile),     &__uuidof(InteropDummy),     &__uuidof(FieldMap),
                                    &__uuidof(DataStream),   &__uuidof(SyncAutoTest)};

} // namespace

TEST(Classes, AllTenCanBeMade)
{
    SyncScenario s;
    for (const CLSID* clsid : classes) EXPECT_TRUE(s.create<IUnknown>(*clsid)) << com::guidText(*clsid).size();
}

TEST(Classes, TheInteropDummyOffersTheOptionalInterfacesAndDoesNothing)
{
    SyncScenario s;
    const auto dummy = s.create<IInteropDummy>(__uuidof(InteropDummy));
    EXPECT_EQ(dummy->DummyMethod(capImport, dtString, ffPhoneNumber, rsNotPresent, ftNotes, soSyncType, croMerge, stSynchronize), S_OK);
    EXPECT_TRUE(dummy.tryAs<ITranslatorInfo>() && dummy.tryAs<ITranslatorInfoEx>() && dummy.tryAs<IFieldList>() && dummy.tryAs<IField>());
    EXPECT_TRUE(dummy.tryAs<IRecordUpdater>() && dummy.tryAs<ICategories>() && dummy.tryAs<IDynamicFieldLoader>());
    EXPECT_TRUE(dummy.tryAs<IFieldValidator>() && dummy.tryAs<IImageSupport>() && dummy.tryAs<IPIMUserAccess>());
    EXPECT_TRUE(dummy.tryAs<IPIMSetUp>() && dummy.tryAs<IProductMatcher>() && dummy.tryAs<IRecordVerifier>());
    EXPECT_TRUE(dummy.tryAs<IDuplicateFinder>() && dummy.tryAs<ITranslatorTest>());
    EXPECT_FALSE(dummy.tryAs<ITranslator>()) << "it is no translator";
    LONG count = 0;
    EXPECT_EQ(dummy.as<IFieldList>()->GetCount(&count), E_NOTIMPL);
}
