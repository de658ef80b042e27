#include "foundation/text/char_folding.h"

#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/text/text_string.h"

namespace kx {
namespace {

const char kUnicodeData[] = "/usr/share/unicode/UnicodeData.txt";

struct Record {
  std::string name, decomposition;
};

std::map<unsigned, Record> ReadUnicodeData(std::ifstream& in) {
  std::map<unsigned, Record> records;
  std::string line;
  while (std::getline(in, line)) {
    std::vector<std::string> fields;
    std::stringstream parts(line);
    for (std::string field; std::getline(parts, field, ';');) fields.push_back(field);
    if (fields.size() > 5) records[std::stoul(fields[0], nullptr, 16)] = {fields[1], fields[5]};
  }
  return records;
}

// The letter that the character database says `code` is built on: the start of
// its canonical decomposition, followed down; or, for a letter without one, the
// X of its name "LATIN CAPITAL/SMALL LETTER X WITH ...". 0 when neither.
unsigned BaseLetter(const std::map<unsigned, Record>& records, unsigned code) {
  auto it = records.find(code);
  if (it == records.end()) return 0;
  const Record& record = it->second;
  if (!record.decomposition.empty()) {
    if (record.decomposition[0] == '<') return 0;
    unsigned first = std::stoul(record.decomposition, nullptr, 16);
    if (first < 128) return std::isalpha(static_cast<int>(first)) ? first : 0;
    return BaseLetter(records, first);
  }
  for (const char* kind : {"LATIN CAPITAL LETTER ", "LATIN SMALL LETTER "}) {
    std::string prefix = kind;
    if (record.name.compare(0, prefix.size(), prefix) == 0 && record.name.size() > prefix.size() + 6 &&
        record.name.compare(prefix.size() + 1, 6, " WITH ") == 0) {
      char letter = record.name[prefix.size()];
      return static_cast<unsigned>(prefix[6] == 'C' ? letter : letter + ('a' - 'A'));
    }
  }
  return 0;
}

TEST(CharFoldingTest, TableAgreesWithTheCharacterDatabase) {
  std::ifstream in(kUnicodeData);
  if (!in) GTEST_SKIP() << kUnicodeData << " is missing (package unicode-data)";
  const auto records = ReadUnicodeData(in);
  const MFoldPair* table = FoldTable();
  const int size = FoldTableSize();
  ASSERT_GT(size, 600);
  for (int i = 0; i < size; ++i) {
    SCOPED_TRACE(testing::Message() << "U+" << std::hex << static_cast<unsigned>(table[i].unit));
    if (i > 0) {
      EXPECT_LT(table[i - 1].unit, table[i].unit);  // sorted for the binary search
    }
    EXPECT_GT(static_cast<unsigned>(table[i].unit), 191u);
    EXPECT_EQ(BaseLetter(records, table[i].unit), static_cast<unsigned>(table[i].plain));
  }
  // Nothing of the first Latin blocks is missing.
  int found = 0;
  for (unsigned code = 192; code < 0x250; ++code) {
    unsigned plain = BaseLetter(records, code);
    if (!plain) continue;
    ++found;
    EXPECT_EQ(static_cast<unsigned>(FoldAccent(static_cast<MChar>(code))), plain) << "U+" << std::hex << code;
  }
  EXPECT_GT(found, 300);
}

TEST(CharFoldingTest, FoldAndNarrow) {
  struct Case {
    MChar unit, folded;
    unsigned char narrowed;
  };
  const Case cases[] = {
      {'A', 'a', 'A'},      {0xBF, 0xBF, 0xBF},    {0xC9, 'e', 0xC9},  // below 192: as it is
      {0xD7, 0xD7, 0xD7},   {0x141, 'l', 'L'},     {0x1EC7, 'e', 'e'},  // dot below and circumflex
      {0x4E01, 0x4E01, 1},  {0x20AC, 0x20AC, 0xAC},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(static_cast<int>(FoldUnit(c.unit)), static_cast<int>(c.folded)) << int{c.unit};
    EXPECT_EQ(NarrowUnit(c.unit), c.narrowed) << int{c.unit};
  }
}

}  // namespace
}  // namespace kx
