#include "config/ConfItemList_cls.h"
#include "config/TessanAssert.h"
#include "config/TextFormat.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <clocale>

namespace {

TEST(ConfItem, BoolRecognitionAndDefaults)
{
    ConfItemList_cls list;
    ConfItemBOOL_cls toolTip;
    ConfItemINT_cls other;
    list.Add(&toolTip, L"ToolTip=", L"0");
    list.Add(&other, L"Other=", L"7");
    EXPECT_FALSE(toolTip.Get());

    EXPECT_TRUE(list.ReadStrLineAll(L"ToolTip=1"));
    EXPECT_TRUE(toolTip.Get());
    EXPECT_TRUE(list.ReadStrLineAll(L"ToolTip="));
    EXPECT_FALSE(toolTip.Get()) << "key followed by nothing reads as 0";
    // Unknown lines are ignored and leave the defaults.
    EXPECT_FALSE(list.ReadStrLineAll(L"Unknown=5"));
    EXPECT_EQ(other.Get(), 7);
}

TEST(ConfItem, UnanchoredSearchFindsKeyAnywhere)
{
    ConfItemUINT_cls xy;
    xy.SetItem(L"DF3CritXYMemoryMB=", L"200");
    EXPECT_TRUE(xy.ReadStrLine(L"   DF3CritXYMemoryMB=300"));
    EXPECT_EQ(xy.Get(), 300u);
    // A key that is the tail of another key matches that key's line too (kept as it is).
    ConfItemINT_cls tail;
    tail.SetItem(L"MemoryMB=", L"1");
    EXPECT_TRUE(tail.ReadStrLine(L"DF3CritXYMemoryMB=42"));
    EXPECT_EQ(tail.Get(), 42);
    // The value starts after the first occurrence of the key.
    ConfItemSTR_cls s;
    s.SetItem(L"A=", L"");
    EXPECT_TRUE(s.ReadStrLine(L"xA=bA=c"));
    EXPECT_EQ(s.Get(), L"bA=c");
}

TEST(ConfItem, NumericParsingAndFormats)
{
    ConfItemFLOAT_cls f;
    f.SetItem(L"Alpha=", L"0.5");
    EXPECT_EQ(f.Serialize(), L"Alpha=0.500000\n");
    ConfItemDOUBLE_cls d;
    d.SetItem(L"Time=", L"0.125");
    EXPECT_EQ(d.Serialize(), L"Time=0.125\n");
    d.Set(1234567.0);
    EXPECT_EQ(d.Serialize(), L"Time=1.23457e+06\n") << "%g keeps six significant digits";

    ConfItemUINT_cls u;
    u.SetItem(L"U=", L"0");
    u.ReadStrLine(L"U=-1");
    EXPECT_EQ(u.Get(), 4294967295u) << "unsigned items take strtol's value modulo 2^32";
    EXPECT_EQ(u.Serialize(), L"U=4294967295\n");

    ConfItemINT_cls i;
    i.SetItem(L"I=", L"5");
    i.ReadStrLine(L"I=abc");
    EXPECT_EQ(i.Get(), 0) << "text that is not a number reads as 0";
    i.ReadStrLine(L"I=  -12xyz");
    EXPECT_EQ(i.Get(), -12);
    i.ReadStrLine(L"I=3\r\n");
    EXPECT_EQ(i.Get(), 3);
}

TEST(ConfItem, StringEscapesAndSkip)
{
    ConfItemSTR_cls s;
    s.SetItem(L"Name=", L"x");
    EXPECT_TRUE(s.ReadStrLine(L"Name=a\\nb"));
    EXPECT_EQ(s.Get(), L"a\nb");
    EXPECT_EQ(s.Serialize(), L"Name=a\\nb\n");
    s.Set(L"!!SKIP!!");
    EXPECT_EQ(s.Serialize(), L"");
    s.Set(L"C:\\My Data\\x.df3");
    s.ReplaceSeparator();
    EXPECT_EQ(s.Get(), L"C:/My\\ Data/x.df3");
    // Non-ASCII text survives a round trip.
    s.Set(L"Dichte \u00e4\u00f6\u00fc");
    ConfItemSTR_cls t;
    t.SetItem(L"Name=", L"");
    EXPECT_TRUE(t.ReadStrLine(StripLineEnd(s.Serialize())));
    EXPECT_EQ(t.Get(), s.Get());
}

TEST(ConfItem, ArraysHaveTheDefaultsDimension)
{
    ConfItemFLOATARRAY_cls fa;
    fa.SetItem(L"Pos=", L"1 2 3");
    EXPECT_EQ(fa.GetDimension(), 3);
    EXPECT_EQ(fa.Serialize(), L"Pos=1.000000 2.000000 3.000000\n");
    fa.ReadStrLine(L"Pos=0.5   -1 x");
    EXPECT_FLOAT_EQ(fa[0], 0.5f);
    EXPECT_FLOAT_EQ(fa[1], -1.0f);
    EXPECT_FLOAT_EQ(fa[2], 0.0f);
    fa.ReadStrLine(L"Pos=9");
    EXPECT_FLOAT_EQ(fa[0], 9.0f);
    EXPECT_FLOAT_EQ(fa[1], 0.0f) << "missing elements read as 0";

    ConfItemBOOLARRAY_cls ba;
    ba.SetItem(L"Double=", L"0 1");
    EXPECT_EQ(ba.Serialize(), L"Double=0 1\n");
    ConfItemUINTARRAY_cls ua;
    ua.SetItem(L"DownSizeSRC=", L"1 1 1");
    ua.ReadStrLine(L"DownSizeSRC=2 3 4");
    EXPECT_EQ(ua.Serialize(), L"DownSizeSRC=2 3 4\n");
    ConfItemINTARRAY_cls ia;
    ia.SetItem(L"I=", L"-1");
    EXPECT_EQ(ia.GetDimension(), 1);
    EXPECT_EQ(ia.Serialize(), L"I=-1\n");
}

TEST(ConfItem, MoreThanThreeElementsIsAProgrammingError)
{
    std::vector<std::string> failures;
    AssertHandler old = SetAssertHandler([&](const char* expr, const char* source, const char*, int) {
        failures.push_back(std::string(source) + ": " + expr);
    });
    EXPECT_EQ(ConfArray_cls::CountDimension(L"1 2 3"), 3);
    EXPECT_TRUE(failures.empty());
    EXPECT_EQ(ConfArray_cls::CountDimension(L"1 2 3 4"), 4);
    SetAssertHandler(old);
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0], "SRC/CONFITEM/clsConfItem: dimension < 4");
}

TEST(ConfItem, ListReadsEveryMatchingItemAndSerialisesInOrder)
{
    ConfItemList_cls list;
    ConfItemINT_cls a, b;
    ConfItemSTR_cls c;
    list.Add(&a, L"Width=", L"640");
    list.Add(&b, L"ImgWidth=", L"320"); // Width= is its tail: both take an "ImgWidth=" line
    list.Add(&c, L"Title=", L"!!SKIP!!");
    EXPECT_TRUE(list.ReadStrLineAll(L"ImgWidth=800"));
    EXPECT_EQ(a.Get(), 800);
    EXPECT_EQ(b.Get(), 800);
    EXPECT_EQ(list.SerializeAll(), L"Width=800\nImgWidth=800\n");
    EXPECT_EQ(list.Find(L"ImgWidth="), &b);
    EXPECT_EQ(list.Find(L"Nope="), nullptr);
}

TEST(ConfItem, LocaleIndependentNumbers)
{
    ConfItemFLOAT_cls f;
    f.SetItem(L"F=", L"0.25");
    ConfItemDOUBLE_cls d;
    d.SetItem(L"D=", L"2.5");
    const std::wstring cText = f.Serialize() + d.Serialize();
    ScopedCommaLocale comma;
    if (!comma.Active())
        GTEST_SKIP() << "no locale with a decimal comma installed";
    EXPECT_EQ(f.Serialize() + d.Serialize(), cText);
    EXPECT_TRUE(f.ReadStrLine(L"F=1.75"));
    EXPECT_FLOAT_EQ(f.Get(), 1.75f);
    EXPECT_EQ(StrPrintf("%.2f", 3.5), "3.50");
}

TEST(TextFormat, Utf8RoundTripAndInvalidBytes)
{
    std::wstring w = L"a\u00e9\u4e2d\U0001F600";
    EXPECT_EQ(Widen(Narrow(w)), w);
    EXPECT_EQ(Narrow(L"\u00e9"), "\xc3\xa9");
    EXPECT_EQ(Widen("a\xff" "b"), L"a\uFFFDb");
    EXPECT_EQ(Widen("\xe4\xb8"), L"\uFFFD\uFFFD") << "truncated sequence";
}

} // namespace
