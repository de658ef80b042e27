#include "foundation/text/codecs.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/text_io.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

std::string Bytes(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out.push_back(static_cast<char>(v));
  return out;
}

// The pair that stands for one raw byte after Decode.
std::u16string Raw(int byte) {
  return {char16_t{0xDBFF}, static_cast<char16_t>(0xDE00 + byte)};
}

std::string Encoded(const MCodec& codec, const MString& text, bool terminator = false) {
  MByteBuffer buffer;
  codec.Encode(text, terminator, buffer);
  return std::string(buffer.View());
}

std::u16string Decoded(const MCodec& codec, std::string_view bytes) {
  MString text;
  codec.Decode(bytes, text);
  return text.ToU16();
}

// ---------------------------------------------------------------- UTF-8

struct Utf8RoundTrip {
  const char* what;
  std::u16string units;
  std::string bytes;
};

TEST(Utf8CodecTest, RoundTripsEveryLength) {
  const std::vector<Utf8RoundTrip> cases = {
      {"ascii", u"Abc 09~", "Abc 09~"},
      {"two bytes", u"\u00E9\u07FF", Bytes({0xC3, 0xA9, 0xDF, 0xBF})},
      {"three bytes", u"\u0800\u20AC\uFFFF",
       Bytes({0xE0, 0xA0, 0x80, 0xE2, 0x82, 0xAC, 0xEF, 0xBF, 0xBF})},
      {"first pair", u"\U00010000", Bytes({0xF0, 0x90, 0x80, 0x80})},
      {"pair among text", u"a\U0001F600b", Bytes({'a', 0xF0, 0x9F, 0x98, 0x80, 'b'})},
      {"last code point", u"\U0010FFFF", Bytes({0xF4, 0x8F, 0xBF, 0xBF})},
      {"just below the pass-through", u"\U0010FE00", Bytes({0xF4, 0x8F, 0xB8, 0x80})},
      {"just above the pass-through", u"\U0010FF00", Bytes({0xF4, 0x8F, 0xBC, 0x80})},
  };
  MCodec& codec = GetUTF8Codec();
  for (const auto& c : cases) {
    EXPECT_EQ(Encoded(codec, MString(c.units)), c.bytes) << c.what;
    EXPECT_EQ(Decoded(codec, c.bytes), c.units) << c.what;
  }
}

TEST(Utf8CodecTest, PassThroughRangeWritesOneRawByte) {
  MCodec& codec = GetUTF8Codec();
  for (uint32_t cp = 0x10FE01; cp <= 0x10FEFF; ++cp) {
    std::u16string pair = {static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)),
                           static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF))};
    ASSERT_EQ(Encoded(codec, MString(u"<" + pair + u">")),
              "<" + std::string(1, static_cast<char>(cp & 0xFF)) + ">")
        << std::hex << cp;
  }
}

TEST(Utf8CodecTest, BytesThatAreNotUtf8SurviveDecodeAndEncode) {
  MCodec& codec = GetUTF8Codec();
  EXPECT_EQ(Decoded(codec, Bytes({'x', 0xE9, 'y'})), u"x" + Raw(0xE9) + u"y");
  // Every byte string comes back as it was, valid or not.
  std::string all;
  for (int b = 1; b < 256; ++b)
    all += Bytes({b, 'a', b, b, 0xC3, b, 0xE2, 0x82, b, 0xF0, 0x9F, 0x98, b});
  MString text;
  codec.Decode(all, text);
  EXPECT_EQ(Encoded(codec, text), all);
  // A sequence of the pass-through range itself is kept as its four raw bytes, so
  // that the range means raw bytes only.
  std::string sequence = Bytes({0xF4, 0x8F, 0xB9, 0x81});  // U+10FE41
  EXPECT_EQ(Decoded(codec, sequence), Raw(0xF4) + Raw(0x8F) + Raw(0xB9) + Raw(0x81));
  EXPECT_EQ(Encoded(codec, MString(u"\U0010FE41")), "A");
}

TEST(Utf8CodecTest, EncodeDropsLoneSurrogates) {
  // Unpaired low; a high before a letter takes the letter along; high at the end; high before high.
  const std::pair<std::u16string, std::string> cases[] = {
      {{u'a', 0xDC00, u'b'}, "ab"},
      {{u'a', 0xD800, u'b', u'c'}, "ac"},
      {{u'a', u'b', 0xD800}, "ab"},
      {{0xD800, 0xD800, 0xDC00, u'z'}, "z"},
  };
  for (const auto& [units, bytes] : cases)
    EXPECT_EQ(Encoded(GetUTF8Codec(), MString(units)), bytes);
}

TEST(Utf8CodecTest, EncodeSizesAndTerminates) {
  MByteBuffer buffer;
  GetUTF8Codec().Encode(MString("h\xE9llo", 5, true), true, buffer);  // widened 8-bit text
  ASSERT_EQ(buffer.Size(), 6);
  EXPECT_EQ(std::string(buffer.Data(), 7), std::string("h\xC3\xA9llo\0", 7));
  // A literal (external) string encodes like its widened copy.
  EXPECT_EQ(Encoded(GetUTF8Codec(), MString("caf\xE9")), Encoded(GetUTF8Codec(), MString::FromBytes("caf\xE9")));
}

TEST(Utf8CodecTest, DecodePassesTruncatedAndMalformedSequencesRaw) {
  struct Case {
    const char* what;
    std::string bytes;
    std::u16string units;
  };
  const std::vector<Case> cases = {
      {"four-byte sequence cut short", Bytes({0xF0, 0x9F, 0x98}), Raw(0xF0) + Raw(0x9F) + Raw(0x98)},
      {"breaking byte starts the next sequence", Bytes({0xE2, 0x82, 'A', 0xC3, 0xA9}),
       Raw(0xE2) + Raw(0x82) + u"A\u00E9"},
      {"bytes that start nothing", Bytes({0xBF, 0xF8, 0xFF}), Raw(0xBF) + Raw(0xF8) + Raw(0xFF)},
      {"overlong zero", Bytes({0xC0, 0x80}), Raw(0xC0) + Raw(0x80)},
      {"encoded surrogate", Bytes({0xED, 0xA0, 0x80}), Raw(0xED) + Raw(0xA0) + Raw(0x80)},
      {"above the last code point", Bytes({0xF4, 0x90, 0x80, 0x80}),
       Raw(0xF4) + Raw(0x90) + Raw(0x80) + Raw(0x80)},
      {"byte order mark is kept", Bytes({0xEF, 0xBB, 0xBF, 'u'}), u"\uFEFFu"},
  };
  for (const auto& c : cases) EXPECT_EQ(Decoded(GetUTF8Codec(), c.bytes), c.units) << c.what;
}

// ---------------------------------------------------------------- ReadLine through a reader

std::vector<std::u16string> ReadAllLines(MCodec& codec, const std::string& bytes,
                                         int32_t bufferSize) {
  MConstMemoryStream stream(bytes.data(), static_cast<int64_t>(bytes.size()));
  MTextReader reader(stream, codec, bufferSize);
  std::vector<std::u16string> lines;
  MString line;
  while (reader.ReadLine(line)) lines.push_back(line.ToU16());
  EXPECT_TRUE(line.IsEmpty());
  return lines;
}

class ReadLineBufferTest : public ::testing::TestWithParam<int32_t> {};

TEST_P(ReadLineBufferTest, LinesOfEachCodec) {
  struct Case {
    const char* codec;
    const char* what;
    std::string bytes;
    std::vector<std::u16string> lines;
  };
  const std::vector<Case> cases = {
      {"utf-8", "line ends", "a\r\nb\n\nc", {u"a", u"b", u"", u"c"}},
      {"utf-8", "carriage returns anywhere vanish", "x\ry\r\r\nz\r", {u"xy", u"z"}},
      {"utf-8", "zero ends a line", std::string("one\0two\n", 8), {u"one", u"two"}},
      {"utf-8", "byte order mark dropped",
       Bytes({0xEF, 0xBB, 0xBF, 'h', 'i', '\n', 'a', 0xEF, 0xBB, 0xBF, 'b'}), {u"hi", u"ab"}},
      {"utf-8", "bad continuation becomes unit 1", Bytes({'a', 0xC3, 'b', 0xE2, 0x82, '\n', 'c'}),
       {{u'a', 1, u'b', 1}, u"c"}},
      {"utf-8", "overlong, surrogate and raw range are bad",
       Bytes({0xC0, 0x8A, 0xED, 0xA0, 0x80, 0xF4, 0x8F, 0xB9, 0x81}), {{1, 1, 1}}},
      {"utf-8", "truncated at the end", Bytes({'z', 0xF0, 0x9F}), {{u'z', 1}}},
      {"utf-16", "line ends", Bytes({'a', 0, '\r', 0, '\n', 0, 0xAC, 0x20, 0, 0, 'b', 0}),
       {u"a", u"\u20AC", u"b"}},
      // Units whose low byte is a line end are letters (U+010A, U+010D, U+0100).
      {"utf-16", "low bytes alone are not line ends", Bytes({0x0A, 0x01, 0x0D, 0x01, 0x00, 0x01}),
       {u"\u010A\u010D\u0100"}},
      {"utf-16", "odd line feed at the end", Bytes({'a', 0, '\n'}), {u"a"}},
      {"windows-1251", "charset", Bytes({0xC0, 0xE1, '\r', '\n', 0x98, '\n', 'x'}),
       {u"\u0410\u0431", u"\uFFFD", u"x"}},
      // A pair across the buffer's end is one character; a lead byte before the
      // line feed is undefined and leaves the line end alone.
      {"Shift_JIS", "double-byte charset", Bytes({'x', 0x82, 0xA0, 0x82, '\r', '\n', 0x83, 0x5C}),
       {u"x\u3042\uFFFD", u"\u30BD"}},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ReadAllLines(GetCodec(c.codec), c.bytes, GetParam()), c.lines)
        << c.codec << ": " << c.what;
}

INSTANTIATE_TEST_SUITE_P(BufferSizes, ReadLineBufferTest, ::testing::Values(1, 2, 3, 7, 1024));

// ---------------------------------------------------------------- UTF-16

TEST(Utf16CodecTest, HeaderChecks) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "Could not read the required data from stream."},
      {Bytes({0xFF}), "Could not read the required data from stream."},
      {Bytes({0xFE, 0xFF}), "Invalid UTF8 header."},  // big-endian mark
      {Bytes({'a', 0}), "Invalid UTF8 header."},
      {Bytes({0xFF, 0xFE, 'o', 0}), "(no exception)"},
  };
  for (const auto& [bytes, failure] : cases) {
    MConstMemoryStream stream(bytes.data(), static_cast<int64_t>(bytes.size()));
    MTextReader reader(stream, GetUTF16Codec());
    EXPECT_EQ(ToStd(Failure([&] { reader.ReadHeader(); }).message), failure);
  }
}

TEST(Utf16CodecTest, EncodesLittleEndianAndWritesTheMark) {
  MCodec& codec = GetUTF16Codec();
  const std::string bytes = Bytes({'A', 0, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE});
  EXPECT_EQ(Encoded(codec, MString(u"A\u20AC\U0001F600")), bytes);
  EXPECT_EQ(Decoded(codec, bytes), u"A\u20AC\U0001F600");
  EXPECT_EQ(std::string(Encoded(codec, MString("hi"), true)), Bytes({'h', 0, 'i', 0}));
  MMemoryStream stream;
  {
    MTextWriter writer(stream, codec);
    writer.WriteHeader();
    writer.WriteLine(MString("x\xE9", 2, true));
  }
  EXPECT_EQ(std::string(stream.View()), Bytes({0xFF, 0xFE, 'x', 0, 0xE9, 0, '\n', 0}));
}

// ---------------------------------------------------------------- charsets and names

// The unit the C library's converter reads from a byte sequence: U+FFFD where it
// refuses the sequence, kLeadUnit where the sequence is the start of a longer one.
char16_t IconvUnit(iconv_t cd, std::string bytes) {
  char out[16];
  char* inPointer = bytes.data();
  char* outPointer = out;
  size_t inLeft = bytes.size(), outLeft = sizeof(out);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  if (iconv(cd, &inPointer, &inLeft, &outPointer, &outLeft) == static_cast<size_t>(-1))
    return errno == EINVAL ? kLeadUnit : kUndefinedUnit;
  iconv(cd, nullptr, nullptr, &outPointer, &outLeft);  // held-back output of a stateful converter
  EXPECT_EQ(sizeof(out) - outLeft, 4u);
  uint32_t cp;
  std::memcpy(&cp, out, 4);
  return static_cast<char16_t>(cp);
}

// The bytes the C library's converter writes for one unit.
std::string IconvBytes(iconv_t cd, char16_t unit) {
  uint32_t cp = unit;
  char out[16];
  char* inPointer = reinterpret_cast<char*>(&cp);
  char* outPointer = out;
  size_t inLeft = 4, outLeft = sizeof(out);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  if (iconv(cd, &inPointer, &inLeft, &outPointer, &outLeft) == static_cast<size_t>(-1)) return "?";
  return std::string(out, sizeof(out) - outLeft);
}

// The single-byte charsets, then the double-byte ones.
std::vector<const MCharsetDefinition*> AllDefinitions() {
  std::vector<const MCharsetDefinition*> definitions;
  for (int32_t i = 0; i < CharsetCount(); ++i) definitions.push_back(&CharsetDefinition(i));
  for (int32_t i = 0; i < DoubleByteCharsetCount(); ++i)
    definitions.push_back(&DoubleByteCharsetDefinition(i).bytes);
  return definitions;
}

// Every byte and every pair after a lead byte reads as the converter says; every
// unit read writes back as the converter writes it; the aliases it knows read
// nothing differently.
TEST(CharsetCodecTest, EveryCharsetReadsAndWritesAsTheSystemConverter) {
  ASSERT_EQ(CharsetCount(), 29);
  ASSERT_EQ(DoubleByteCharsetCount(), 4);
  for (const MCharsetDefinition* definition : AllDefinitions()) {
    SCOPED_TRACE(definition->name);
    MCodec& codec = GetCodec(definition->name);
    std::vector<iconv_t> readers = {iconv_open("UTF-32LE", definition->name)};
    for (const char* const* alias = definition->aliases; *alias; ++alias) {
      // GB2312 is read as its superset GBK, which differs in two punctuation marks.
      if (std::string(*alias).find("GB2312") != std::string::npos) continue;
      if (iconv_t cd = iconv_open("UTF-32LE", *alias); cd != reinterpret_cast<iconv_t>(-1))
        readers.push_back(cd);
    }
    iconv_t writer = iconv_open(definition->name, "UTF-32LE");
    ASSERT_NE(readers[0], reinterpret_cast<iconv_t>(-1));
    ASSERT_NE(writer, reinterpret_cast<iconv_t>(-1));
    // Reads `bytes` as `expected` through the codec and every alias.
    auto expectRead = [&](const std::string& bytes, char16_t expected) {
      EXPECT_EQ(Decoded(codec, bytes), std::u16string(1, expected)) << "bytes " << bytes;
      for (size_t r = 1; r < readers.size(); ++r) {
        char16_t viaAlias = IconvUnit(readers[r], bytes);
        if (viaAlias != kUndefinedUnit) {
          EXPECT_EQ(viaAlias, expected) << "alias " << r;
        }
      }
    };

    std::u16string read;
    for (int lead = 0; lead < 256; ++lead) {
      std::string one(1, static_cast<char>(lead));
      char16_t alone = IconvUnit(readers[0], one);
      EXPECT_EQ(definition->units[lead], alone) << "byte " << lead;
      if (alone != kLeadUnit) {
        expectRead(one, alone);
        read += alone;
        continue;
      }
      EXPECT_EQ(Decoded(codec, one), std::u16string(1, kUndefinedUnit));
      for (int trail = 0; trail < 256; ++trail) {
        std::string pair = one + static_cast<char>(trail);
        char16_t expected = IconvUnit(readers[0], pair);
        if (expected == kUndefinedUnit || expected == kLeadUnit) {
          // The lead is undefined; the trail is read anew.
          std::u16string decoded = Decoded(codec, pair);
          EXPECT_EQ(decoded.size(), 2u) << lead << " " << trail;
          EXPECT_EQ(decoded.front(), kUndefinedUnit) << lead << " " << trail;
          continue;
        }
        expectRead(pair, expected);
        read += expected;
      }
    }
    if (read.size() == 256) {  // a single-byte charset reads all bytes at once alike
      std::string allBytes;
      for (int b = 0; b < 256; ++b) allBytes.push_back(static_cast<char>(b));
      EXPECT_EQ(Decoded(codec, allBytes), read);
    }
    for (char16_t unit : read) {
      if (unit != kUndefinedUnit) {
        EXPECT_EQ(Encoded(codec, MString(std::u16string(1, unit))), IconvBytes(writer, unit))
            << static_cast<int>(unit);
      }
    }
    EXPECT_EQ(Encoded(codec, MString(u"a\U0001F600\xDC00z")), "a??z");
    for (iconv_t cd : readers) iconv_close(cd);
    iconv_close(writer);
  }
}

TEST(GetCodecTest, FindsByNameAndAliasIgnoringCase) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"Utf8", "utf-8"},
      {"UTF-16", "utf-16"},
      {"WINDOWS-1251", "windows-1251"},
      {"LATIN1", "ISO-8859-1"},
      {"Latin-9", "ISO-8859-15"},
      {"866", "IBM866"},
      {"mac", "macintosh"},
      {"us-ascii", "US-ASCII"},
      {"SHIFT_JIS", "Shift_JIS"},
      {"gb2312", "GBK"},
      {"BIG5", "Big5"},
  };
  for (const auto& [name, codec] : cases) EXPECT_STREQ(GetCodec(name).GetName(), codec) << name;
  for (const MCharsetDefinition* definition : AllDefinitions())
    for (const char* const* alias = definition->aliases; *alias; ++alias)
      EXPECT_STREQ(GetCodec(*alias).GetName(), definition->name) << *alias;
}

TEST(GetCodecTest, UnknownNameFails) {
  for (const char* name : {"x-unknown", "utf 8", "windows-125"})
    EXPECT_EQ(ToStd(Failure([&] { GetCodec(name); }).message),
              std::string("No codec found for encoding ") + name + ".");
}

TEST(SystemCodecTest, BytesAreUnitsAndWidersNarrowLikeToASCII) {
  std::string allBytes;
  for (int b = 0; b < 256; ++b) allBytes.push_back(static_cast<char>(b));
  std::u16string decoded = Decoded(GetSystemCodec(), allBytes);
  for (int b = 0; b < 256; ++b) ASSERT_EQ(decoded[b], b);
  EXPECT_EQ(Encoded(GetSystemCodec(), MString(decoded)), allBytes);
  MString wide = MString(u"\u0161\u00E9\u20AC\U0001F600");
  MByteBuffer ascii;
  wide.ToASCII(ascii);
  EXPECT_EQ(Encoded(GetSystemCodec(), wide), std::string(ascii.View()));
}

}  // namespace
}  // namespace kx
