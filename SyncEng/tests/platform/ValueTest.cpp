#include "com.h"
#include <gtest/gtest.h>

namespace {
HRESULT dateOf(const char16_t* text, DATE& out) { return VarDateFromStr(const_cast<OLECHAR*>(com::ole(text)), 1024, 0x80000000, &out); }
} // namespace

TEST(Value, ACopiedTextIsIndependent)
{
    const com::Variant a(std::u16string_view(u"abc"));
    const com::Variant b = a;
    EXPECT_EQ(b.text(), u"abc");
    EXPECT_NE(a.bstrVal, b.bstrVal);
}

TEST(Value, ACopiedArrayIsIndependent)
{
    com::Variant a;
    a.vt = VT_ARRAY | VT_BSTR;
    const std::u16string texts[] = {u"x", u"y"};
    a.parray = com::makeTextArray(texts);
    const com::Variant b = a;
    EXPECT_NE(a.parray, b.parray);
    EXPECT_EQ(com::textArray(b.parray), (std::vector<std::u16string>{u"x", u"y"}));
}

TEST(Value, CopyingOntoItselfKeepsTheValue)
{
    com::Variant a(std::u16string_view(u"abc"));
    EXPECT_EQ(VariantCopy(&a, &a), S_OK);
    EXPECT_EQ(a.text(), u"abc");
}

TEST(Value, TextsConvertToNumbersAndBack)
{
    com::Variant v(std::u16string_view(u" -42 "));
    ASSERT_EQ(VariantChangeType(&v, &v, 0, VT_I4), S_OK);
    EXPECT_EQ(v.lVal, -42);
    ASSERT_EQ(VariantChangeType(&v, &v, 0, VT_BSTR), S_OK);
    EXPECT_EQ(v.text(), u"-42");
}

TEST(Value, AnInvalidNumberIsAMismatchAndATooLargeOneAnOverflow)
{
    com::Variant word(std::u16string_view(u"forty")), big(std::u16string_view(u"70000"));
    EXPECT_EQ(VariantChangeType(&word, &word, 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(word.text(), u"forty");
    EXPECT_EQ(VariantChangeType(&big, &big, 0, VT_I2), DISP_E_OVERFLOW);
    EXPECT_EQ(big.text(), u"70000");
}

TEST(Value, ComparesNumbersTextsAndNull)
{
    com::Variant one(LONG{1}), two(LONG{2}), a(std::u16string_view(u"a")), b(std::u16string_view(u"b")), null;
    null.vt = VT_NULL;
    EXPECT_EQ(VarCmp(&one, &two, 0, 0), VARCMP_LT);
    EXPECT_EQ(VarCmp(&b, &a, 0, 0), VARCMP_GT);
    EXPECT_EQ(VarCmp(&a, &a, 0, 0), VARCMP_EQ);
    EXPECT_EQ(VarCmp(&null, &one, 0, 0), VARCMP_NULL);
}

TEST(Value, DatesCountDaysFrom30December1899)
{
    DATE date = 0;
    ASSERT_EQ(dateOf(u"1899-12-31", date), S_OK);
    EXPECT_EQ(date, 1.0);
    ASSERT_EQ(dateOf(u"2000-01-01 12:00:00", date), S_OK);
    EXPECT_EQ(date, 36526.5);
    ASSERT_EQ(dateOf(u"1/1/2000", date), S_OK);
    EXPECT_EQ(date, 36526.0);
    ASSERT_EQ(dateOf(u"1899-12-29 06:00", date), S_OK);
    EXPECT_EQ(date, -1.25);
}

TEST(Value, AnInvalidDateIsAMismatch)
{
    DATE date = 7;
    for (const auto* text : {u"", u"soon", u"2001-02-29", u"2001-01-01 25:00", u"2001-01-01 noon"})
        EXPECT_EQ(dateOf(text, date), DISP_E_TYPEMISMATCH);
}
