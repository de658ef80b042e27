#include "foundation/containers/containers.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/failure_capture.h"

namespace kx {
namespace {

std::vector<std::string> Texts(const MArray<MString>& array) {
  std::vector<std::string> out;
  for (const MString& text : array) out.push_back(ToStd(text));
  return out;
}

std::vector<int> Values(const MList<int>& list) {
  std::vector<int> out;
  for (int value : list) out.push_back(value);
  return out;
}

MArray<MString> Letters(int n) {
  MArray<MString> array;
  for (int i = 0; i < n; ++i) array.Add(MString::FromBytes(std::string(1, static_cast<char>('a' + i))));
  return array;
}

TEST(MArrayTest, InsertAndRemoveShiftTheTail) {
  MArray<MString> array = Letters(5);
  array.Insert(0, MString("<"));
  array.Insert(3, MString("|"));
  array.Insert(array.count, MString(">"));
  EXPECT_EQ(Texts(array), (std::vector<std::string>{"<", "a", "b", "|", "c", "d", "e", ">"}));
  array.Remove(3);
  array.Remove(0, 2);
  array.Remove(3, 100);  // clipped at the end
  EXPECT_EQ(Texts(array), (std::vector<std::string>{"b", "c", "d"}));
  array.Remove(0, 1, true);
  EXPECT_EQ(Texts(array), (std::vector<std::string>{"c", "d"}));
}

TEST(MArrayTest, BadIndexThrows) {
  const std::vector<std::pair<const char*, std::function<void(MArray<MString>&)>>> misuses = {
      {"read count", [](MArray<MString>& a) { (void)a[a.count]; }},
      {"remove -1", [](MArray<MString>& a) { a.Remove(-1); }},
      {"insert past count", [](MArray<MString>& a) { a.Insert(a.count + 1, MString("x")); }},
  };
  for (const auto& [what, misuse] : misuses) {
    SCOPED_TRACE(what);
    MArray<MString> array = Letters(3);
    EXPECT_EQ(ToStd(Failure([&] { misuse(array); }).message), "Index out of range.");
    EXPECT_EQ(Texts(array), (std::vector<std::string>{"a", "b", "c"}));
  }
}

TEST(MArrayTest, AddingOwnElementWhileGrowing) {
  MArray<MString> array;
  array.Add(MString::FromBytes(std::string(70, 'x')));  // a shared buffer
  for (int i = 0; i < 20; ++i) array.Add(array[0]);     // grows several times
  EXPECT_EQ(array.count, 21);
  for (const MString& text : array) EXPECT_EQ(text.Length(), 70);

  MArray<MString> copy = array;
  copy[0].Append('!');
  EXPECT_EQ(array[0].Length(), 70);
  EXPECT_EQ(copy.IndexOf(array[5]), 1);
}

TEST(MListTest, LinksInOrderAndUnlinks) {
  MList<int> list;
  auto* two = list.AddLast(2);
  list.AddFirst(1);
  auto* four = list.AddLast(4);
  list.InsertBefore(four, 3);
  list.InsertAfter(four, 5);
  list.InsertAfter(nullptr, 0);
  EXPECT_EQ(Values(list), (std::vector<int>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(list[3], 3);
  list.Remove(list.first);
  list.Remove(list.last);
  list.Remove(two);
  std::vector<int> backwards;
  for (auto* node = list.last; node; node = node->previous) backwards.push_back(node->value);
  EXPECT_EQ(backwards, (std::vector<int>{4, 3, 1}));
  EXPECT_THROW(list.NodeAt(3), MException);
  MList<int> copy = list;
  list.Clear();
  EXPECT_EQ(list.first, nullptr);
  EXPECT_EQ(Values(copy), (std::vector<int>{1, 3, 4}));
}

}  // namespace
}  // namespace kx
