#include "foundation/text/text_string.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "foundation/core/exception.h"

namespace kx {
namespace {

// A private string of `length` units (never external).
template <typename S>
S Units(int32_t length, MChar first = 'a') {
  S text;
  for (int32_t i = 0; i < length; ++i) text.Append(static_cast<MChar>(first + i % 26));
  return text;
}

// Copies share text until one of them changes: every door to mutation leaves
// the others alone, literal, inline and shared alike, and across both classes.
TEST(MStringTest, CopiesAreIndependentOnWrite) {
  static const char kLiteral[] = "literal text";
  for (const MString& expected : {MString(kLiteral), Units<MString>(30), Units<MString>(60)}) {
    SCOPED_TRACE(expected.Length());
    MString original = expected;
    MString copy = original;
    copy.Append('!');
    MString cut = original;
    cut.Delete(0, 1);
    MString copyOfCut = cut;  // a shared text cut short may be copied inline
    EXPECT_EQ(copyOfCut, cut);
    MString replaced = original;
    replaced.Replace('a', 'A');
    replaced.Replace('l', 'L');
    MString inserted = original;
    inserted.Insert(5, "xyz");
    MShortString shortCopy = original;
    shortCopy.Append('?');
    EXPECT_EQ(original, expected);
    EXPECT_EQ(ToStd(copy), ToStd(expected) + "!");
    EXPECT_EQ(ToStd(MString(shortCopy)), ToStd(expected) + "?");
    EXPECT_EQ(ToStd(original.Mid(8)), ToStd(expected).substr(8));
  }
  EXPECT_EQ(MString(kLiteral).ExternalBytes(), kLiteral);  // a literal is referred, not copied
}

TEST(MStringTest, CopiesMutatedOnTwoThreadsStayIndependent) {
  const MString original = Units<MString>(100);
  auto work = [&original](MChar mark) {
    for (int round = 0; round < 2000; ++round) {
      MString copy = original;
      copy.Append(mark);
      copy.Replace('a', mark);
      if (copy.Length() != 101 || copy[0] != mark || copy[100] != mark) ADD_FAILURE();
    }
  };
  std::thread first(work, u'1'), second(work, u'2');
  first.join();
  second.join();
  EXPECT_EQ(original, Units<MString>(100));
}

TEST(MStringTest, CompareFoldsCaseAndAccents) {
  struct Case {
    MString a, b;
    bool equalNoCase;
  };
  const Case cases[] = {
      {"File", "FILE", true},
      {u"Crème Brûlée", "CREME BRULEE", true},
      {u"Łódź", "lodz", true},
      {u"Ærø", "aero", false},  // Æ is a letter of its own, not an accented A
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.a.Compare(c.b) == 0, c.equalNoCase) << ToStd(c.a);
    EXPECT_EQ(c.a.EqualsNoCase(c.b), c.equalNoCase) << ToStd(c.a);
  }
  EXPECT_NE(MString("File").CompareCase("FILE"), 0);
  EXPECT_EQ(MString("abc").Compare("ABD"), 'c' - 'd');
  EXPECT_EQ(MString("xxHello").Compare(2, "HELLOworld", 0, 5), 0);
  // Comparison stops at a zero unit; equality does not.
  const MChar withZeroA[] = {'a', 0, 'b'}, withZeroB[] = {'a', 0, 'c'};
  MString zeroA(withZeroA, 3), zeroB(withZeroB, 3);
  EXPECT_EQ(zeroA.CompareCase(zeroB), 0);
  EXPECT_FALSE(zeroA == zeroB);
}

TEST(MStringTest, FindAndFindNoCase) {
  MString text(u"Le Café du Château, CAFE");
  EXPECT_EQ(text.Find(u"Café"), 3);
  EXPECT_EQ(text.Find("Cafe"), -1);
  EXPECT_EQ(text.FindNoCase("cafe"), 3);
  EXPECT_EQ(text.FindNoCase("cafe", 4), 20);
  EXPECT_EQ(text.FindNoCase("CHATEAU"), 11);
  EXPECT_EQ(text.FindChar(',', 19), -1);
  EXPECT_EQ(text.FindLastChar('a'), 16);
}

TEST(MStringTest, ToIntReadsOptionalMinusAndDigits) {
  struct Case {
    const char* text;
    int64_t value;
    int32_t consumed;
  };
  const Case cases[] = {
      {"+5", 0, 0}, {"-12x", -12, 3}, {"-", 0, 0}, {" 7", 0, 0}, {"9223372036854775807", INT64_MAX, 19},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    int32_t consumed = -1;
    EXPECT_EQ(MString(c.text).ToInt64(&consumed), c.value);
    EXPECT_EQ(consumed, c.consumed);
  }
  EXPECT_DOUBLE_EQ(MString("3,25").ToReal(), 3.25);
  EXPECT_DOUBLE_EQ(MString("-1.5e2").ToReal(), -150.0);
}

TEST(MStringTest, EditingOperations) {
  struct Case {
    const char* what;
    MString (*edit)();
    const char* expected;
  };
  const Case cases[] = {
      {"insert clipped", [] { return MString("abc").Insert(99, "X"); }, "abcX"},
      {"insert itself", [] { MString s("ab"); return s.Insert(1, s); }, "aabb"},
      {"delete negative", [] { return MString("abc").Delete(-1, 2); }, "abc"},
      {"delete clipped", [] { return MString("abcdef").Delete(2, 99); }, "ab"},
      {"trim", [] { MString s(" \t a b \r\n"); s.Trim(); return s; }, "a b"},
      {"remove whitespace", [] { MString s(" a b\tc\n"); s.RemoveWhitespace(); return s; }, "abc"},
      {"mid past end", [] { return MString("abcdef").Mid(4, 100); }, "ef"},
      {"to lower", [] { MString s("Mix UP 9"); s.ToLower(); return s; }, "mix up 9"},
      {"append itself", [] { MString s = Units<MString>(40); s.Append(s); return s.Mid(38, 4); }, "mnab"},
  };
  for (const Case& c : cases) EXPECT_EQ(ToStd(c.edit()), c.expected) << c.what;
}

TEST(MStringTest, ByteConversions) {
  const MChar narrow[] = {0xE9, 0x141, 0x4E01};
  MByteBuffer bytes;
  MString(narrow, 3).ToASCII(bytes, true);
  EXPECT_EQ(bytes.View(), std::string_view("\xE9L\x01", 3));
  EXPECT_EQ(bytes.Data()[3], 0);

  static const char kLiteral[] = "plain";
  MString(kLiteral).ToUTF8(bytes, true);
  EXPECT_EQ(bytes.Data(), kLiteral);
  // A cut of a literal carries no terminator of its own: it is copied.
  MString(kLiteral, 3, false).ToASCII(bytes, true);
  EXPECT_NE(bytes.Data(), kLiteral);
  EXPECT_EQ(std::string(bytes.Data()), "pla");

  EXPECT_EQ(MString::FromUTF8("A\xC3\xA9\x80\xF0\x9F\x98\x80").ToU16(), u"A\u00E9\U0001F600");
}

TEST(MStringTest, RefusesLengthsBeyondABuffer) {
  MString text("x");
  EXPECT_THROW(text.Reserve(MStringBuffer::kMaxUnits + 1), MException);
  EXPECT_EQ(ToStd(text), "x");
}

}  // namespace
}  // namespace kx
