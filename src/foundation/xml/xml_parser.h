// MXMLParser: the small line-fed, event-driven reader of text XML. It is not a
// conforming XML processor: it reads what the system's files hold and tolerates
// some more (unquoted attribute values, single quotes as plain characters).
//
// Input comes one line at a time through MTextReader (codec "utf-8", 1024-byte
// buffer); a line end counts as a blank. A processing instruction's `encoding`
// switches the codec from the following line on. Events go to an MXMLHandler:
//   OnText(text)                         text between markups, blanks collapsed,
//                                        entities decoded; CDATA content trimmed
//   OnElement(name, attributes, false)   a start tag (attributes in order)
//   OnElement(name, nullptr, true)       an end tag, or at once after `/>`
// A handler returning true stops the parse. Comments, DOCTYPE and other `<!`
// sections are skipped.
//
// Failures are MException code 256 with "Invalid file contents. " before the
// message: "Invalid closing element syntax. '{0}'", "No element name found.
// '{0}'", "Invalid special element sequence. '{0}'", "Invalid character found
// where attribute was expected. '{0}'", "Invalid element finishing sequence.
// '{0}'", "Special character found where attribute was expected. '{0}'",
// "No ending delimiter found.".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/text/codecs.h"
#include "foundation/containers/containers.h"
#include "foundation/text/text_io.h"
#include "foundation/text/text_string.h"

namespace kx {

class MStream;

struct MXMLParsedAttribute {
  MString name;
  MString value;
};

// The attributes of one start tag, in order. The parser refills the same slots
// tag after tag, so their strings keep their storage.
class MXMLParsedAttributes {
 public:
  MXMLParsedAttributes() = default;
  // A copy holds the attributes of the tag, not the spare slots.
  MXMLParsedAttributes(const MXMLParsedAttributes& other)
      : slots_(other.begin(), other.end()), used_(other.used_) {}
  MXMLParsedAttributes& operator=(const MXMLParsedAttributes& other) {
    if (this != &other) {
      slots_.assign(other.begin(), other.end());
      used_ = other.used_;
    }
    return *this;
  }
  MXMLParsedAttributes(MXMLParsedAttributes&&) = default;
  MXMLParsedAttributes& operator=(MXMLParsedAttributes&&) = default;

  int32_t Count() const { return used_; }
  bool IsEmpty() const { return used_ == 0; }
  const MXMLParsedAttribute& operator[](int32_t index) const { return slots_[index]; }
  const MXMLParsedAttribute* begin() const { return slots_.data(); }
  const MXMLParsedAttribute* end() const { return slots_.data() + used_; }

  void Reset() { used_ = 0; }
  // The next slot, holding whatever an earlier tag left in it.
  MXMLParsedAttribute& Next() {
    if (used_ == static_cast<int32_t>(slots_.size())) slots_.emplace_back();
    return slots_[used_++];
  }
  void DropLast() { --used_; }

 private:
  std::vector<MXMLParsedAttribute> slots_;
  int32_t used_ = 0;
};

class MXMLHandler {
 public:
  virtual ~MXMLHandler() = default;
  // `attributes` is null for a closing event. True stops the parse.
  virtual bool OnElement(const MString& name, const MXMLParsedAttributes* attributes, bool closing) = 0;
  virtual bool OnText(const MString& text) = 0;
};

class MXMLParser {
 public:
  static constexpr int32_t kReaderBufferSize = 1024;
  static constexpr int32_t kErrorCode = 256;

  explicit MXMLParser(MStream& stream);
  MXMLParser(const MXMLParser&) = delete;
  MXMLParser& operator=(const MXMLParser&) = delete;

  // Keeps the blank that starts a text when a word ended the text before it
  // ("a</b> c"): mark-up of running text needs it, data files do not.
  void KeepBlankAfterWord(bool keep) { keepBlankAfterWord_ = keep; }

  // Runs to the end of input or until the handler stops it. True when the
  // parse completed (at the end of input or by the handler).
  bool Parse(MXMLHandler& handler);

 private:
  static constexpr int kEnd = -1;

  int Peek() {
    if (position_ < length_) return units_[position_];
    if (position_ == length_) return '\n';  // the line end, a blank
    return LoadLine();
  }
  void Advance() { ++position_; }
  int LoadLine();

  // Blanks are the units 0 to 32.
  void SkipBlanks() {
    while (position_ < length_ && units_[position_] <= 32) ++position_;
    if (position_ >= length_) SkipBlanksAcrossLines();
  }
  void SkipBlanksAcrossLines();
  MString ReadToken();
  // The same into `token`, whose storage is reused.
  void ReadToken(MString& token);
  int NextSpecial();
  MString CurrentUnit();
  // The special unit a check met, or the unit under the cursor when it met none.
  MString FoundUnit(int special);
  // Returns whether the value holds a '&', that is, may hold entities.
  bool ReadQuoted(MChar delimiter, MString& value);
  MString ReadUntil(const char* delimiter);
  void SkipDeclaration();
  // Text up to the next '<' (consumed); false at the end of input.
  bool ReadText(MString& text);
  // The markup after '<'; true when the handler stopped the parse.
  bool ReadMarkup(MXMLHandler& handler);
  bool ReadSection(MXMLHandler& handler);
  bool ReadElement(MXMLHandler& handler);
  [[noreturn]] void Fail(const MString& message);

  MCodec* codec_;
  MTextReader reader_;
  MString line_;
  MString name_;  // the element name being read
  const MChar* units_ = nullptr;
  int32_t length_ = -1;
  int32_t position_ = 0;
  bool ended_ = false;
  std::u16string scratch_;
  MXMLParsedAttributes attributes_;
  bool keepBlankAfterWord_ = false;
  bool afterWord_ = false;  // the last text read ended with a word
};

}  // namespace kx
