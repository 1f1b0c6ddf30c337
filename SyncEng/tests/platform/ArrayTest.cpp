#include "com.h"
#include <gtest/gtest.h>

TEST(Array, TextsAreStoredAndRead)
{
    const std::u16string texts[] = {u"one", u"", u"three"};
    SAFEARRAY* a = com::makeTextArray(texts);
    EXPECT_EQ(com::textArray(a), (std::vector<std::u16string>{u"one", u"", u"three"}));
    VARTYPE vt = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(a, &vt), S_OK);
    EXPECT_EQ(vt, VT_BSTR);
    EXPECT_EQ(SafeArrayDestroy(a), S_OK);
}

TEST(Array, ElementsAreCopiedInAndOut)
{
    SAFEARRAY* a = SafeArrayCreateVector(VT_BSTR, 5, 2);
    LONG at = 6;
    {
        const com::Bstr text(u"abc");
        EXPECT_EQ(SafeArrayPutElement(a, &at, text.get()), S_OK);
        EXPECT_EQ(SafeArrayPutElement(a, &at, text.get()), S_OK); // frees the previous text
    }
    com::Bstr out;
    EXPECT_EQ(SafeArrayGetElement(a, &at, out.put()), S_OK);
    EXPECT_EQ(out.view(), u"abc");
    at = 7;
    EXPECT_EQ(SafeArrayGetElement(a, &at, out.put()), DISP_E_BADINDEX);
    at = 4;
    EXPECT_EQ(SafeArrayPutElement(a, &at, out.get()), DISP_E_BADINDEX);
    SafeArrayDestroy(a);
}

TEST(Array, EachDimensionHasItsBounds)
{
    SAFEARRAYBOUND bounds[] = {{3, 0}, {2, 10}};
    SAFEARRAY* a = SafeArrayCreate(VT_I4, 2, bounds);
    LONG low = -1, high = -1;
    EXPECT_EQ(SafeArrayGetDim(a), 2u);
    EXPECT_EQ(SafeArrayGetLBound(a, 2, &low), S_OK);
    EXPECT_EQ(SafeArrayGetUBound(a, 2, &high), S_OK);
    EXPECT_EQ(low, 10);
    EXPECT_EQ(high, 11);
    EXPECT_EQ(SafeArrayGetLBound(a, 3, &low), DISP_E_BADINDEX);
    LONG value = 0;
    for (LONG i = 0; i < 3; ++i)
        for (LONG j = 10; j < 12; ++j) {
            LONG at[] = {i, j};
            value = i * 100 + j;
            EXPECT_EQ(SafeArrayPutElement(a, at, &value), S_OK);
        }
    LONG at[] = {2, 11};
    EXPECT_EQ(SafeArrayGetElement(a, at, &value), S_OK);
    EXPECT_EQ(value, 211);
    SafeArrayDestroy(a);
}

TEST(Array, ALockedArrayIsNotDestroyed)
{
    SAFEARRAY* a = SafeArrayCreateVector(VT_I4, 0, 1);
    void* data = nullptr;
    EXPECT_EQ(SafeArrayAccessData(a, &data), S_OK);
    EXPECT_EQ(SafeArrayDestroy(a), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnaccessData(a), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(a), E_UNEXPECTED);
    EXPECT_EQ(SafeArrayDestroy(a), S_OK);
}
